#pragma once

// Shared machinery of the colour-source families: a source reader turns pixel i (or pair
// k) of a line into three 8-bit channels by their meaning (R, G, B, whatever the byte
// order); the line loop passes each channel through its own filter table and stores the
// pixel with the output policy.
//
// The vector rows convert a prefix of each line, filtered or not; the plain rows are their
// reference and finish the line. When all three filter tables are identities the plain
// rows skip the look-ups: the bytes are the same.

#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/common/KernelSupport.h"
#include "converters/common/RowCall.h"

namespace ZnConvertersLib {
namespace PackedRGBDetail {

// Shifts of 32 or more would be undefined; only the low five bits of a shift count.
constexpr uint32_t kShiftMask = 31;

struct Rgb8 {
    uint8_t r, g, b;
};

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

// Pixels begin .. width - 1 through the plain row, filtered unless the tables are
// identities; the vector rows convert the pixels before begin.
template <class Output, class Reader>
void WriteColourPixels(const Reader& read, const LineWriter<Output>& out,
                       const FilterTables8& tables, uint32_t begin, uint32_t width) {
    static_assert(Output::kIsColour, "colour sources need a colour output");
    if (tables.identity) {
        StoreColourRow_C(read, out, begin, width);
    } else {
        for (uint32_t i = begin; i < width; ++i) {
            const Rgb8 p = read(i);
            out.StoreFiltered(i, tables, p.r, p.g, p.b);
        }
    }
}

template <bool kFiltered, class Output>
void StoreColour(const LineWriter<Output>& out, std::ptrdiff_t i, const FilterTables8& tables,
                 const Rgb8& p) {
    if constexpr (kFiltered) {
        out.StoreFiltered(i, tables, p.r, p.g, p.b);
    } else {
        out.Store(i, p.r, p.g, p.b);
    }
}

// Pair readers fill the two pixels of group k; pixels 2k and 2k + 1 are stored.
template <bool kFiltered, class Output, class Reader>
void StoreColourPairs(const Reader& read, const LineWriter<Output>& out,
                      const FilterTables8& tables, uint32_t begin, uint32_t pairCount) {
    for (uint32_t k = begin; k < pairCount; ++k) {
        Rgb8 first, second;
        read(k, first, second);
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(k);
        StoreColour<kFiltered>(out, i, tables, first);
        StoreColour<kFiltered>(out, i + 1, tables, second);
    }
}

template <class Output, class Reader>
void WriteColourPairs(const Reader& read, const LineWriter<Output>& out,
                      const FilterTables8& tables, uint32_t begin, uint32_t pairCount) {
    static_assert(Output::kIsColour, "colour sources need a colour output");
    if (tables.identity) {
        StoreColourPairs<false>(read, out, tables, begin, pairCount);
    } else {
        StoreColourPairs<true>(read, out, tables, begin, pairCount);
    }
}

// One pixel per read. Every reader is built from the source line, the conversion context
// (for sources that need strides or heights) and the source shift: readers of samples wider
// than 8 bits shift each sample right by it before cutting it to 8 bits (only its low five
// bits are used); the others ignore it. Its VectorRow converts a prefix of the line with
// the family's vector row and returns the pixels done (0 where it has none).
template <class Reader, class Output>
class ColourConverter : public UnitGranularityConverter {
public:
    ColourConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                    uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                    uint32_t sourceShift = 0)
        : UnitGranularityConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                                   destinationPixelSize),
          mSourceShift(sourceShift) {}

    uint32_t GetSourceShift() const { return mSourceShift; }
    uint32_t IndependentGroup() const override { return 1; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        const FilterTables8& tables = ActiveFilterTables(*context);
        const LineWriter<Output> out(destination, *context);
        const Reader read(source, *context, mSourceShift & kShiftMask);
        const uint32_t done =
            read.VectorRow(MakeRowOutput<Output>(destination, out.PlaneSize(), tables), width);
        WriteColourPixels(read, out, tables, done, width);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }

private:
    uint32_t mSourceShift;
};

}  // namespace PackedRGBDetail
}  // namespace ZnConvertersLib
