#pragma once

// Source readers of the bit-packed and planar colour families: pixel i (or pair k) of a
// line as three 8-bit channels by meaning.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ZnConvertersLib/ConversionContext.h"
#include "converters/bitpacked/BitPackedRGBKernels.h"
#include "converters/common/KernelSupport.h"
#include "converters/rgb/PackedRGBConvertersDetail.h"

namespace ZnConvertersLib {
namespace BitPackedRGBDetail {

using PackedRGBDetail::Rgb8;

// Byte 0 carries the low bits of all three channels and is never read; bytes 1, 2, 3 are
// the eight most significant bits of B, G and R.
struct BGR10V1Reader {
    BGR10V1Reader(const unsigned char* line, const ConversionContext&, uint32_t) : line(line) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        return BitPackedRGBVectorRow(ColourLayout::kBGR10V1, {line, 0, 0}, out, width);
    }
    Rgb8 operator()(std::size_t i) const {
        const unsigned char* p = line + 4 * i;
        return {p[3], p[2], p[1]};
    }
    const unsigned char* line;
};

// One little-endian word: B in bits 0..9, G in 10..19, R in 20..29 (kBGR10V2), or R and B
// the other way round (kRGB10p32).
template <ColourLayout kLayout>
struct Word10Reader {
    static_assert(kLayout == ColourLayout::kBGR10V2 || kLayout == ColourLayout::kRGB10p32,
                  "three 10-bit channels in a word");
    Word10Reader(const unsigned char* line, const ConversionContext&, uint32_t) : line(line) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        return BitPackedRGBVectorRow(kLayout, {line, 0, 0}, out, width);
    }
    Rgb8 operator()(std::size_t i) const {
        const uint32_t word = LoadLE32(line + 4 * i);
        const uint8_t high = static_cast<uint8_t>(word >> 22),
                      low = static_cast<uint8_t>(word >> 2);
        const uint8_t green = static_cast<uint8_t>(word >> 12);
        if constexpr (kLayout == ColourLayout::kRGB10p32) return {low, green, high};
        return {high, green, low};
    }
    const unsigned char* line;
};
using BGR10V2Reader = Word10Reader<ColourLayout::kBGR10V2>;
using RGB10p32Reader = Word10Reader<ColourLayout::kRGB10p32>;

// Nine bytes per pixel pair: R0 G0 B0 R1 G1 B1 as 12-bit samples packed two per three
// bytes, the outer byte of each three holding a sample's eight most significant bits.
struct RGB12V1PairReader {
    explicit RGB12V1PairReader(const unsigned char* line) : line(line) {}
    void operator()(std::size_t k, Rgb8& first, Rgb8& second) const {
        const unsigned char* p = line + 9 * k;
        first = {p[0], p[2], p[3]};
        second = {p[5], p[6], p[8]};
    }
    const unsigned char* line;
};

// Three planes R, G, B one after the other; a plane is the source stride times the source
// height of the conversion.
template <class Sample>
struct PlanarReader {
    static_assert(std::is_same<Sample, unsigned char>::value ||
                      std::is_same<Sample, unsigned short>::value,
                  "planar samples are 8 or 16 bits");
    PlanarReader(const unsigned char* line, const ConversionContext& context, uint32_t shift)
        : line(line),
          planeSize(static_cast<std::size_t>(context.sourceStride) * context.sourceHeight),
          shift(shift) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        constexpr ColourLayout kLayout = std::is_same<Sample, unsigned char>::value
                                             ? ColourLayout::kPlanar8
                                             : ColourLayout::kPlanar16;
        return BitPackedRGBVectorRow(kLayout, {line, planeSize, shift}, out, width);
    }
    Rgb8 operator()(std::size_t i) const {
        return {Channel(line, i), Channel(line + planeSize, i), Channel(line + 2 * planeSize, i)};
    }
    uint8_t Channel(const unsigned char* plane, std::size_t i) const {
        if constexpr (std::is_same<Sample, unsigned char>::value) {
            return static_cast<uint8_t>(plane[i] >> shift);
        }
        return static_cast<uint8_t>(LoadLE16(plane + 2 * i) >> shift);
    }
    const unsigned char* line;
    std::size_t planeSize;
    uint32_t shift;
};

}  // namespace BitPackedRGBDetail

}  // namespace ZnConvertersLib
