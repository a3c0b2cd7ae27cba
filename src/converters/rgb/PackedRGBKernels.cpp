// Vector rows of the packed colour family, written once and compiled for every target
// (PackedRGBKernels.h). Each decoder turns whole vectors of pixels into R, G and B
// vectors; the shared stage filters and stores them.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/rgb/PackedRGBKernels.cpp"
#include "converters/rgb/PackedRGBKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using D16 = hn::Repartition<uint16_t, D8>;
using V16 = hn::Vec<D16>;

// Byte channels at offsets R, G, B of Bytes-byte pixels.
template <size_t Bytes, size_t R, size_t G, size_t B>
struct ByteChannels {
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        V8 c[4];
        if constexpr (Bytes == 3) {
            hn::LoadInterleaved3(d, line + 3 * i, c[0], c[1], c[2]);
        } else {
            hn::LoadInterleaved4(d, line + 4 * i, c[0], c[1], c[2], c[3]);
        }
        r = c[R], g = c[G], b = c[B];
    }
};

// 16-bit little-endian channels at word offsets R, G, B of Words-word pixels, shifted
// right and cut to their low 8 bits.
template <size_t Words, size_t R, size_t G, size_t B>
struct WordChannels {
    const uint8_t* line;
    uint32_t shift;
    void Half(D16 dw, const uint16_t* p, V16 c[4]) const {
        if constexpr (Words == 3) {
            hn::LoadInterleaved3(dw, p, c[0], c[1], c[2]);
        } else {
            hn::LoadInterleaved4(dw, p, c[0], c[1], c[2], c[3]);
        }
        for (size_t k = 0; k < Words; ++k) c[k] = hn::ShiftRightSame(c[k], static_cast<int>(shift));
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + Words * i;
        V16 lo[4], hi[4];
        Half(dw, p, lo);
        Half(dw, p + Words * hn::Lanes(dw), hi);
        r = LowBytes(d, lo[R], hi[R]);
        g = LowBytes(d, lo[G], hi[G]);
        b = LowBytes(d, lo[B], hi[B]);
    }
};

// 5:6:5 little-endian words, red high; each field in the high bits of its byte.
struct Rgb565 {
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + i;
        const V16 lo = hn::LoadU(dw, p);
        const V16 hi = hn::LoadU(dw, p + hn::Lanes(dw));
        const V16 redMask = hn::Set(dw, 0xF8), greenMask = hn::Set(dw, 0xFC);
        r = LowBytes(d, hn::And(hn::ShiftRight<8>(lo), redMask),
                     hn::And(hn::ShiftRight<8>(hi), redMask));
        g = LowBytes(d, hn::And(hn::ShiftRight<3>(lo), greenMask),
                     hn::And(hn::ShiftRight<3>(hi), greenMask));
        b = hn::ShiftLeft<3>(LowBytes(d, lo, hi));
    }
};

template <class Decoder>
uint32_t Row(const Decoder& decoder, const RowOutput& out, uint32_t width) {
    return ColourRow(decoder, out, width);
}

}  // namespace

uint32_t PackedRGBRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                      uint32_t width) {
    const uint8_t* line = source.line;
    const uint32_t shift = source.shift;
    switch (layout) {
        case ColourLayout::kRGB16:
            return Row(Rgb565{line}, out, width);
        case ColourLayout::kRGB24:
            return Row(ByteChannels<3, 0, 1, 2>{line}, out, width);
        case ColourLayout::kBGR24:
            return Row(ByteChannels<3, 2, 1, 0>{line}, out, width);
        case ColourLayout::kRGB32:
            return Row(ByteChannels<4, 0, 1, 2>{line}, out, width);
        case ColourLayout::kBGR32:
            return Row(ByteChannels<4, 2, 1, 0>{line}, out, width);
        case ColourLayout::kRGB48:
            return Row(WordChannels<3, 0, 1, 2>{line, shift}, out, width);
        case ColourLayout::kBGR48:
            return Row(WordChannels<3, 2, 1, 0>{line, shift}, out, width);
        case ColourLayout::kRGB64:
            return Row(WordChannels<4, 0, 1, 2>{line, shift}, out, width);
        default:
            return 0;
    }
}
#else
uint32_t PackedRGBRow(ColourLayout, const RowSource&, const RowOutput&, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(PackedRGBRow);

uint32_t PackedRGBVectorRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                            uint32_t width) {
    if (width < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(PackedRGBRow)(layout, source, out, width);
}

}  // namespace ZnConvertersLib
#endif
