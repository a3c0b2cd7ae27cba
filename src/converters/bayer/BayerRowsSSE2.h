#pragma once

// Vector rows for Bayer mosaics, beside the reference loops of BayerRows.h and giving the
// same bytes. Even and odd columns are split into 16-bit lanes,
// so every mean is formed exactly and truncated as in the reference. Each function does
// whole vector steps only and reports how far it got; the reference loop does the rest.

#include <cstddef>
#include <cstdint>

#include "converters/bayer/BayerRows.h"
#include "converters/common/BayerYUVChannels.h"

namespace ZnConvertersLib {
namespace BayerDetail {

#if defined(ZN_HAS_SSE2_ROWS)

// 16 consecutive samples of a line as bytes: 8-bit samples as they are; 16-bit samples
// shifted and cut to their low 8 bits, each on its own, as the reference does.
template <class Sample>
class VectorRow;

template <>
class VectorRow<unsigned char> {
public:
    VectorRow(const unsigned char* line, uint32_t) : mLine(line) {}
    __m128i Load16(std::size_t column) const {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(mLine + column));
    }

private:
    const unsigned char* mLine;
};

template <>
class VectorRow<unsigned short> {
public:
    VectorRow(const unsigned char* line, uint32_t shift) : mLine(line), mSamples(shift) {}
    __m128i Load16(std::size_t column) const { return mSamples.Load(mLine + 2 * column); }

private:
    const unsigned char* mLine;
    Simd::ShiftedSamples16<unsigned short> mSamples;
};

// 16 samples from a column on: even columns and odd columns, 8 each, as 16-bit lanes.
struct Columns16 {
    __m128i even, odd;
};

template <class Row>
inline Columns16 SplitColumns_SSE2(const Row& row, std::size_t column) {
    const __m128i x = row.Load16(column);
    return {_mm_and_si128(x, _mm_set1_epi16(0x00FF)), _mm_srli_epi16(x, 8)};
}

struct Colour8x16 {
    __m128i r, g, b;
};

inline __m128i Mean2(__m128i a, __m128i b) {
    return _mm_srli_epi16(_mm_add_epi16(a, b), 1);
}
inline __m128i Mean4(__m128i a, __m128i b, __m128i c, __m128i d) {
    return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(a, b), _mm_add_epi16(c, d)), 2);
}

// BlockColour for 8 blocks at once.
template <int Layout>
inline Colour8x16 BlockColour_SSE2(const Columns16& top, const Columns16& bottom) {
    const __m128i t0 = top.even, t1 = top.odd, b0 = bottom.even, b1 = bottom.odd;
    if constexpr (Layout == kLayoutGRBG) return {t1, Mean2(t0, b1), b0};
    if constexpr (Layout == kLayoutGBRG) return {b0, Mean2(t0, b1), t1};
    if constexpr (Layout == kLayoutRGGB) return {t0, Mean2(t1, b0), b1};
    if constexpr (Layout == kLayoutBGGR) return {b1, Mean2(t1, b0), t0};
}

// Interpolate for 8 pixels at once.
template <int Site>
inline Colour8x16 Interpolate_SSE2(__m128i ul, __m128i u, __m128i ur, __m128i l, __m128i p,
                                   __m128i r, __m128i dl, __m128i d, __m128i dr) {
    if constexpr (Site == kRedSite) return {p, Mean4(u, l, r, d), Mean4(ul, ur, dl, dr)};
    if constexpr (Site == kGreenSiteOnBlueRow) return {Mean2(u, d), p, Mean2(l, r)};
    if constexpr (Site == kGreenSiteOnRedRow) return {Mean2(l, r), p, Mean2(u, d)};
    if constexpr (Site == kBlueSite) return {Mean4(ul, ur, dl, dr), Mean4(u, l, r, d), p};
}

// The rows below are written once over their store stage, a type with
//   template <class Output, bool kFiltered> static void Store16(out, first, r, g, b, tables)
// so that the SSSE3 rows (BayerRowsSSSE3.h) are the same loops with another store.
struct StoreStageSSE2 {
    template <class Output, bool kFiltered>
    static void Store16(const LineWriter<Output>& out, std::ptrdiff_t first, __m128i r, __m128i g,
                        __m128i b, const FilterTables8& tables) {
        ChannelDetail::StoreChannels16_SSE2<Output, kFiltered>(out, first, r, g, b, tables);
    }
};

