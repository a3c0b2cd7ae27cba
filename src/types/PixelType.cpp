#include "ZnConvertersLib/PixelType.h"

#include <new>

#include "ZnConvertersLib/PixelTypeFactory.h"

namespace ZnConvertersLib {

using namespace PixelTypeBits;

PixelType::PixelType(const int64& id, unsigned short bitSize, unsigned short byteSize, bool isBayer)
    : mTypeID(id), mBitSize(bitSize), mByteSize(byteSize), mIsBayer(isBayer && Has(id, kRGB)) {}

PixelType::~PixelType() = default;

PixelType* PixelType::Clone() const {
    return new (std::nothrow)
        PixelType(GetTypeID(), GetPixelBitSize(), GetPixelByteSize(), IsBayerPattern());
}

const int64& PixelType::GetTypeID() const {
    return mTypeID;
}
unsigned short PixelType::GetPixelBitSize() const {
    return mBitSize;
}
unsigned short PixelType::GetPixelByteSize() const {
    return mByteSize;
}
bool PixelType::IsBayerPattern() const {
    return mIsBayer;
}

uint32_t PixelType::GetBufferSizeFor(uint32_t width, uint32_t height) const {
    const uint32_t id = Low32(GetTypeID());
    const uint32_t bits = GetPixelBitSize();
    const uint32_t bytes = GetPixelByteSize();
    const bool packed = (id & kPacked) != 0;
    if (packed && ((id & kGrayscale) != 0 || IsBayerPattern()) && (bits == 10 || bits == 12)) {
        // Two pixels share three bytes.
        uint32_t n = width * height;
        if (n & 1) ++n;
        return (3 * n) >> 1;
    }
    if (bits == 24 && bytes == 3 && !packed) {
        // Unpacked 24-bit formats occupy four bytes per pixel in memory.
        return width * height * 4;
    }
    return width * bytes * height;
}

const PixelConverter& PixelType::GetConverterTo(const PixelType& target) const {
    return PixelTypeFactory::GetConverter(mTypeID, target.GetTypeID());
}

bool PixelType::HasConverterTo(const PixelType& target) const {
    return PixelTypeFactory::HasConverter(mTypeID, target.GetTypeID());
}

const PixelConverter& PixelType::GetConverterFrom(const PixelType& source) const {
    return source.GetConverterTo(*this);
}

bool PixelType::HasConverterFrom(const PixelType& source) const {
    return source.HasConverterTo(*this);
}

}  // namespace ZnConvertersLib
