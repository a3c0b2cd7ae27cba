#pragma once

// Converters from colour sources whose channels are not whole bytes side by side: 10-bit
// channels in one 32-bit word (two layouts), 12-bit channels packed two samples per three
// bytes, and planar sources with the R, G and B samples in three planes. Every channel is
// cut to its eight most significant bits, filtered by its own table and stored.

#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/bitpacked/BitPackedRGBConvertersDetail.h"
#include "converters/common/KernelSupport.h"
#include "converters/rgb/PackedRGBConvertersDetail.h"

namespace ZnConvertersLib {

template <class Output>
using BGR10PackedV1To = PackedRGBDetail::ColourConverter<BitPackedRGBDetail::BGR10V1Reader, Output>;
template <class Output>
using BGR10PackedV2To = PackedRGBDetail::ColourConverter<BitPackedRGBDetail::BGR10V2Reader, Output>;
template <class Output>
using RGB10p32To = PackedRGBDetail::ColourConverter<BitPackedRGBDetail::RGB10p32Reader, Output>;

// Converts whole 9-byte groups: an odd width reads its last group whole and writes one
// pixel beyond the width, so destination lines need room for an even number of pixels.
template <class Output>
class RGB12PackedV1To : public UnitGranularityConverter {
public:
    using UnitGranularityConverter::UnitGranularityConverter;

    // 4.5 bytes a pixel, rounded down; the product wraps in 32 bits like the base's.
    uint32_t GetSourceLineSize(uint32_t width) const override { return width * 9u / 2u; }
    uint32_t IndependentGroup() const override { return 2; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        // A width of 0 would make the group count wrap; nothing is written.
        if (width != 0) {
            const FilterTables8& tables = ActiveFilterTables(*context);
            const LineWriter<Output> out(destination, *context);
            const uint32_t pairs = (width - 1) / 2 + 1;
            const uint32_t done = BitPackedRGBVectorRow(
                ColourLayout::kRGB12V1, {source, 0, 0},
                MakeRowOutput<Output>(destination, out.PlaneSize(), tables), 2 * pairs);
            PackedRGBDetail::WriteColourPairs(BitPackedRGBDetail::RGB12V1PairReader(source), out,
                                              tables, done / 2, pairs);
        }
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

// Planar 8-bit samples (unsigned char) or 16-bit little-endian samples (unsigned short),
// each shifted right by the source shift and cut to 8 bits.
template <class Sample, class Output>
using RGBPlanarTo =
    PackedRGBDetail::ColourConverter<BitPackedRGBDetail::PlanarReader<Sample>, Output>;

}  // namespace ZnConvertersLib
