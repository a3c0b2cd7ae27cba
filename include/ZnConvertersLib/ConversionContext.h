#pragma once

#include <cstdint>

namespace ZnConvertersLib {

class RGBFilter;

// Per-thread state of the conversion in progress. The conversion call fills it; kernels
// read strides, heights, flags, the filter and the current line from it. Converters that
// call other converters on the same thread share it.
struct ConversionContext {
    uint32_t referenceCount;
    uint32_t sourceStride;
    uint32_t sourceHeight;
    uint32_t destinationStride;
    uint32_t destinationHeight;
    uint32_t flags;
    const RGBFilter* filter;
    uint32_t currentLine;
    // First byte of the destination image of the innermost Convert running on this
    // thread; lets a kernel tell which destination line it is writing.
    unsigned char* destinationStart;
};

// Returns the calling thread's context, creating it (reference count 1, every other
// field zero) when the thread has none, otherwise incrementing its reference count.
ConversionContext* AcquireConversionContext();
// Decrements the count; at zero the context is cleared. Each thread keeps its context
// for its whole life, so no conversion after a thread's first takes a lock.
void ReleaseConversionContext(ConversionContext* context);

// Number of threads that currently hold a context (for diagnostics and tests).
uint32_t CountActiveConversionContexts();

// Holds the calling thread's context for one scope.
class ConversionContextScope {
public:
    ConversionContextScope() : mContext(AcquireConversionContext()) {}
    ~ConversionContextScope() { ReleaseConversionContext(mContext); }
    ConversionContextScope(const ConversionContextScope&) = delete;
    ConversionContextScope& operator=(const ConversionContextScope&) = delete;

    ConversionContext* operator->() const { return mContext; }
    ConversionContext& operator*() const { return *mContext; }
    ConversionContext* Get() const { return mContext; }

private:
    ConversionContext* mContext;
};

}  // namespace ZnConvertersLib
