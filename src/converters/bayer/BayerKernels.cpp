// Vector rows of the Bayer family, written once and compiled for every target
// (BayerKernels.h). A vector of samples splits into its even and odd columns as 16-bit
// lanes, so every mean is formed exactly and truncated as in the plain rows; results
// join back into pixel order as the low and high bytes of those lanes.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/bayer/BayerKernels.cpp"
#include "converters/bayer/BayerKernels.h"

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

using D16 = hn::Repartition<uint16_t, D8>;
using V16 = hn::Vec<D16>;

// One source line's samples from a column on, shifted and cut to their low 8 bits.
template <bool kWords>
struct Line {
    const unsigned char* line;
    int shift;
    HWY_INLINE V8 Load(D8 d, size_t column) const {
        if constexpr (kWords) {
            const D16 dw;
            const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + column;
            return LowBytes(d, hn::ShiftRightSame(hn::LoadU(dw, p), shift),
                            hn::ShiftRightSame(hn::LoadU(dw, p + hn::Lanes(dw)), shift));
        } else {
            return hn::ShiftRightSame(hn::LoadU(d, line + column), shift);
        }
    }
};

using BayerRules::BlockColourOf;
using BayerRules::InterpolateOf;
using Columns = BayerRules::Columns<V16>;
using Colour16 = BayerRules::Colour<V16>;

HWY_INLINE Columns Split(hn::Vec<hn::Repartition<uint8_t, D16>> x) {
    return BayerRules::Split(D16(), x);
}

// Pixels in order from the values of the even (low byte) and odd (high byte) pixels.
HWY_INLINE V8 Join(V16 even, V16 odd) {
    return hn::BitCast(D8(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// Block method: pixels i ... i + N - 1 of either line of the pair, two a block.
template <int Layout, class Source>
struct BlockPixels {
    Source top, bottom;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const Colour16 c = BlockColourOf<Layout>(Split(top.Load(d, i)), Split(bottom.Load(d, i)));
        r = Join(c.r, c.r);
        g = Join(c.g, c.g);
        b = Join(c.b, c.b);
    }
};

// Neighbourhood method: interior pixels 1 + i ... of the line `centre`, whose pixels at
// odd columns are OddSite and at even columns EvenSite. Columns i ... i + N - 1 (*0) and
// i + 2 ... i + N + 1 (*2) of the lines around it hold every neighbour.
template <int OddSite, int EvenSite, class Source>
struct InteriorPixels {
    Source up, centre, down;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const Columns u0 = Split(up.Load(d, i)), u2 = Split(up.Load(d, i + 2));
        const Columns c0 = Split(centre.Load(d, i)), c2 = Split(centre.Load(d, i + 2));
        const Columns d0 = Split(down.Load(d, i)), d2 = Split(down.Load(d, i + 2));
        const Colour16 odd = InterpolateOf<OddSite>(u0.even, u0.odd, u2.even, c0.even, c0.odd,
                                                    c2.even, d0.even, d0.odd, d2.even);
        const Colour16 even = InterpolateOf<EvenSite>(u0.odd, u2.even, u2.odd, c0.odd, c2.even,
                                                      c2.odd, d0.odd, d2.even, d2.odd);
        r = Join(odd.r, even.r);
        g = Join(odd.g, even.g);
        b = Join(odd.b, even.b);
    }
};

template <int Layout, class Source>
uint32_t Pair(BayerMethod method, const Source lines[4], const RowOutput& out0,
              const RowOutput& out1, uint32_t count) {
    if (method == BayerMethod::kBlock) {
        return ColourRows(BlockPixels<Layout, Source>{lines[1], lines[2]}, out0, &out1,
                          count & ~1u);
    }
    const uint32_t pixels = 2 * count;
    const uint32_t done =
        ColourRow(InteriorPixels<kSiteOf[Layout][1], kSiteOf[Layout][0], Source>{lines[0], lines[1],
                                                                                 lines[2]},
                  Advance(out0, 1), pixels);
    ColourRow(InteriorPixels<kSiteOf[Layout][3], kSiteOf[Layout][2], Source>{lines[1], lines[2],
                                                                             lines[3]},
              Advance(out1, 1), done);
    return done / 2;
}

template <class Source>
uint32_t AnyLayout(BayerMethod method, int layout, const Source lines[4], const RowOutput& out0,
                   const RowOutput& out1, uint32_t count) {
    switch (layout) {
        case kLayoutGRBG:
            return Pair<kLayoutGRBG>(method, lines, out0, out1, count);
        case kLayoutGBRG:
            return Pair<kLayoutGBRG>(method, lines, out0, out1, count);
        case kLayoutRGGB:
            return Pair<kLayoutRGGB>(method, lines, out0, out1, count);
        default:
            return Pair<kLayoutBGGR>(method, lines, out0, out1, count);
    }
}

}  // namespace

uint32_t BayerRow(BayerMethod method, int layout, const BayerLines& lines, const RowOutput& out0,
                  const RowOutput& out1, uint32_t count) {
    const int shift = static_cast<int>(lines.shift);
    if (lines.words) {
        const Line<true> source[4] = {
            {lines.above, shift}, {lines.top, shift}, {lines.bottom, shift}, {lines.below, shift}};
        return AnyLayout(method, layout, source, out0, out1, count);
    }
    const Line<false> source[4] = {
        {lines.above, shift}, {lines.top, shift}, {lines.bottom, shift}, {lines.below, shift}};
    return AnyLayout(method, layout, source, out0, out1, count);
}
#else
uint32_t BayerRow(BayerMethod, int, const BayerLines&, const RowOutput&, const RowOutput&,
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

HWY_EXPORT(BayerRow);

uint32_t BayerVectorRow(BayerMethod method, int layout, const BayerLines& lines,
                        const RowOutput& out0, const RowOutput& out1, uint32_t count) {
    if (count < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(BayerRow)(method, layout, lines, out0, out1, count);
}

}  // namespace ZnConvertersLib
#endif
