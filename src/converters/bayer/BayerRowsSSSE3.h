#pragma once

// SSSE3 rows for Bayer mosaics to the 24-bit outputs. They are the loops of the SSE2 rows
// (so the same bytes) with another store stage: SSE2 has no byte shuffle and packs
// three-byte pixels with rounds of masks and shifts that cost as much as the demosaicing
// itself, where one shuffle per channel and output vector does it here. The other outputs
// gain nothing and keep the SSE2 rows. Like those, each function does whole vector steps
// only and reports how far it got; the plain loops do the rest. Chosen once per line pair,
// when the CPU has SSSE3.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/bayer/BayerRowsSSE2.h"

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

struct StoreStageSSSE3 {
    template <class Output, bool kFiltered>
    ZN_TARGET_SSSE3 static void Store16(const LineWriter<Output>& out, std::ptrdiff_t first,
                                        __m128i r, __m128i g, __m128i b,
                                        const FilterTables8& tables) {
        ChannelDetail::StoreChannels16_SSSE3<Output, kFiltered>(out, first, r, g, b, tables);
    }
};

// The SSE2 loops with the SSSE3 store. Flattening compiles the whole loop into this SSSE3
// function, so that the shuffles of the store are inlined into it rather than called.
template <int Layout, bool kFiltered, class Row, class Output>
ZN_TARGET_SSSE3 __attribute__((flatten)) uint32_t BlockPairRows_SSSE3(
    const Row& top, const Row& bottom, const FilterTables8& tables, const LineWriter<Output>& out0,
    const LineWriter<Output>& out1, uint32_t width) {
    return BlockPairRowsWith<Layout, kFiltered, StoreStageSSSE3>(top, bottom, tables, out0, out1,
                                                                 width);
}

template <int Layout, bool kFiltered, class Row, class Output>
ZN_TARGET_SSSE3 __attribute__((flatten)) uint32_t NeighbourhoodInterior_SSSE3(
    const Row& above, const Row& top, const Row& bottom, const Row& below,
    const FilterTables8& tables, const LineWriter<Output>& out0, const LineWriter<Output>& out1,
    uint32_t steps) {
    return NeighbourhoodInteriorWith<Layout, kFiltered, StoreStageSSSE3>(above, top, bottom, below,
                                                                         tables, out0, out1, steps);
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
