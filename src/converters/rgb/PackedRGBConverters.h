#pragma once

// Converters from whole-pixel packed colour: three or four channels side by side in each
// pixel (8 or 16 bits per channel), or 5:6:5 in one word. Every channel goes through the
// filter table of its meaning (a BGR source's first byte through the blue table) and is
// stored by the output policy. 16-bit channels are shifted down to 8 bits first; nothing
// here writes more than 8 bits per channel. A fourth channel is never read.

#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "converters/common/KernelSupport.h"
#include "converters/rgb/PackedRGBConvertersDetail.h"
#include "converters/rgb/PackedRGBKernels.h"

namespace ZnConvertersLib {
namespace PackedRGBDetail {

// 5:6:5 little-endian word, red in the high bits. Each field lands in the high bits of its
// byte with zeros below (no bit replication), so 0xFFFF reads as 0xF8, 0xFC, 0xF8.
struct RGB16Reader {
    RGB16Reader(const unsigned char* line, const ConversionContext&, uint32_t) : line(line) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        return PackedRGBVectorRow(ColourLayout::kRGB16, {line, 0, 0}, out, width);
    }
    Rgb8 operator()(std::size_t i) const {
        const uint32_t word = LoadLE16(line + 2 * i);
        return {static_cast<uint8_t>((word >> 8) & 0xF8u),
                static_cast<uint8_t>((word >> 3) & 0xFCu),
                static_cast<uint8_t>((word << 3) & 0xF8u)};
    }
    const unsigned char* line;
};

// Byte channels at the given offsets of a PixelBytes-byte pixel.
template <std::size_t PixelBytes, std::size_t R, std::size_t G, std::size_t B>
struct ByteChannelReader {
    static constexpr std::size_t kPixelBytes = PixelBytes;
    static constexpr std::size_t kRed = R, kGreen = G, kBlue = B;
    ByteChannelReader(const unsigned char* line, const ConversionContext&, uint32_t) : line(line) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        return PackedRGBVectorRow(kLayout, {line, 0, 0}, out, width);
    }
    static constexpr ColourLayout kLayout =
        PixelBytes == 3 ? (R == 0 ? ColourLayout::kRGB24 : ColourLayout::kBGR24)
                        : (R == 0 ? ColourLayout::kRGB32 : ColourLayout::kBGR32);
    Rgb8 operator()(std::size_t i) const {
        const unsigned char* p = line + PixelBytes * i;
        return {p[R], p[G], p[B]};
    }
    const unsigned char* line;
};

// 16-bit little-endian channels at the given byte offsets, shifted down to 8 bits.
template <std::size_t PixelBytes, std::size_t R, std::size_t G, std::size_t B>
struct WordChannelReader {
    WordChannelReader(const unsigned char* line, const ConversionContext&, uint32_t shift)
        : line(line), shift(shift) {}
    uint32_t VectorRow(const RowOutput& out, uint32_t width) const {
        constexpr ColourLayout kLayout = PixelBytes == 8 ? ColourLayout::kRGB64
                                         : R == 0        ? ColourLayout::kRGB48
                                                         : ColourLayout::kBGR48;
        return PackedRGBVectorRow(kLayout, {line, 0, shift}, out, width);
    }
    Rgb8 operator()(std::size_t i) const {
        const unsigned char* p = line + PixelBytes * i;
        return {static_cast<uint8_t>(LoadLE16(p + R) >> shift),
                static_cast<uint8_t>(LoadLE16(p + G) >> shift),
                static_cast<uint8_t>(LoadLE16(p + B) >> shift)};
    }
    const unsigned char* line;
    uint32_t shift;
};

}  // namespace PackedRGBDetail

namespace PackedRGBDetail {

using RGB24Reader = ByteChannelReader<3, 0, 1, 2>;
using BGR24Reader = ByteChannelReader<3, 2, 1, 0>;
using RGB32Reader = ByteChannelReader<4, 0, 1, 2>;
using BGR32Reader = ByteChannelReader<4, 2, 1, 0>;
using RGB48Reader = WordChannelReader<6, 0, 2, 4>;
using BGR48Reader = WordChannelReader<6, 4, 2, 0>;
using RGB64Reader = WordChannelReader<8, 0, 2, 4>;

}  // namespace PackedRGBDetail

template <class Output>
using RGB16To = PackedRGBDetail::ColourConverter<PackedRGBDetail::RGB16Reader, Output>;
template <class Output>
using RGB24PackedTo = PackedRGBDetail::ColourConverter<PackedRGBDetail::RGB24Reader, Output>;
template <class Output>
using BGR24PackedTo = PackedRGBDetail::ColourConverter<PackedRGBDetail::BGR24Reader, Output>;
template <class Output>
using RGB32To = PackedRGBDetail::ColourConverter<PackedRGBDetail::RGB32Reader, Output>;
template <class Output>
using BGR32To = PackedRGBDetail::ColourConverter<PackedRGBDetail::BGR32Reader, Output>;

// The three 16-bit families take a source shift: 2 for 10-bit samples, 4 for 12-bit, 8 for
// samples normalized to the top of the word.
template <class Output>
using RGB48To = PackedRGBDetail::ColourConverter<PackedRGBDetail::RGB48Reader, Output>;
template <class Output>
using BGR48To = PackedRGBDetail::ColourConverter<PackedRGBDetail::BGR48Reader, Output>;
template <class Output>
using RGB64To = PackedRGBDetail::ColourConverter<PackedRGBDetail::RGB64Reader, Output>;

}  // namespace ZnConvertersLib
