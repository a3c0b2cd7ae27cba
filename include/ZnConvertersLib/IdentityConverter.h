#pragma once

#include <atomic>

#include "ZnConvertersLib/PixelConverter.h"

namespace ZnConvertersLib {

class PixelType;

// Copies lines unchanged. Line sizes come from the registered pixel type's
// GetBufferSizeFor(width, 1), so packed types copy whole packed lines; for an identifier
// the registry does not know, pixel size × width.
class IdentityConverter : public PixelConverter {
public:
    IdentityConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                      uint32_t sourcePixelSize, uint32_t destinationPixelSize);
    ~IdentityConverter() override;

    uint32_t GetSourceLineSize(uint32_t width) const override;
    uint32_t GetDestinationLineSize(uint32_t width) const override;
    // When both images are contiguous (no padding, equal strides, progressive source) the
    // frame is copied in one block; otherwise the line walk of the base class runs. The
    // bytes written are the same either way.
    ZnUtilsLib::Result Convert(const unsigned char* source, uint32_t sourceWidth,
                               uint32_t sourceHeight, unsigned char* destination,
                               uint32_t destinationWidth, uint32_t destinationHeight,
                               uint32_t width, uint32_t height, uint32_t flags,
                               uint32_t destinationPadding, unsigned char** scratchBuffer,
                               uint32_t* scratchBufferSize, uint32_t sourcePadding) const override;
    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override;
    ZnUtilsLib::Result ConvertPixel(const unsigned char* source,
                                    unsigned char* destination) const override;

private:
    // Registered types are never removed or replaced, so once found they are cached and
    // later line calls need no registry lock.
    mutable std::atomic<const PixelType*> mSourceType{nullptr};
    mutable std::atomic<const PixelType*> mDestinationType{nullptr};
    // Last (width, source line size) pair answered from a registered type, packed as
    // width << 32 | size: line calls of one conversion all ask for the same width.
    mutable std::atomic<uint64_t> mLastSourceLine{0};
};

}  // namespace ZnConvertersLib
