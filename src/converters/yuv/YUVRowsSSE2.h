#pragma once

// Vector rows for the YUV layouts that have one, beside the reference row of YUVRows.h
// and giving the same bytes: 16 pixels per step with the products formed exactly in
// 32-bit lanes (pmaddwd of 16-bit pairs), the rounding bias added, an arithmetic shift,
// and the clamp done by the saturating packs, which for these inputs (-277 ... 535) is
// what the saturation table does. The groups left over after whole steps go through the
// reference row.

#include <cstdint>
#include <type_traits>

#include "converters/common/BayerYUVChannels.h"
#include "converters/yuv/YUVRows.h"

namespace ZnConvertersLib {
namespace YUVDetail {

// The layouts with vector rows: the SSE2 rows here and the SSSE3 rows of YUVRowsSSSE3.h
// serve the same ones.
template <class Layout>
struct HasVectorRows : std::false_type {};

#if defined(ZN_HAS_SSE2_ROWS)

template <>
struct HasVectorRows<Layout422> : std::true_type {};
template <>
struct HasVectorRows<Layout422GEV> : std::true_type {};
template <>
struct HasVectorRows<Layout444> : std::true_type {};
template <>
struct HasVectorRows<Layout444GEV> : std::true_type {};
template <>
struct HasVectorRows<LayoutYCrCb> : std::true_type {};

// A 32-bit lane holding the 16-bit pair (low, high), as pmaddwd multiplies it.
inline __m128i Pair16(int32_t low, int32_t high) {
    return _mm_set1_epi32(
        static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(low)) |
                             (static_cast<uint32_t>(static_cast<uint16_t>(high)) << 16)));
}

struct Channels8x16 {
    __m128i r, g, b;  // 8 pixels, 16-bit lanes, not yet clamped
};

// The matrix for 8 pixels whose Y, U and V are given in 16-bit lanes.
inline Channels8x16 Matrix8_SSE2(__m128i y, __m128i u, __m128i v) {
    const __m128i ly = _mm_sub_epi16(y, _mm_set1_epi16(kLumaBlack));
    const __m128i cu = _mm_sub_epi16(u, _mm_set1_epi16(kChromaZero));
    const __m128i cv = _mm_sub_epi16(v, _mm_set1_epi16(kChromaZero));
    const __m128i one = _mm_set1_epi16(1);
    const __m128i bias = _mm_set1_epi32(kRoundingBias);
    const __m128i red = Pair16(kLumaGain, kVToRed);
    const __m128i blue = Pair16(kLumaGain, kUToBlue);
    const __m128i greenU = Pair16(kLumaGain, -kUToGreen);
    const __m128i greenV = Pair16(-kVToGreen, kRoundingBias);  // bias rides on a lane of 1

    const __m128i yvLo = _mm_unpacklo_epi16(ly, cv), yvHi = _mm_unpackhi_epi16(ly, cv);
    const __m128i yuLo = _mm_unpacklo_epi16(ly, cu), yuHi = _mm_unpackhi_epi16(ly, cu);
    const __m128i v1Lo = _mm_unpacklo_epi16(cv, one), v1Hi = _mm_unpackhi_epi16(cv, one);

    const auto scale = [](__m128i x) { return _mm_srai_epi32(x, kFractionBits); };
    const __m128i rLo = scale(_mm_add_epi32(_mm_madd_epi16(yvLo, red), bias));
    const __m128i rHi = scale(_mm_add_epi32(_mm_madd_epi16(yvHi, red), bias));
    const __m128i gLo =
        scale(_mm_add_epi32(_mm_madd_epi16(yuLo, greenU), _mm_madd_epi16(v1Lo, greenV)));
    const __m128i gHi =
        scale(_mm_add_epi32(_mm_madd_epi16(yuHi, greenU), _mm_madd_epi16(v1Hi, greenV)));
    const __m128i bLo = scale(_mm_add_epi32(_mm_madd_epi16(yuLo, blue), bias));
    const __m128i bHi = scale(_mm_add_epi32(_mm_madd_epi16(yuHi, blue), bias));
    return {_mm_packs_epi32(rLo, rHi), _mm_packs_epi32(gLo, gHi), _mm_packs_epi32(bLo, bHi)};
}

// Y, U and V of 16 pixels, each as two vectors of eight 16-bit lanes.
struct Samples16 {
    __m128i y[2], u[2], v[2];
};

