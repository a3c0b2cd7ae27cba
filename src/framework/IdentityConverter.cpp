#include "ZnConvertersLib/IdentityConverter.h"

#include <cstdint>
#include <cstring>

#include "RegisteredTypeCache.h"
#include "ZnConvertersLib/PixelType.h"

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

IdentityConverter::IdentityConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                                     uint32_t sourcePixelSize, uint32_t destinationPixelSize)
    : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize, 1, 1) {
}

IdentityConverter::~IdentityConverter() = default;

uint32_t IdentityConverter::GetSourceLineSize(uint32_t width) const {
    const uint64_t last = mLastSourceLine.load(std::memory_order_relaxed);
    if (static_cast<uint32_t>(last >> 32) == width && mSourceType.load(std::memory_order_acquire)) {
        return static_cast<uint32_t>(last);
    }
    const PixelType* type = FindRegisteredType(mSourceType, GetSourceTypeID());
    if (type == nullptr) return GetSourcePixelSize() * width;
    const uint32_t size = type->GetBufferSizeFor(width, 1);
    mLastSourceLine.store((static_cast<uint64_t>(width) << 32) | size, std::memory_order_relaxed);
    return size;
}

uint32_t IdentityConverter::GetDestinationLineSize(uint32_t width) const {
    const PixelType* type = FindRegisteredType(mDestinationType, GetDestinationTypeID());
    return type ? type->GetBufferSizeFor(width, 1) : GetDestinationPixelSize() * width;
}

Result IdentityConverter::Convert(const unsigned char* source, uint32_t sourceWidth,
                                  uint32_t sourceHeight, unsigned char* destination,
                                  uint32_t destinationWidth, uint32_t destinationHeight,
                                  uint32_t width, uint32_t height, uint32_t flags,
                                  uint32_t destinationPadding, unsigned char** scratchBuffer,
                                  uint32_t* scratchBufferSize, uint32_t sourcePadding) const {
    const uint32_t lineSize = GetSourceLineSize(width);
    const bool contiguous =
        !PixelTypeBits::Has(GetSourceTypeID(), PixelTypeBits::kInterlaced) &&
        GetSourceLineSize(sourceWidth) + sourcePadding == lineSize &&
        GetDestinationLineSize(destinationWidth) + destinationPadding == lineSize;
    if (!contiguous) {
        return PixelConverter::Convert(source, sourceWidth, sourceHeight, destination,
                                       destinationWidth, destinationHeight, width, height, flags,
                                       destinationPadding, scratchBuffer, scratchBufferSize,
                                       sourcePadding);
    }
    const size_t size = static_cast<size_t>(lineSize) * height;
    if (size != 0) std::memcpy(destination, source, size);
    return Result(ResultCode::kSuccess);
}

Result IdentityConverter::ConvertLines(const unsigned char* source, unsigned char* destination,
                                       uint32_t width) const {
    const uint32_t size = GetSourceLineSize(width);
    if (size != 0) std::memcpy(destination, source, size);
    return Result(ResultCode::kSuccess);
}

Result IdentityConverter::ConvertPixel(const unsigned char* source,
                                       unsigned char* destination) const {
    const uint32_t size = GetSourceLineSize(1);
    if (size != 0) std::memcpy(destination, source, size);
    return Result(ResultCode::kSuccess);
}

}  // namespace ZnConvertersLib
