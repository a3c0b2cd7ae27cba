#pragma once

// SSSE3 decoders of the 10-bit packed and planar colour layouts into RGBX lanes, for the
// identity-filter rows of PackedRGBConvertersSimd.h.

#include <cstddef>
#include <cstdint>

#include "converters/bitpacked/BitPackedRGBConvertersDetail.h"
#include "converters/rgb/PackedRGBConvertersSimd.h"

namespace ZnConvertersLib {
namespace Simd {

#if ZN_CONVERTERS_X86_SIMD

// Bytes 1, 2, 3 hold B, G, R: a plain byte gather.
template <>
struct RgbxDecoder<BitPackedRGBDetail::BGR10V1Reader> : ByteChannelRgbx<4, 3, 2, 1> {
    ZN_TARGET_SSSE3 explicit RgbxDecoder(const BitPackedRGBDetail::BGR10V1Reader& read)
        : ByteChannelRgbx<4, 3, 2, 1>(read.line) {}
};

// The top eight bits of the fields at bits 20, 10 and 0 of each word, moved to bytes 0,
// 1 and 2 of the lane.
template <>
struct RgbxDecoder<BitPackedRGBDetail::BGR10V2Reader> {
    static constexpr bool kAvailable = true;
    explicit RgbxDecoder(const BitPackedRGBDetail::BGR10V2Reader& read) : line(read.line) {}
    bool Accepts() const { return true; }
    ZN_TARGET_SSSE3 void Decode16(std::size_t i, __m128i px[4]) const {
        const __m128i low = _mm_set1_epi32(0xFF);
        for (int k = 0; k < 4; ++k) {
            const __m128i w =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(line + 4 * (i + 4 * k)));
            const __m128i r = _mm_and_si128(_mm_srli_epi32(w, 22), low);
            const __m128i g = _mm_and_si128(_mm_srli_epi32(w, 12), low);
            const __m128i b = _mm_and_si128(_mm_srli_epi32(w, 2), low);
            px[k] = _mm_or_si128(r, _mm_or_si128(_mm_slli_epi32(g, 8), _mm_slli_epi32(b, 16)));
        }
    }
    const unsigned char* line;
};

// Sixteen samples of each plane reduced to bytes, then interleaved R, G, B, 0.
template <class Sample>
struct PlanarRgbx {
    static constexpr bool kAvailable = true;
    ZN_TARGET_SSSE3 explicit PlanarRgbx(const BitPackedRGBDetail::PlanarReader<Sample>& read)
        : line(read.line), planeSize(read.planeSize), samples(read.shift) {}
    bool Accepts() const { return true; }
    ZN_TARGET_SSSE3 __m128i Plane16(const unsigned char* plane, std::size_t i) const {
        return samples.Load(plane + sizeof(Sample) * i);
    }
    ZN_TARGET_SSSE3 void Decode16(std::size_t i, __m128i px[4]) const {
        const __m128i r = Plane16(line, i);
        const __m128i g = Plane16(line + planeSize, i);
        const __m128i b = Plane16(line + 2 * planeSize, i);
        const __m128i zero = _mm_setzero_si128();
        const __m128i rg0 = _mm_unpacklo_epi8(r, g), rg1 = _mm_unpackhi_epi8(r, g);
        const __m128i b0 = _mm_unpacklo_epi8(b, zero), b1 = _mm_unpackhi_epi8(b, zero);
        px[0] = _mm_unpacklo_epi16(rg0, b0);
        px[1] = _mm_unpackhi_epi16(rg0, b0);
        px[2] = _mm_unpacklo_epi16(rg1, b1);
        px[3] = _mm_unpackhi_epi16(rg1, b1);
    }
    const unsigned char* line;
    std::size_t planeSize;
    ShiftedSamples16<Sample> samples;
};

template <class Sample>
struct RgbxDecoder<BitPackedRGBDetail::PlanarReader<Sample>> : PlanarRgbx<Sample> {
    ZN_TARGET_SSSE3 explicit RgbxDecoder(const BitPackedRGBDetail::PlanarReader<Sample>& read)
        : PlanarRgbx<Sample>(read) {}
};

#endif  // ZN_CONVERTERS_X86_SIMD

}  // namespace Simd
}  // namespace ZnConvertersLib