// 4:2:2, either byte order: 8 groups, 32 bytes.
template <class Layout>
inline Samples16 Load422_SSE2(const unsigned char* p) {
    constexpr bool kLumaFirst = std::is_same_v<Layout, Layout422>;
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    Samples16 s;
    for (int half = 0; half < 2; ++half) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * half));
        // Luma of 8 pixels; chroma as U0 V0 U1 V1 U2 V2 U3 V3, each spread over the two
        // pixels of its group.
        s.y[half] = kLumaFirst ? _mm_and_si128(x, lowBytes) : _mm_srli_epi16(x, 8);
        const __m128i c = kLumaFirst ? _mm_srli_epi16(x, 8) : _mm_and_si128(x, lowBytes);
        s.u[half] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(c, _MM_SHUFFLE(2, 2, 0, 0)),
                                        _MM_SHUFFLE(2, 2, 0, 0));
        s.v[half] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(c, _MM_SHUFFLE(3, 3, 1, 1)),
                                        _MM_SHUFFLE(3, 3, 1, 1));
    }
    return s;
}

// 4:4:4 in any order: 16 pixels, 48 bytes, split into the three sample streams by five
// rounds of byte interleaving.
template <class Layout>
inline Samples16 Load444_SSE2(const unsigned char* p) {
    const __m128i t00 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i t01 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
    const __m128i t02 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
    const auto high = [](__m128i x) { return _mm_unpackhi_epi64(x, x); };
    const __m128i t10 = _mm_unpacklo_epi8(t00, high(t01));
    const __m128i t11 = _mm_unpacklo_epi8(high(t00), t02);
    const __m128i t12 = _mm_unpacklo_epi8(t01, high(t02));
    const __m128i t20 = _mm_unpacklo_epi8(t10, high(t11));
    const __m128i t21 = _mm_unpacklo_epi8(high(t10), t12);
    const __m128i t22 = _mm_unpacklo_epi8(t11, high(t12));
    const __m128i t30 = _mm_unpacklo_epi8(t20, high(t21));
    const __m128i t31 = _mm_unpacklo_epi8(high(t20), t22);
    const __m128i t32 = _mm_unpacklo_epi8(t21, high(t22));
    const __m128i streams[3] = {_mm_unpacklo_epi8(t30, high(t31)),
                                _mm_unpacklo_epi8(high(t30), t32),
                                _mm_unpacklo_epi8(t31, high(t32))};
    const __m128i zero = _mm_setzero_si128();
    const __m128i y = streams[Layout::kY[0]], u = streams[Layout::kU], v = streams[Layout::kV];
    Samples16 s;
    s.y[0] = _mm_unpacklo_epi8(y, zero), s.y[1] = _mm_unpackhi_epi8(y, zero);
    s.u[0] = _mm_unpacklo_epi8(u, zero), s.u[1] = _mm_unpackhi_epi8(u, zero);
    s.v[0] = _mm_unpacklo_epi8(v, zero), s.v[1] = _mm_unpackhi_epi8(v, zero);
    return s;
}

// Whole steps of 16 pixels; groups is a multiple of the step.
template <class Layout, bool kFiltered, class Output>
void ConvertGroupsBulk_SSE2(const unsigned char* source, const LineWriter<Output>& out,
                            const FilterTables8& tables, uint32_t groups) {
    static_assert(HasVectorRows<Layout>::value, "no vector row for this layout");
    constexpr uint32_t kGroupsPerStep = 16 / Layout::kPixels;
    constexpr std::size_t kStepBytes = kGroupsPerStep * Layout::kSamples;
    for (uint32_t group = 0; group < groups; group += kGroupsPerStep) {
        const unsigned char* p =
            source + static_cast<std::size_t>(group / kGroupsPerStep) * kStepBytes;
        Samples16 s;
        if constexpr (Layout::kPixels == 2) {
            s = Load422_SSE2<Layout>(p);
        } else {
            s = Load444_SSE2<Layout>(p);
        }
        const Channels8x16 first = Matrix8_SSE2(s.y[0], s.u[0], s.v[0]);
        const Channels8x16 second = Matrix8_SSE2(s.y[1], s.u[1], s.v[1]);
        ChannelDetail::StoreChannels16_SSE2<Output, kFiltered>(
            out, static_cast<std::ptrdiff_t>(group) * Layout::kPixels,
            _mm_packus_epi16(first.r, second.r), _mm_packus_epi16(first.g, second.g),
            _mm_packus_epi16(first.b, second.b), tables);
    }
}

template <class Layout, bool kFiltered, class Output>
void ConvertGroupsRow_SSE2(const unsigned char* source, const LineWriter<Output>& out,
                           const FilterTables8& tables, const uint8_t* saturate, uint32_t groups,
                           uint32_t shift) {
    ConvertGroupsRowAny<Layout, kFiltered>(&ConvertGroupsBulk_SSE2<Layout, kFiltered, Output>,
                                           16 / Layout::kPixels, source, out, tables, saturate,
                                           groups, shift);
}

#endif  // ZN_HAS_SSE2_ROWS

}  // namespace YUVDetail
}  // namespace ZnConvertersLib
