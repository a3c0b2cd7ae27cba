#pragma once

// The filter and store stages that the Bayer and YUV row loops share once a run of pixels
// has been decoded into three channel vectors. Decoding stays with each family; filtering
// and storing are the same for both.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "converters/KernelSupport.h"
#include "converters/OutputPolicies.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#define ZN_HAS_SSE2_ROWS 1
#endif

namespace ZnConvertersLib {
namespace ChannelDetail {

// True when all three 8-bit tables map every value to itself: the look-ups can then be
// skipped, as they cannot change a byte. Checked once per line call.
inline bool IsIdentity(const FilterTables8& tables) {
    static const std::array<uint8_t, 256> sIdentity = [] {
        std::array<uint8_t, 256> t{};
        for (std::size_t i = 0; i < t.size(); ++i) t[i] = static_cast<uint8_t>(i);
        return t;
    }();
    return std::memcmp(tables.red, sIdentity.data(), 256) == 0 &&
           std::memcmp(tables.green, sIdentity.data(), 256) == 0 &&
           std::memcmp(tables.blue, sIdentity.data(), 256) == 0;
}

#if defined(ZN_HAS_SSE2_ROWS)

// Four 32-bit pixels whose fourth byte is zero, packed to their first three bytes: the
// result holds 12 bytes, the rest zero.
inline __m128i Pack24_SSE2(__m128i x) {
    const __m128i low24 = _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF);
    const __m128i next24 = _mm_set_epi32(0x0000FFFF, static_cast<int>(0xFF000000u), 0x0000FFFF,
                                         static_cast<int>(0xFF000000u));
    // Per 64-bit lane: pixel A in bytes 0-2, pixel B moved to bytes 3-5.
    const __m128i lanes =
        _mm_or_si128(_mm_and_si128(x, low24), _mm_and_si128(_mm_srli_epi64(x, 8), next24));
    const __m128i firstSix = _mm_set_epi32(0, 0, 0x0000FFFF, -1);
    const __m128i nextSix = _mm_set_epi32(0, -1, static_cast<int>(0xFFFF0000u), 0);
    return _mm_or_si128(_mm_and_si128(lanes, firstSix),
                        _mm_and_si128(_mm_srli_si128(lanes, 2), nextSix));
}

// Stores 16 consecutive pixels first ... first+15 given as three vectors of 8-bit channel
// values. Outputs with a vector form store directly; the others, and any filtered run,
// go through the policy's own store one pixel at a time.
template <class Output, bool kFiltered>
inline void StoreChannels16_SSE2(const LineWriter<Output>& out, std::ptrdiff_t first, __m128i r,
                                 __m128i g, __m128i b, const FilterTables8& tables) {
    constexpr bool kRGB32 = std::is_same_v<Output, OutputRGB32>;
    constexpr bool kBGR32 = std::is_same_v<Output, OutputBGR32>;
    constexpr bool kPlanar = std::is_same_v<Output, OutputPlanar24>;
    constexpr bool kRGB16 = std::is_same_v<Output, OutputRGB16>;
    constexpr bool kRGB24 = std::is_same_v<Output, OutputRGB24>;
    constexpr bool kBGR24 = std::is_same_v<Output, OutputBGR24>;
    if constexpr (!kFiltered && (kRGB24 || kBGR24)) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i lowFirst = kBGR24 ? b : r;
        const __m128i highFirst = kBGR24 ? r : b;
        const __m128i lg0 = _mm_unpacklo_epi8(lowFirst, g);
        const __m128i lg1 = _mm_unpackhi_epi8(lowFirst, g);
        const __m128i h0 = _mm_unpacklo_epi8(highFirst, zero);
        const __m128i h1 = _mm_unpackhi_epi8(highFirst, zero);
        unsigned char* p = out.Line() + 3 * first;
        // Whole 16-byte stores whose last four bytes the next store overwrites; the last
        // group stores exactly its 12 bytes.
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Pack24_SSE2(_mm_unpacklo_epi16(lg0, h0)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 12),
                         Pack24_SSE2(_mm_unpackhi_epi16(lg0, h0)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 24),
                         Pack24_SSE2(_mm_unpacklo_epi16(lg1, h1)));
        const __m128i last = Pack24_SSE2(_mm_unpackhi_epi16(lg1, h1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 36), last);
        const int tail = _mm_cvtsi128_si32(_mm_srli_si128(last, 8));
        std::memcpy(p + 44, &tail, 4);
    } else if constexpr (!kFiltered && (kRGB32 || kBGR32)) {
        const __m128i opaque = _mm_set1_epi8(static_cast<char>(0xFF));
        const __m128i lowFirst = kBGR32 ? b : r;
        const __m128i highFirst = kBGR32 ? r : b;
        const __m128i lg0 = _mm_unpacklo_epi8(lowFirst, g);
        const __m128i lg1 = _mm_unpackhi_epi8(lowFirst, g);
        const __m128i ha0 = _mm_unpacklo_epi8(highFirst, opaque);
        const __m128i ha1 = _mm_unpackhi_epi8(highFirst, opaque);
        unsigned char* p = out.Line() + 4 * first;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi16(lg0, ha0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), _mm_unpackhi_epi16(lg0, ha0));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 32), _mm_unpacklo_epi16(lg1, ha1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 48), _mm_unpackhi_epi16(lg1, ha1));
    } else if constexpr (!kFiltered && kPlanar) {
        unsigned char* p = out.Line() + first;
        const std::size_t plane = out.PlaneSize();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), r);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + plane), g);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 2 * plane), b);
    } else if constexpr (!kFiltered && kRGB16) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i redMask = _mm_set1_epi8(static_cast<char>(0xF8));
        const __m128i greenMask = _mm_set1_epi8(static_cast<char>(0xFC));
        const __m128i rm = _mm_and_si128(r, redMask), gm = _mm_and_si128(g, greenMask);
        unsigned char* p = out.Line() + 2 * first;
        for (int half = 0; half < 2; ++half) {
            const __m128i r16 = half ? _mm_unpackhi_epi8(zero, rm) : _mm_unpacklo_epi8(zero, rm);
            const __m128i g16 = half ? _mm_unpackhi_epi8(gm, zero) : _mm_unpacklo_epi8(gm, zero);
            const __m128i b16 = half ? _mm_unpackhi_epi8(b, zero) : _mm_unpacklo_epi8(b, zero);
            const __m128i word =
                _mm_or_si128(_mm_or_si128(r16, _mm_slli_epi16(g16, 3)), _mm_srli_epi16(b16, 3));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16 * half), word);
        }
    } else {
        alignas(16) uint8_t rs[16], gs[16], bs[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(rs), r);
        _mm_store_si128(reinterpret_cast<__m128i*>(gs), g);
        _mm_store_si128(reinterpret_cast<__m128i*>(bs), b);
        for (std::ptrdiff_t k = 0; k < 16; ++k) {
            if constexpr (kFiltered) {
                out.StoreFiltered(first + k, tables, rs[k], gs[k], bs[k]);
            } else {
                out.Store(first + k, rs[k], gs[k], bs[k]);
            }
        }
    }
}

#endif  // ZN_HAS_SSE2_ROWS

}  // namespace ChannelDetail
}  // namespace ZnConvertersLib
