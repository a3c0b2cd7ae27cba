#pragma once

#include <cstdint>

#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

class PixelConverter;

// A pixel format: identifier, significant bits, bytes per unpacked pixel, Bayer flag.
class PixelType {
public:
    // The Bayer flag is kept only when bit 17 (the RGB colour space) of id is set.
    PixelType(const int64& id, unsigned short bitSize, unsigned short byteSize, bool isBayer);

    virtual ~PixelType();                    // slot 0
    virtual PixelType* Clone() const;        // slot 1: a base-class copy, owned by the caller
    virtual const int64& GetTypeID() const;  // slot 2
    virtual unsigned short GetPixelBitSize() const;   // slot 3
    virtual unsigned short GetPixelByteSize() const;  // slot 4
    virtual bool IsBayerPattern() const;              // slot 5
    // Bytes of one frame; unsigned 32-bit arithmetic that wraps.
    virtual uint32_t GetBufferSizeFor(uint32_t width, uint32_t height) const;  // slot 6

    // Registry lookups with this type as source (or destination). For a pair without a
    // converter GetConverterTo returns the registry's null converter (see PixelTypeFactory).
    const PixelConverter& GetConverterTo(const PixelType& target) const;
    bool HasConverterTo(const PixelType& target) const;
    const PixelConverter& GetConverterFrom(const PixelType& source) const;
    bool HasConverterFrom(const PixelType& source) const;

private:
    int64 mTypeID;
    unsigned short mBitSize;
    unsigned short mByteSize;
    bool mIsBayer;
};

}  // namespace ZnConvertersLib
