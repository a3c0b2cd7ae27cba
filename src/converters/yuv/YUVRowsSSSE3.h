#pragma once

// SSSE3 rows for the 4:2:2 and 4:4:4 layouts, beside the plain and SSE2 rows and giving
// the bytes of the plain row. The byte shuffle does in one step what SSE2 needs rounds of
// unpacking for: it spreads the samples of four pixels straight into the zero-extended
// 16-bit (Y, V) and (Y, U) pairs that pmaddwd multiplies, and it packs three-byte pixels
// for the store. Black level and chroma zero are folded into each channel's constant
// term, so every 32-bit sum equals the plain row's, and the arithmetic shift and the
// saturating packs then give its bytes (results stay within -277 ... 535).
//
// Shape of every row: a bulk row doing whole 16-pixel steps, and one wrapper that runs it
// over the whole steps of a line and finishes the tail with the plain row. The caller
// picks these rows once per line call, when the CPU has SSSE3. The store stage is the one
// shared with the Bayer SSSE3 rows (BayerYUVChannels.h).

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/common/BayerYUVChannels.h"
#include "converters/rgb/PackedRGBConvertersSimd.h"
#include "converters/yuv/YUVRows.h"
#include "converters/yuv/YUVRowsSSE2.h"

namespace ZnConvertersLib {
namespace YUVDetail {

#if defined(ZN_HAS_SSSE3_ROWS)

using ChannelDetail::ByteMask;
using ChannelDetail::kZeroByte;
using ChannelDetail::LoadMask;

enum class Sample { kLuma, kU, kV };

// Byte offset of one sample of pixel p, counted from the start of the group holding
// pixel 0.
template <class Layout>
constexpr int SampleOffset(Sample sample, uint32_t p) {
    const uint32_t group = p / Layout::kPixels;
    const uint32_t within = sample == Sample::kLuma ? Layout::kY[p % Layout::kPixels]
                            : sample == Sample::kU  ? Layout::kU
                                                    : Layout::kV;
    return static_cast<int>(group * Layout::kSamples + within);
}

// Pixels firstPixel ... firstPixel + 3 of a register to one 32-bit lane each, holding the
// 16-bit pair (first sample, second sample) zero-extended.
template <class Layout>
constexpr ByteMask PairMask(uint32_t firstPixel, Sample first, Sample second) {
    ByteMask mask{};
    for (uint32_t k = 0; k < 4; ++k) {
        mask[4 * k + 0] = static_cast<int8_t>(SampleOffset<Layout>(first, firstPixel + k));
        mask[4 * k + 1] = kZeroByte;
        mask[4 * k + 2] = static_cast<int8_t>(SampleOffset<Layout>(second, firstPixel + k));
        mask[4 * k + 3] = kZeroByte;
    }
    return mask;
}

// Constant terms: the rounding bias less the black level and chroma zero times their
// coefficients, so the matrix can take the samples as they are.
constexpr int32_t kLumaConstant = kRoundingBias - kLumaGain * kLumaBlack;
constexpr int32_t kRedConstant = kLumaConstant - kVToRed * kChromaZero;
constexpr int32_t kGreenConstant = kLumaConstant + (kUToGreen + kVToGreen) * kChromaZero;
constexpr int32_t kBlueConstant = kLumaConstant - kUToBlue * kChromaZero;

// Unclamped R, G and B of four pixels in 32-bit lanes.
struct Quad32 {
    __m128i r, g, b;
};

ZN_TARGET_SSSE3 inline Quad32 Matrix4_SSSE3(__m128i yv, __m128i yu) {
    const __m128i red = Pair16(kLumaGain, kVToRed);
    const __m128i blue = Pair16(kLumaGain, kUToBlue);
    const __m128i greenU = Pair16(kLumaGain, -kUToGreen);
    const __m128i greenV = Pair16(0, -kVToGreen);
    const auto scale = [](__m128i x, int32_t constant) {
        return _mm_srai_epi32(_mm_add_epi32(x, _mm_set1_epi32(constant)), kFractionBits);
    };
    return {scale(_mm_madd_epi16(yv, red), kRedConstant),
            scale(_mm_add_epi32(_mm_madd_epi16(yu, greenU), _mm_madd_epi16(yv, greenV)),
                  kGreenConstant),
            scale(_mm_madd_epi16(yu, blue), kBlueConstant)};
}

// Whole steps of 16 pixels: 8 groups of 4:2:2 (32 bytes) or 16 of 4:4:4 (48 bytes).
// groups is a multiple of the step.
template <class Layout, bool kFiltered, class Output>
ZN_TARGET_SSSE3 void ConvertGroupsBulk_SSSE3(const unsigned char* source,
                                             const LineWriter<Output>& out,
                                             const FilterTables8& tables, uint32_t groups) {
    static_assert(HasVectorRows<Layout>::value, "no vector row for this layout");
    constexpr uint32_t kGroupsPerStep = 16 / Layout::kPixels;
    constexpr std::size_t kStepBytes = kGroupsPerStep * Layout::kSamples;
    // 4:2:2 keeps 8 pixels in a register, shuffled out four at a time from pixel 0 or 4;
    // 4:4:4 has four pixels per register once they are aligned to its start.
    constexpr uint32_t kSecondHalf = Layout::kPixels == 2 ? 4 : 0;
    static constexpr std::array<ByteMask, 2> kYV = {
        PairMask<Layout>(0, Sample::kLuma, Sample::kV),
        PairMask<Layout>(kSecondHalf, Sample::kLuma, Sample::kV)};
    static constexpr std::array<ByteMask, 2> kYU = {
        PairMask<Layout>(0, Sample::kLuma, Sample::kU),
        PairMask<Layout>(kSecondHalf, Sample::kLuma, Sample::kU)};
    const __m128i yvMask[2] = {LoadMask(kYV[0]), LoadMask(kYV[1])};
    const __m128i yuMask[2] = {LoadMask(kYU[0]), LoadMask(kYU[1])};

    for (uint32_t group = 0; group < groups; group += kGroupsPerStep) {
        const unsigned char* p =
            source + static_cast<std::size_t>(group / kGroupsPerStep) * kStepBytes;
        __m128i quads[4];  // the registers holding pixels 0-3, 4-7, 8-11, 12-15
        if constexpr (Layout::kPixels == 2) {
            quads[0] = quads[1] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            quads[2] = quads[3] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
        } else {
            Simd::LoadTripletGroups(p, quads);
        }
        Quad32 q[4];
        for (int k = 0; k < 4; ++k) {
            q[k] = Matrix4_SSSE3(_mm_shuffle_epi8(quads[k], yvMask[k & 1]),
                                 _mm_shuffle_epi8(quads[k], yuMask[k & 1]));
        }
        const auto bytes = [](__m128i a, __m128i b, __m128i c, __m128i d) {
            return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
        };
        ChannelDetail::StoreChannels16_SSSE3<Output, kFiltered>(
            out, static_cast<std::ptrdiff_t>(group) * Layout::kPixels,
            bytes(q[0].r, q[1].r, q[2].r, q[3].r), bytes(q[0].g, q[1].g, q[2].g, q[3].g),
            bytes(q[0].b, q[1].b, q[2].b, q[3].b), tables);
    }
}

template <class Layout, bool kFiltered, class Output>
void ConvertGroupsRow_SSSE3(const unsigned char* source, const LineWriter<Output>& out,
                            const FilterTables8& tables, const uint8_t* saturate, uint32_t groups,
                            uint32_t shift) {
    ConvertGroupsRowAny<Layout, kFiltered>(&ConvertGroupsBulk_SSSE3<Layout, kFiltered, Output>,
                                           16 / Layout::kPixels, source, out, tables, saturate,
                                           groups, shift);
}

#endif  // ZN_HAS_SSSE3_ROWS

}  // namespace YUVDetail
}  // namespace ZnConvertersLib
