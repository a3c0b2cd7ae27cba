// Vector rows of the deep Bayer family, written once and compiled for every target
// (DeepBayerKernels.h). A vector of 16-bit samples splits into its even and odd columns
// as 32-bit lanes, where a sum of four samples of up to 16 bits cannot overflow, so
// every mean is formed exactly and truncated as in the plain rows; results join back
// into pixel order as the low and high halves of those lanes.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/bayer/DeepBayerKernels.cpp"
#include "converters/bayer/DeepBayerKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "converters/bayer/BayerRows.h"
#include "converters/bayer/BayerRules-inl.h"
#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using namespace BayerDetail;

using D16 = hn::ScalableTag<uint16_t>;
using V16 = hn::Vec<D16>;
using D32 = hn::Repartition<uint32_t, D16>;
using V32 = hn::Vec<D32>;

// One source line's samples from a column on, at their depth and saturated, as DeepRow
// reads them.
struct Line {
    const uint16_t* samples;
    int down;  // 16 - bits for normalized samples, else 0
    V16 most;
    HWY_INLINE V16 Load(D16 d, size_t column) const {
        return hn::Min(hn::ShiftRightSame(hn::LoadU(d, samples + column), down), most);
    }
};

using BayerRules::BlockColourOf;
using BayerRules::InterpolateOf;
using Columns = BayerRules::Columns<V32>;
using Colour32 = BayerRules::Colour<V32>;

HWY_INLINE Columns Split(hn::Vec<hn::Repartition<uint16_t, D32>> x) {
    return BayerRules::Split(D32(), x);
}

// Pixels in order from the values of the even (low half) and odd (high half) pixels,
// scaled to 16 bits: a value below 2^bits stays inside its half when shifted by `up`.
HWY_INLINE V16 Join(V32 even, V32 odd, int up) {
    return hn::BitCast(D16(), hn::ShiftLeftSame(hn::Or(even, hn::ShiftLeft<16>(odd)), up));
}

template <bool kBlueFirst>
HWY_INLINE void Put(D16 d, unsigned char* line, size_t i, V16 r, V16 g, V16 b) {
    uint16_t* p = reinterpret_cast<uint16_t*>(line) + 3 * i;
    if constexpr (kBlueFirst) {
        hn::StoreInterleaved3(b, g, r, d, p);
    } else {
        hn::StoreInterleaved3(r, g, b, d, p);
    }
}

// Block method: columns 0 ... count - 1 (an even count) of both lines, each block's colour
// in both of its pixels.
template <int Layout, bool kBlueFirst>
uint32_t BlockPair(const Line& top, const Line& bottom, int up, unsigned char* out0,
                   unsigned char* out1, uint32_t count) {
    const D16 d;
    const size_t n = hn::Lanes(d);
    if (count < n) return 0;
    ForEachVector(n, count, SecondVectorAt(out0, 4 * 6, n), [&](size_t i) {
        const Colour32 c = BlockColourOf<Layout>(Split(top.Load(d, i)), Split(bottom.Load(d, i)));
        const V16 r = Join(c.r, c.r, up), g = Join(c.g, c.g, up), b = Join(c.b, c.b, up);
        Put<kBlueFirst>(d, out0, i, r, g, b);
        Put<kBlueFirst>(d, out1, i, r, g, b);
    });
    return count;
}

// Columns i ... i + N - 1 (at0) and i + 2 ... i + N + 1 (at2) of one line: every
// neighbour of pixels 1 + i ... i + N.
struct Around {
    Columns at0, at2;
};
HWY_INLINE Around AroundOf(D16 d, const Line& line, size_t i) {
    return {Split(line.Load(d, i)), Split(line.Load(d, i + 2))};
}

// Interior pixels 1 + i ... of the line `c`, whose pixels at odd columns are OddSite and
// at even columns EvenSite.
template <bool kBlueFirst, int OddSite, int EvenSite>
HWY_INLINE void Interior(D16 d, const Around& u, const Around& c, const Around& w, int up,
                         unsigned char* out, size_t i) {
    const Colour32 odd =
        InterpolateOf<OddSite>(u.at0.even, u.at0.odd, u.at2.even, c.at0.even, c.at0.odd, c.at2.even,
                               w.at0.even, w.at0.odd, w.at2.even);
    const Colour32 even =
        InterpolateOf<EvenSite>(u.at0.odd, u.at2.even, u.at2.odd, c.at0.odd, c.at2.even, c.at2.odd,
                                w.at0.odd, w.at2.even, w.at2.odd);
    Put<kBlueFirst>(d, out, i, Join(odd.r, even.r, up), Join(odd.g, even.g, up),
                    Join(odd.b, even.b, up));
}

