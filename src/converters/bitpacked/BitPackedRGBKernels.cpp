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
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        V8 low;
        hn::LoadInterleaved4(d, line + 4 * i, low, b, g, r);
    }
};

// One little-endian word: B in bits 0..9, G in 10..19, R in 20..29; each channel's top
// eight bits.
struct Bgr10V2 {
    const uint8_t* line;
    // Low bytes of the 32-bit lanes of four vectors, in order.
    static V8 LowBytes32(D8 d, const V32 w[4]) {
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
        r = LowBytes32(d, red);
        g = LowBytes32(d, green);
        b = LowBytes32(d, blue);
    }
};

// Three planes one plane size apart; samples shifted right and cut to 8 bits.
template <class Sample>
struct Planes {
    const uint8_t* line;
    size_t planeSize;
    uint32_t shift;
    V8 Channel(D8 d, const uint8_t* plane, size_t i) const {
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
            return ColourRow(Bgr10V2{line}, out, width);
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
