#pragma once

// SSSE3 rows for Bayer mosaics to the 24-bit outputs. The demosaicing is the SSE2 rows'
// (the same helpers, so the same bytes); what changes is the store: SSE2 has no byte
// shuffle and packs three-byte pixels with rounds of masks and shifts that cost as much
// as the demosaicing itself, where one shuffle per channel and output vector does it
// here. The filter look-ups of the block method are done once per block, as in the
// plain loop. The other outputs gain nothing and keep the SSE2 rows. Like those, each function does
// whole vector steps only and reports how far it got; the plain loops do the rest. Chosen once per
// line pair, when the CPU has SSSE3.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/BayerRowsSSE2.h"
#include "converters/YUVRowsSSSE3.h"

namespace ZnConvertersLib {
namespace BayerDetail {

template <class Output>
constexpr bool kHasRowsSSSE3 =
#if defined(ZN_HAS_SSSE3_ROWS)
    std::is_same_v<Output, OutputRGB24> || std::is_same_v<Output, OutputBGR24>;
#else
    false;
#endif

#if defined(ZN_HAS_SSSE3_ROWS)

// Block method: 16 blocks (32 columns) per step. Returns the columns done.
template <int Layout, bool kFiltered, class Row, class Output>
ZN_TARGET_SSSE3 uint32_t BlockPairRows_SSSE3(const Row& top, const Row& bottom,
                                             const FilterTables8& tables,
                                             const LineWriter<Output>& out0,
                                             const LineWriter<Output>& out1, uint32_t width) {
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
            // Once per block rather than once per pixel.
            r = ChannelDetail::Lookup16(r, tables.red);
            g = ChannelDetail::Lookup16(g, tables.green);
            b = ChannelDetail::Lookup16(b, tables.blue);
        }
        // Every block colour twice: its two pixels.
        const __m128i rLo = _mm_unpacklo_epi8(r, r), rHi = _mm_unpackhi_epi8(r, r);
        const __m128i gLo = _mm_unpacklo_epi8(g, g), gHi = _mm_unpackhi_epi8(g, g);
        const __m128i bLo = _mm_unpacklo_epi8(b, b), bHi = _mm_unpackhi_epi8(b, b);
        for (const LineWriter<Output>* out : {&out0, &out1}) {
            ChannelDetail::StoreChannels16_SSSE3<Output, false>(*out, x, rLo, gLo, bLo, tables);
            ChannelDetail::StoreChannels16_SSSE3<Output, false>(*out, x + 16, rHi, gHi, bHi,
                                                                tables);
        }
    }
    return end;
}

// 16 interior pixels x ... x+15 (x odd) of one output line; as Interior16_SSE2.
template <int OddSite, int EvenSite, bool kFiltered, class Output>
ZN_TARGET_SSSE3 inline void Interior16_SSSE3(const Columns16& u0, const Columns16& u2,
                                             const Columns16& c0, const Columns16& c2,
                                             const Columns16& d0, const Columns16& d2,
                                             const LineWriter<Output>& out, std::ptrdiff_t x,
                                             const FilterTables8& tables) {
    const Colour8x16 odd = Interpolate_SSE2<OddSite>(u0.even, u0.odd, u2.even, c0.even, c0.odd,
                                                     c2.even, d0.even, d0.odd, d2.even);
    const Colour8x16 even = Interpolate_SSE2<EvenSite>(u0.odd, u2.even, u2.odd, c0.odd, c2.even,
                                                       c2.odd, d0.odd, d2.even, d2.odd);
    // Odd pixels in the low bytes, even ones in the high bytes: pixel order.
    ChannelDetail::StoreChannels16_SSSE3<Output, kFiltered>(
        out, x, _mm_or_si128(odd.r, _mm_slli_epi16(even.r, 8)),
        _mm_or_si128(odd.g, _mm_slli_epi16(even.g, 8)),
        _mm_or_si128(odd.b, _mm_slli_epi16(even.b, 8)), tables);
}

// Neighbourhood method, interior pixels of both lines, 8 steps (16 pixels) per vector
// step. Returns the steps done.
template <int Layout, bool kFiltered, class Row, class Output>
ZN_TARGET_SSSE3 uint32_t NeighbourhoodInterior_SSSE3(const Row& above, const Row& top,
                                                     const Row& bottom, const Row& below,
                                                     const FilterTables8& tables,
                                                     const LineWriter<Output>& out0,
                                                     const LineWriter<Output>& out1,
                                                     uint32_t steps) {
    const uint32_t vectorSteps = steps & ~7u;
    for (uint32_t i = 0; i < vectorSteps; i += 8) {
        const std::size_t c = 2 * static_cast<std::size_t>(i);
        const Columns16 a0 = SplitColumns_SSE2(above, c), a2 = SplitColumns_SSE2(above, c + 2);
        const Columns16 t0 = SplitColumns_SSE2(top, c), t2 = SplitColumns_SSE2(top, c + 2);
        const Columns16 b0 = SplitColumns_SSE2(bottom, c), b2 = SplitColumns_SSE2(bottom, c + 2);
        const Columns16 d0 = SplitColumns_SSE2(below, c), d2 = SplitColumns_SSE2(below, c + 2);
        const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(c) + 1;
        Interior16_SSSE3<kSiteOf[Layout][1], kSiteOf[Layout][0], kFiltered>(a0, a2, t0, t2, b0, b2,
                                                                            out0, x, tables);
        Interior16_SSSE3<kSiteOf[Layout][3], kSiteOf[Layout][2], kFiltered>(t0, t2, b0, b2, d0, d2,
                                                                            out1, x, tables);
    }
    return vectorSteps;
}

#endif  // ZN_HAS_SSSE3_ROWS

#if defined(ZN_HAS_SSE2_ROWS)

// The vector rows for a line pair: SSSE3 where the output has them and the CPU allows,
// else SSE2.
template <int Layout, bool kFiltered, class Row, class Output>
uint32_t BlockPairRowsVector(const Row& top, const Row& bottom, const FilterTables8& tables,
                             const LineWriter<Output>& out0, const LineWriter<Output>& out1,
                             uint32_t width) {
#if defined(ZN_HAS_SSSE3_ROWS)
    if constexpr (kHasRowsSSSE3<Output>) {
        if (Simd::HasSsse3()) {
            return BlockPairRows_SSSE3<Layout, kFiltered>(top, bottom, tables, out0, out1, width);
        }
    }
#endif
    return BlockPairRows_SSE2<Layout, kFiltered>(top, bottom, tables, out0, out1, width);
}

template <int Layout, bool kFiltered, class Row, class Output>
uint32_t NeighbourhoodInteriorVector(const Row& above, const Row& top, const Row& bottom,
                                     const Row& below, const FilterTables8& tables,
                                     const LineWriter<Output>& out0, const LineWriter<Output>& out1,
                                     uint32_t steps) {
#if defined(ZN_HAS_SSSE3_ROWS)
    if constexpr (kHasRowsSSSE3<Output>) {
        if (Simd::HasSsse3()) {
            return NeighbourhoodInterior_SSSE3<Layout, kFiltered>(above, top, bottom, below, tables,
                                                                  out0, out1, steps);
        }
    }
#endif
    return NeighbourhoodInterior_SSE2<Layout, kFiltered>(above, top, bottom, below, tables, out0,
                                                         out1, steps);
}

#endif  // ZN_HAS_SSE2_ROWS

}  // namespace BayerDetail
}  // namespace ZnConvertersLib
