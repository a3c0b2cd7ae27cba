#pragma once

// SSSE3 rows for gray sources in pixel order: sixteen samples are decoded to sixteen 8-bit
// gray values, then either stored as bytes (OutputGrayscale8) or replicated into RGBX
// lanes and stored by the colour stores of the RGB rows. Gray values are never filtered,
// so these rows serve every conversion of their layouts.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/common/OutputPolicies.h"
#include "converters/rgb/PackedRGBConvertersSimd.h"

namespace ZnConvertersLib {
namespace Simd {

enum class GrayLayout {
    k8Bit,      // one byte a sample
    k16Bit,     // one little-endian word a sample
    kPacked12,  // LSB-first, two 12-bit samples in three bytes
};

#if ZN_CONVERTERS_X86_SIMD

// 8- and 16-bit samples: (sample >> shift) cut to 8 bits.
template <GrayLayout Layout>
struct GrayDecoder {
    using Sample = std::conditional_t<Layout == GrayLayout::k8Bit, unsigned char, unsigned short>;
    ZN_TARGET_SSSE3 GrayDecoder(const unsigned char* line, uint32_t shift)
        : line(line), samples(shift) {}
    ZN_TARGET_SSSE3 __m128i Decode16(std::size_t i) const {
        return samples.Load(line + sizeof(Sample) * i);
    }
    const unsigned char* line;
    ShiftedSamples16<Sample> samples;
};

// Pair k of twelve bytes at offset o: its first sample is the word at bytes (o + 3k,
// o + 3k + 1) masked to 12 bits, its second the word at (o + 3k + 1, o + 3k + 2) shifted
// down by 4. The 24 bytes of sixteen samples are read as bytes 0..15 and 8..23.
template <>
struct GrayDecoder<GrayLayout::kPacked12> {
    ZN_TARGET_SSSE3 GrayDecoder(const unsigned char* line, uint32_t shift)
        : line(line),
          count(_mm_cvtsi32_si128(static_cast<int>(shift))),
          firstHalf(PairWordsMask(0)),
          secondHalf(PairWordsMask(4)) {}
    ZN_TARGET_SSSE3 static __m128i PairWordsMask(int offset) {
        alignas(16) int8_t mask[16];
        for (int k = 0; k < 4; ++k) {
            mask[4 * k + 0] = static_cast<int8_t>(offset + 3 * k);
            mask[4 * k + 1] = static_cast<int8_t>(offset + 3 * k + 1);
            mask[4 * k + 2] = static_cast<int8_t>(offset + 3 * k + 1);
            mask[4 * k + 3] = static_cast<int8_t>(offset + 3 * k + 2);
        }
        return _mm_load_si128(reinterpret_cast<const __m128i*>(mask));
    }
    ZN_TARGET_SSSE3 __m128i Samples8(__m128i bytes, __m128i mask) const {
        const __m128i words = _mm_shuffle_epi8(bytes, mask);
        const __m128i first = _mm_and_si128(words, _mm_set1_epi32(0x00000FFF));
        const __m128i second =
            _mm_and_si128(_mm_srli_epi16(words, 4), _mm_set1_epi32(static_cast<int>(0xFFFF0000u)));
        const __m128i samples = _mm_or_si128(first, second);
        return _mm_and_si128(_mm_srl_epi16(samples, count), _mm_set1_epi16(0xFF));
    }
    ZN_TARGET_SSSE3 __m128i Decode16(std::size_t i) const {
        const unsigned char* p = line + i / 2 * 3;
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
        return _mm_packus_epi16(Samples8(a, firstHalf), Samples8(b, secondHalf));
    }
    const unsigned char* line;
    __m128i count, firstHalf, secondHalf;
};

// Gray values replicated to R, G and B, then stored by the colour store.
template <class Output>
struct GrayStore {
    static constexpr bool kAvailable = RgbxStore<Output>::kAvailable;
    ZN_TARGET_SSSE3 void Store16(unsigned char* line, std::size_t i, __m128i gray) const {
        const __m128i pairs0 = _mm_unpacklo_epi8(gray, gray);
        const __m128i pairs1 = _mm_unpackhi_epi8(gray, gray);
        const __m128i px[4] = {
            _mm_unpacklo_epi16(pairs0, pairs0), _mm_unpackhi_epi16(pairs0, pairs0),
            _mm_unpacklo_epi16(pairs1, pairs1), _mm_unpackhi_epi16(pairs1, pairs1)};
        colour.Store16(line, i, px);
    }
    RgbxStore<Output> colour;
};

template <>
struct GrayStore<OutputGrayscale8> {
    static constexpr bool kAvailable = true;
    ZN_TARGET_SSSE3 void Store16(unsigned char* line, std::size_t i, __m128i gray) const {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(line + i), gray);
    }
};

// Sixteen pixels at a time in pixel order; returns how many it converted (a multiple of
// sixteen).
template <GrayLayout Layout, class Output>
ZN_TARGET_SSSE3 uint32_t StoreGrayRow_SSSE3(const unsigned char* source, uint32_t shift,
                                            unsigned char* line, uint32_t width) {
    const GrayDecoder<Layout> decoder(source, shift);
    const GrayStore<Output> store;
    uint32_t i = 0;
    for (; width - i >= kRowPixels; i += kRowPixels) store.Store16(line, i, decoder.Decode16(i));
    return i;
}

#endif  // ZN_CONVERTERS_X86_SIMD

// The fast prefix of a gray line in pixel order when the output has a SIMD store and the
// CPU allows; otherwise 0 pixels. The shift is taken modulo 32 by the caller.
template <GrayLayout Layout, class Output>
uint32_t StoreGrayRowFast(const unsigned char* source, uint32_t shift, unsigned char* line,
                          uint32_t width) {
#if ZN_CONVERTERS_X86_SIMD
    if constexpr (GrayStore<Output>::kAvailable) {
        if (HasSsse3()) return StoreGrayRow_SSSE3<Layout, Output>(source, shift, line, width);
    }
#else
    (void)source, (void)shift, (void)line, (void)width;
#endif
    return 0;
}

}  // namespace Simd
}  // namespace ZnConvertersLib
