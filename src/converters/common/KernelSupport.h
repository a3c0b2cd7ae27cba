#pragma once

// What a line kernel takes from the calling thread's conversion context: the output
// plane size (planar output), the 8-bit filter tables, strides and heights; and the base
// that most converters share.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

// The table of an 8-bit identity filter, which FilterTables8::IsIdentity compares against.
constexpr std::array<uint8_t, 256> MakeIdentityTable8() {
    std::array<uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i);
    return table;
}

inline constexpr std::array<uint8_t, 256> kIdentityTable8 = MakeIdentityTable8();

// The three 8-bit tables of the active filter. A kernel called outside a conversion
// (no filter in the context) gets the 8-bit identity tables.
struct FilterTables8 {
    explicit FilterTables8(const ConversionContext& context) {
        const RGBFilter& filter = context.filter ? *context.filter : GetDefaultFilter(8);
        red = filter.GetRedTable8();
        green = filter.GetGreenTable8();
        blue = filter.GetBlueTable8();
    }

    // True when all three tables map every value to itself: the look-ups can then be
    // skipped, as they cannot change a byte, and a line may take the vector rows. The
    // tables themselves are compared, because a filter's identity flag is not kept exact
    // by every setter; a few hundred bytes per line call cost far less than three
    // look-ups a pixel.
    bool IsIdentity() const {
        const uint8_t* identity = kIdentityTable8.data();
        return std::memcmp(red, identity, 256) == 0 && std::memcmp(green, identity, 256) == 0 &&
               std::memcmp(blue, identity, 256) == 0;
    }

    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
};

// Binds an output policy to one destination line.
template <class Output>
class LineWriter {
public:
    LineWriter(unsigned char* line, const ConversionContext& context)
        : mLine(line),
          mPlaneSize(Output::kIsPlanar ? context.destinationStride * context.destinationHeight
                                       : 0) {}

    void Store(std::ptrdiff_t i, uint8_t r, uint8_t g, uint8_t b) const {
        Output::Store(mLine, mPlaneSize, i, r, g, b);
    }
    void StoreGray(std::ptrdiff_t i, uint8_t v) const {
        Output::StoreGray(mLine, mPlaneSize, i, v);
    }
    // Filters each channel through its own table, then stores.
    void StoreFiltered(std::ptrdiff_t i, const FilterTables8& tables, uint8_t r, uint8_t g,
                       uint8_t b) const {
        Output::Store(mLine, mPlaneSize, i, tables.red[r], tables.green[g], tables.blue[b]);
    }

    unsigned char* Line() const { return mLine; }
    uint32_t PlaneSize() const { return mPlaneSize; }

private:
    unsigned char* mLine;
    uint32_t mPlaneSize;
};

// Base of the converters that take any number of pixels and lines a call: pixel and line
// granularity 1.
class UnitGranularityConverter : public PixelConverter {
public:
    UnitGranularityConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                             uint32_t sourcePixelSize, uint32_t destinationPixelSize)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize, 1,
                         1) {}
};

inline uint32_t LoadLE16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

inline uint32_t LoadLE32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

}  // namespace ZnConvertersLib