// Neighbourhood method: `steps` two-pixel steps from pixel 1 of both lines. The lines
// in the middle of the four are read once for both.
template <int Layout, bool kBlueFirst>
uint32_t NeighbourhoodPair(const Line lines[4], int up, unsigned char* out0, unsigned char* out1,
                           uint32_t steps) {
    const D16 d;
    const size_t n = hn::Lanes(d);
    const size_t pixels = 2 * static_cast<size_t>(steps);
    if (pixels < n) return 0;
    // Pixel 1 on: three words a pixel.
    out0 += 6;
    out1 += 6;
    ForEachVector(n, pixels, SecondVectorAt(out0, 4 * 6, n), [&](size_t i) {
        const Around above = AroundOf(d, lines[0], i), top = AroundOf(d, lines[1], i);
        const Around bottom = AroundOf(d, lines[2], i), below = AroundOf(d, lines[3], i);
        Interior<kBlueFirst, kSiteOf[Layout][1], kSiteOf[Layout][0]>(d, above, top, bottom, up,
                                                                     out0, i);
        Interior<kBlueFirst, kSiteOf[Layout][3], kSiteOf[Layout][2]>(d, top, bottom, below, up,
                                                                     out1, i);
    });
    return steps;
}

template <int Layout, bool kBlueFirst>
uint32_t Pair(BayerMethod method, const Line lines[4], int up, unsigned char* out0,
              unsigned char* out1, uint32_t count) {
    if (method == BayerMethod::kBlock) {
        return BlockPair<Layout, kBlueFirst>(lines[1], lines[2], up, out0, out1, count & ~1u);
    }
    return NeighbourhoodPair<Layout, kBlueFirst>(lines, up, out0, out1, count);
}

template <bool kBlueFirst>
uint32_t AnyLayout(BayerMethod method, int layout, const Line lines[4], int up, unsigned char* out0,
                   unsigned char* out1, uint32_t count) {
    switch (layout) {
        case kLayoutGRBG:
            return Pair<kLayoutGRBG, kBlueFirst>(method, lines, up, out0, out1, count);
        case kLayoutGBRG:
            return Pair<kLayoutGBRG, kBlueFirst>(method, lines, up, out0, out1, count);
        case kLayoutRGGB:
            return Pair<kLayoutRGGB, kBlueFirst>(method, lines, up, out0, out1, count);
        default:
            return Pair<kLayoutBGGR, kBlueFirst>(method, lines, up, out0, out1, count);
    }
}

}  // namespace

uint32_t DeepBayerRow(BayerMethod method, int layout, const DeepBayerLines& lines, bool blueFirst,
                      unsigned char* out0, unsigned char* out1, uint32_t count) {
    const D16 d;
    const int up = 16 - static_cast<int>(lines.bits);
    const int down = lines.normalized ? up : 0;
    const V16 most = hn::Set(d, static_cast<uint16_t>((1u << lines.bits) - 1));
    const auto samples = [](const unsigned char* line) {
        return reinterpret_cast<const uint16_t*>(line);
    };
    const Line source[4] = {{samples(lines.above), down, most},
                            {samples(lines.top), down, most},
                            {samples(lines.bottom), down, most},
                            {samples(lines.below), down, most}};
    return blueFirst ? AnyLayout<true>(method, layout, source, up, out0, out1, count)
                     : AnyLayout<false>(method, layout, source, up, out0, out1, count);
}
#else
uint32_t DeepBayerRow(BayerMethod, int, const DeepBayerLines&, bool, unsigned char*, unsigned char*,
                      uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(DeepBayerRow);

uint32_t DeepBayerVectorRow(BayerMethod method, int layout, const DeepBayerLines& lines,
                            bool blueFirst, unsigned char* out0, unsigned char* out1,
                            uint32_t count) {
    if (count < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(DeepBayerRow)(method, layout, lines, blueFirst, out0, out1, count);
}

}  // namespace ZnConvertersLib
#endif
