#pragma once

// Shared machinery of the colour-source families: a source reader turns pixel i (or pair
// k) of a line into three 8-bit channels by their meaning (R, G, B, whatever the byte
// order); the line loop passes each channel through its own filter table and stores the
// pixel with the output policy.
//
// When all three filter tables are identities the lookups are skipped: the bytes are the
// same, and without lookups the line can go through SIMD rows (PackedRGBConvertersSimd.h),
// which convert a prefix of the line; the plain row finishes the rest.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/KernelSupport.h"
#include "converters/PackedRGBConvertersSimd.h"

namespace ZnConvertersLib {
namespace PackedRGBDetail {

// Shifts of 32 or more would be undefined; only the low five bits of a shift count.
constexpr uint32_t kShiftMask = 31;

struct Rgb8 {
    uint8_t r, g, b;
};

struct IdentityTable8 {
    uint8_t entries[256];
};

constexpr IdentityTable8 MakeIdentityTable8() {
    IdentityTable8 table{};
    for (int i = 0; i < 256; ++i) table.entries[i] = static_cast<uint8_t>(i);
    return table;
}

inline constexpr IdentityTable8 kIdentityTable8 = MakeIdentityTable8();

// Compares the tables themselves: a filter's identity flag is not kept exact by every
// setter, and a few hundred bytes per line call cost far less than three lookups a pixel.
inline bool AreIdentityTables(const FilterTables8& tables) {
    const uint8_t* identity = kIdentityTable8.entries;
    return std::memcmp(tables.red, identity, 256) == 0 &&
           std::memcmp(tables.green, identity, 256) == 0 &&
           std::memcmp(tables.blue, identity, 256) == 0;
}

// The plain row for identity tables, pixels begin .. end - 1: the reference that the SIMD
// rows must match byte for byte.
template <class Output, class Reader>
void StoreColourRow_C(const Reader& read, const LineWriter<Output>& out, uint32_t begin,
                      uint32_t end) {
    for (uint32_t i = begin; i < end; ++i) {
        const Rgb8 p = read(i);
        out.Store(i, p.r, p.g, p.b);
    }
}

template <class Output, class Reader>
void WriteColourPixels(const Reader& read, const LineWriter<Output>& out,
                       const FilterTables8& tables, uint32_t width) {
    static_assert(Output::kIsColour, "colour sources need a colour output");
    if (AreIdentityTables(tables)) {
        const uint32_t done = Simd::StoreColourRowFast<Reader, Output>(read, out.Line(), width);
        StoreColourRow_C(read, out, done, width);
    } else {
        for (uint32_t i = 0; i < width; ++i) {
            const Rgb8 p = read(i);
            out.StoreFiltered(i, tables, p.r, p.g, p.b);
        }
    }
}

// Pair readers fill the two pixels of group k; pixels 2k and 2k + 1 are stored.
template <class Output, class Reader>
void WriteColourPairs(const Reader& read, const LineWriter<Output>& out,
                      const FilterTables8& tables, uint32_t pairCount) {
    static_assert(Output::kIsColour, "colour sources need a colour output");
    if (AreIdentityTables(tables)) {
        for (uint32_t k = 0; k < pairCount; ++k) {
            Rgb8 first, second;
            read(k, first, second);
            const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(k);
            out.Store(i, first.r, first.g, first.b);
            out.Store(i + 1, second.r, second.g, second.b);
        }
    } else {
        for (uint32_t k = 0; k < pairCount; ++k) {
            Rgb8 first, second;
            read(k, first, second);
            const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(k);
            out.StoreFiltered(i, tables, first.r, first.g, first.b);
            out.StoreFiltered(i + 1, tables, second.r, second.g, second.b);
        }
    }
}

// Every reader is built from the source line, the conversion context (for sources that
// need strides or heights) and the source shift (zero for 8-bit channels).
template <class Reader, class Output>
void ConvertColourLine(const unsigned char* source, unsigned char* destination, uint32_t width,
                       uint32_t sourceShift) {
    ConversionContextScope context;
    const FilterTables8 tables(*context);
    const LineWriter<Output> out(destination, *context);
    WriteColourPixels(Reader(source, *context, sourceShift & kShiftMask), out, tables, width);
}

// One pixel per read, channels already 8 bits wide.
template <class Reader, class Output>
class ColourConverter : public PixelConverter {
public:
    ColourConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                    uint32_t sourcePixelSize, uint32_t destinationPixelSize)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize, 1,
                         1) {}

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        ConvertColourLine<Reader, Output>(source, destination, width, 0);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

// One pixel per read, each sample shifted right by the source shift before it is cut to
// 8 bits. Only the low five bits of the shift are used.
template <class Reader, class Output>
class ShiftedColourConverter : public PixelConverter {
public:
    ShiftedColourConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                           uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                           uint32_t sourceShift)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize, 1,
                         1),
          mSourceShift(sourceShift) {}

    uint32_t GetSourceShift() const { return mSourceShift; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        ConvertColourLine<Reader, Output>(source, destination, width, mSourceShift);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }

private:
    uint32_t mSourceShift;
};

}  // namespace PackedRGBDetail
}  // namespace ZnConvertersLib