// Block method: 16 blocks (32 columns) per step. Returns the columns done. The filter
// look-ups are done once per block, before its colour is doubled into two pixels.
template <int Layout, bool kFiltered, class Stage, class Row, class Output>
inline uint32_t BlockPairRowsWith(const Row& top, const Row& bottom, const FilterTables8& tables,
                                  const LineWriter<Output>& out0, const LineWriter<Output>& out1,
                                  uint32_t width) {
    const uint32_t end = width & ~31u;
    for (uint32_t x = 0; x < end; x += 32) {
        const Colour8x16 c0 =
            BlockColour_SSE2<Layout>(SplitColumns_SSE2(top, x), SplitColumns_SSE2(bottom, x));
        const Colour8x16 c1 = BlockColour_SSE2<Layout>(SplitColumns_SSE2(top, x + 16),
                                                       SplitColumns_SSE2(bottom, x + 16));
        __m128i r = _mm_packus_epi16(c0.r, c1.r);
        __m128i g = _mm_packus_epi16(c0.g, c1.g);
        __m128i b = _mm_packus_epi16(c0.b, c1.b);
        if constexpr (kFiltered) {
            r = ChannelDetail::Lookup16(r, tables.red);
            g = ChannelDetail::Lookup16(g, tables.green);
            b = ChannelDetail::Lookup16(b, tables.blue);
        }
        // Every block colour twice: its two pixels.
        const __m128i rLo = _mm_unpacklo_epi8(r, r), rHi = _mm_unpackhi_epi8(r, r);
        const __m128i gLo = _mm_unpacklo_epi8(g, g), gHi = _mm_unpackhi_epi8(g, g);
        const __m128i bLo = _mm_unpacklo_epi8(b, b), bHi = _mm_unpackhi_epi8(b, b);
        for (const LineWriter<Output>* out : {&out0, &out1}) {
            Stage::template Store16<Output, false>(*out, x, rLo, gLo, bLo, tables);
            Stage::template Store16<Output, false>(*out, x + 16, rHi, gHi, bHi, tables);
        }
    }
    return end;
}

// 16 interior pixels x ... x+15 (x odd) of one output line, from the lines above (u),
// at (c) and below (d) it; *0 holds columns x-1 ... x+14, *2 columns x+1 ... x+16.
template <int OddSite, int EvenSite, bool kFiltered, class Stage, class Output>
inline void Interior16(const Columns16& u0, const Columns16& u2, const Columns16& c0,
                       const Columns16& c2, const Columns16& d0, const Columns16& d2,
                       const LineWriter<Output>& out, std::ptrdiff_t x,
                       const FilterTables8& tables) {
    const Colour8x16 odd = Interpolate_SSE2<OddSite>(u0.even, u0.odd, u2.even, c0.even, c0.odd,
                                                     c2.even, d0.even, d0.odd, d2.even);
    const Colour8x16 even = Interpolate_SSE2<EvenSite>(u0.odd, u2.even, u2.odd, c0.odd, c2.even,
                                                       c2.odd, d0.odd, d2.even, d2.odd);
    // Odd pixels in the low bytes, even ones in the high bytes: pixel order.
    Stage::template Store16<Output, kFiltered>(
        out, x, _mm_or_si128(odd.r, _mm_slli_epi16(even.r, 8)),
        _mm_or_si128(odd.g, _mm_slli_epi16(even.g, 8)),
        _mm_or_si128(odd.b, _mm_slli_epi16(even.b, 8)), tables);
}

// Neighbourhood method, interior pixels of both lines, 8 steps (16 pixels) per vector
// step. Returns the steps done.
template <int Layout, bool kFiltered, class Stage, class Row, class Output>
inline uint32_t NeighbourhoodInteriorWith(const Row& above, const Row& top, const Row& bottom,
                                          const Row& below, const FilterTables8& tables,
                                          const LineWriter<Output>& out0,
                                          const LineWriter<Output>& out1, uint32_t steps) {
    const uint32_t vectorSteps = steps & ~7u;
    for (uint32_t i = 0; i < vectorSteps; i += 8) {
        const std::size_t c = 2 * static_cast<std::size_t>(i);
        const Columns16 a0 = SplitColumns_SSE2(above, c), a2 = SplitColumns_SSE2(above, c + 2);
        const Columns16 t0 = SplitColumns_SSE2(top, c), t2 = SplitColumns_SSE2(top, c + 2);
        const Columns16 b0 = SplitColumns_SSE2(bottom, c), b2 = SplitColumns_SSE2(bottom, c + 2);
        const Columns16 d0 = SplitColumns_SSE2(below, c), d2 = SplitColumns_SSE2(below, c + 2);
        const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(c) + 1;
        Interior16<kSiteOf[Layout][1], kSiteOf[Layout][0], kFiltered, Stage>(a0, a2, t0, t2, b0, b2,
                                                                             out0, x, tables);
        Interior16<kSiteOf[Layout][3], kSiteOf[Layout][2], kFiltered, Stage>(t0, t2, b0, b2, d0, d2,
                                                                             out1, x, tables);
    }
    return vectorSteps;
}

template <int Layout, bool kFiltered, class Row, class Output>
uint32_t BlockPairRows_SSE2(const Row& top, const Row& bottom, const FilterTables8& tables,
                            const LineWriter<Output>& out0, const LineWriter<Output>& out1,
                            uint32_t width) {
    return BlockPairRowsWith<Layout, kFiltered, StoreStageSSE2>(top, bottom, tables, out0, out1,
                                                                width);
}

template <int Layout, bool kFiltered, class Row, class Output>
uint32_t NeighbourhoodInterior_SSE2(const Row& above, const Row& top, const Row& bottom,
                                    const Row& below, const FilterTables8& tables,
                                    const LineWriter<Output>& out0, const LineWriter<Output>& out1,
                                    uint32_t steps) {
    return NeighbourhoodInteriorWith<Layout, kFiltered, StoreStageSSE2>(above, top, bottom, below,
                                                                        tables, out0, out1, steps);
}

#endif  // ZN_HAS_SSE2_ROWS

}  // namespace BayerDetail
}  // namespace ZnConvertersLib
