#pragma once

// What a thread's conversions keep between line calls: its conversion context and the
// 8-bit filter tables settled for the conversion in progress. Line calls reach it through
// the inline functions below, without a call into the library's exported functions, so
// the per-line cost of entering a kernel is a few instructions.

#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "framework/FilterGains.h"

namespace ZnConvertersLib {

class RGBFilter;

struct FilterTables8 {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
    // All three tables map every value to itself: look-ups cannot change a byte. The
    // tables themselves decide, since a filter's identity flag is not kept exact by
    // every setter.
    bool identity;
    // Not the identity, and the tables are these red, green and blue gains: rows may
    // compute instead of looking up. Null otherwise.
    const ChannelGain8* gains;
};

// True for the library's default filters, which are identities by construction.
bool IsDefaultFilter(const RGBFilter& filter);

namespace ThreadStateDetail {

struct ThreadConversionState {
    ConversionContext context;
    // The filter whose tables were settled for the conversion in progress, if any.
    const RGBFilter* settledFilter;
    bool settled;
    FilterTables8 settledTables;
    FilterTables8 scratchTables;
    bool listed;  // in the list that CountActiveConversionContexts reads
};

// One block per thread, for the thread's whole life: after its first conversion a thread
// takes no lock and allocates nothing to convert. The initial-exec model makes each
// access a single thread-pointer-relative load; the block is small enough for the static
// TLS reserve that a library loaded at run time may use.
extern thread_local ThreadConversionState tState __attribute__((tls_model("initial-exec")));

// Adds the calling thread's block to the list of blocks, once in the thread's life.
void ListThisThread();

// The reference count is read by other threads only for diagnostics; relaxed atomic
// stores (plain moves) keep those reads well defined.
inline void StoreReferenceCount(ConversionContext* context, uint32_t count) {
    __atomic_store_n(&context->referenceCount, count, __ATOMIC_RELAXED);
}

// The tables of the context's filter (the 8-bit default when it has none), compared.
const FilterTables8& CompareActiveTables(const ConversionContext& context);

}  // namespace ThreadStateDetail

inline ConversionContext* AcquireKernelContext() {
    ThreadStateDetail::ThreadConversionState& state = ThreadStateDetail::tState;
    ConversionContext* context = &state.context;
    if (context->referenceCount != 0) {
        ThreadStateDetail::StoreReferenceCount(context, context->referenceCount + 1);
        return context;
    }
    if (!state.listed) ThreadStateDetail::ListThisThread();
    const ConversionContext fresh{};
    context->sourceStride = fresh.sourceStride;
    context->sourceHeight = fresh.sourceHeight;
    context->destinationStride = fresh.destinationStride;
    context->destinationHeight = fresh.destinationHeight;
    context->flags = fresh.flags;
    context->filter = fresh.filter;
    context->currentLine = fresh.currentLine;
    context->destinationStart = fresh.destinationStart;
    ThreadStateDetail::StoreReferenceCount(context, 1);
    return context;
}

inline void ReleaseKernelContext(ConversionContext* context) {
    const uint32_t count = context->referenceCount - 1;
    ThreadStateDetail::StoreReferenceCount(context, count);
    if (count != 0) return;
    context->sourceStride = context->sourceHeight = 0;
    context->destinationStride = context->destinationHeight = 0;
    context->flags = context->currentLine = 0;
    context->filter = nullptr;
    context->destinationStart = nullptr;
}

// ConversionContextScope for code inside the library.
class KernelContextScope {
public:
    KernelContextScope() : mContext(AcquireKernelContext()) {}
    ~KernelContextScope() { ReleaseKernelContext(mContext); }
    KernelContextScope(const KernelContextScope&) = delete;
    KernelContextScope& operator=(const KernelContextScope&) = delete;

    ConversionContext* operator->() const { return mContext; }
    ConversionContext& operator*() const { return *mContext; }

private:
    ConversionContext* mContext;
};

// The tables of the context's filter. Inside a conversion this is the answer settled at
// its start; a kernel called on its own gets the tables compared afresh.
inline const FilterTables8& ActiveFilterTables(const ConversionContext& context) {
    const ThreadStateDetail::ThreadConversionState& state = ThreadStateDetail::tState;
    if (state.settled && state.settledFilter == context.filter && context.filter != nullptr) {
        return state.settledTables;
    }
    return ThreadStateDetail::CompareActiveTables(context);
}

// Settles the tables of the context's filter for the conversion in progress on this
// thread, and restores the outer conversion's answer when it ends (chained converters
// nest conversions with different filters).
class FilterUseScope {
public:
    explicit FilterUseScope(const ConversionContext& context);
    ~FilterUseScope();
    FilterUseScope(const FilterUseScope&) = delete;
    FilterUseScope& operator=(const FilterUseScope&) = delete;

private:
    const RGBFilter* mFilter;
    bool mSettled;
    FilterTables8 mTables;
};

}  // namespace ZnConvertersLib
