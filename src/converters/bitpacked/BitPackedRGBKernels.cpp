// Vector rows of the bit-packed and planar colour family, written once and compiled for
// every target (BitPackedRGBKernels.h).

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/bitpacked/BitPackedRGBKernels.cpp"
#include "converters/bitpacked/BitPackedRGBKernels.h"

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
using D32 = hn::Repartition<uint32_t, D8>;
using V32 = hn::Vec<D32>;

// Byte 0 holds the low bits and is skipped; bytes 1, 2, 3 are B, G, R.
struct Bgr10V1 {
    static constexpr size_t kBytesPer4 = 16;
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        V8 low;
        hn::LoadInterleaved4(d, line + 4 * i, low, b, g, r);
    }
};

// One little-endian word: B in bits 0..9, G in 10..19, R in 20..29 (or R and B the other
// way round); each channel's top eight bits.
template <bool kRedLow>
struct Word10 {
    static constexpr size_t kBytesPer4 = 16;
    const uint8_t* line;
    // Low bytes of the 32-bit lanes of four vectors, in order.
    HWY_INLINE static V8 LowBytes32(D8 d, const V32 w[4]) {
        const D16 dw;
        const V16 first = hn::ConcatEven(dw, hn::BitCast(dw, w[1]), hn::BitCast(dw, w[0]));
        const V16 second = hn::ConcatEven(dw, hn::BitCast(dw, w[3]), hn::BitCast(dw, w[2]));
        return LowBytes(d, first, second);
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D32 dq;
        const uint32_t* p = reinterpret_cast<const uint32_t*>(line) + i;
        V32 words[4], red[4], green[4], blue[4];
        for (size_t k = 0; k < 4; ++k) {
            words[k] = hn::LoadU(dq, p + k * hn::Lanes(dq));
            red[k] = hn::ShiftRight<22>(words[k]);
            green[k] = hn::ShiftRight<12>(words[k]);
            blue[k] = hn::ShiftRight<2>(words[k]);
        }
        r = LowBytes32(d, kRedLow ? blue : red);
        g = LowBytes32(d, green);
        b = LowBytes32(d, kRedLow ? red : blue);
    }
};

// Nine bytes a pixel pair: R0 G0 B0 R1 G1 B1 as 12-bit samples two per three bytes, the
// outer byte of each three a sample's top eight bits: R0 = byte 0, G0 = 2, B0 = 3,
// R1 = 5, G1 = 6, B1 = 8. Read as 3-byte units, those are the first and last bytes of
// units 3k, 3k + 1 and 3k + 2; a second deinterleave of each by three sorts them by pair.
struct Rgb12V1 {
    static constexpr size_t kBytesPer4 = 18;
    const uint8_t* line;
    using DH = hn::Half<D8>;
    using VH = hn::Vec<DH>;
    // Pixels in order from the values of the first and second pixels of pairs.
    HWY_INLINE static V8 InPairs(D8 d, VH first, VH second) {
        HWY_ALIGN uint8_t buffer[hn::MaxLanes(D8())];
        hn::StoreInterleaved2(first, second, DH(), buffer);
        return hn::Load(d, buffer);
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const DH dh;
        const size_t h = hn::Lanes(dh);
        const uint8_t* p = line + 9 * (i / 2);
        HWY_ALIGN uint8_t outer[2][3 * hn::MaxLanes(DH())];
        for (size_t part = 0; part < 3; ++part) {
            VH first, middle, last;
            hn::LoadInterleaved3(dh, p + 3 * h * part, first, middle, last);
            hn::StoreU(first, dh, outer[0] + h * part);
            hn::StoreU(last, dh, outer[1] + h * part);
        }
        VH r0, b0, g1, g0, r1, b1;
        hn::LoadInterleaved3(dh, outer[0], r0, b0, g1);
        hn::LoadInterleaved3(dh, outer[1], g0, r1, b1);
        r = InPairs(d, r0, r1);
        g = InPairs(d, g0, g1);
        b = InPairs(d, b0, b1);
    }
};

// Three planes one plane size apart; samples shifted right and cut to 8 bits.
template <class Sample>
struct Planes {
    const uint8_t* line;
    size_t planeSize;
    uint32_t shift;
    HWY_INLINE V8 Channel(D8 d, const uint8_t* plane, size_t i) const {
        const int count = static_cast<int>(shift);
        if constexpr (sizeof(Sample) == 1) {
            const V8 v = hn::LoadU(d, plane + i);
            if (count >= 8) return hn::Zero(d);
            return hn::ShiftRightSame(v, count);
        } else {
            const D16 dw;
            const uint16_t* p = reinterpret_cast<const uint16_t*>(plane) + i;
            return LowBytes(d, hn::ShiftRightSame(hn::LoadU(dw, p), count),
                            hn::ShiftRightSame(hn::LoadU(dw, p + hn::Lanes(dw)), count));
        }
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        r = Channel(d, line, i);
        g = Channel(d, line + planeSize, i);
        b = Channel(d, line + 2 * planeSize, i);
    }
};

}  // namespace

uint32_t BitPackedRGBRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                         uint32_t width) {
    const uint8_t* line = source.line;
    switch (layout) {
        case ColourLayout::kBGR10V1:
            return ColourRow(Bgr10V1{line}, out, width);
        case ColourLayout::kBGR10V2:
            return ColourRow(Word10<false>{line}, out, width);
        case ColourLayout::kRGB10p32:
            return ColourRow(Word10<true>{line}, out, width);
        case ColourLayout::kRGB12V1:
            return ColourRow(Rgb12V1{line}, out, width);
        case ColourLayout::kPlanar8:
            return ColourRow(Planes<uint8_t>{line, source.planeSize, source.shift}, out, width);
        case ColourLayout::kPlanar16:
            return ColourRow(Planes<uint16_t>{line, source.planeSize, source.shift}, out, width);
        default:
            return 0;
    }
}
#else
uint32_t BitPackedRGBRow(ColourLayout, const RowSource&, const RowOutput&, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(BitPackedRGBRow);

uint32_t BitPackedRGBVectorRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                               uint32_t width) {
    if (width < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(BitPackedRGBRow)(layout, source, out, width);
}

}  // namespace ZnConvertersLib
#endif
