#pragma once

// The filter and store stages that the Bayer and YUV row loops share once a run of pixels
// has been decoded into three channel vectors. Decoding stays with each family; filtering
// and storing are the same for both. The SSSE3 stage differs from the SSE2 one only for
// the 24-bit outputs, which it packs by byte shuffles.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "converters/common/KernelSupport.h"
#include "converters/common/OutputPolicies.h"
#include "converters/rgb/PackedRGBConvertersSimd.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#define ZN_HAS_SSE2_ROWS 1
#endif

#if defined(ZN_HAS_SSE2_ROWS) && ZN_CONVERTERS_X86_SIMD
#define ZN_HAS_SSSE3_ROWS 1
#endif

namespace ZnConvertersLib {
namespace ChannelDetail {

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

// Sixteen bytes through a 256-entry table, a 32-bit word at a time through a general
// register. A shuffle can hold only sixteen entries, and the 16-shuffle gather of a
// whole table measured some 15% slower than this; bytes stored to memory and read back
// one by one lose more to store forwarding.
inline __m128i Lookup16(__m128i x, const uint8_t* table) {
    uint32_t words[4];
    for (uint32_t& word : words) {
        const uint32_t v = static_cast<uint32_t>(_mm_cvtsi128_si32(x));
        x = _mm_srli_si128(x, 4);
        word = table[v & 0xFF] | (static_cast<uint32_t>(table[(v >> 8) & 0xFF]) << 8) |
               (static_cast<uint32_t>(table[(v >> 16) & 0xFF]) << 16) |
               (static_cast<uint32_t>(table[v >> 24]) << 24);
    }
    return _mm_set_epi32(static_cast<int>(words[3]), static_cast<int>(words[2]),
                         static_cast<int>(words[1]), static_cast<int>(words[0]));
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
    if constexpr (!kFiltered && (kRGB24 || kBGR24 || kRGB32 || kBGR32)) {
        // Sixteen pixels as four registers of four 32-bit pixels in the output's byte
        // order; the fourth byte is opaque for the 32-bit outputs, and zero for the 24-bit
        // ones, which pack it away.
        constexpr bool k24 = kRGB24 || kBGR24;
        constexpr bool kBGR = kBGR24 || kBGR32;
        const __m128i fourth = k24 ? _mm_setzero_si128() : _mm_set1_epi8(static_cast<char>(0xFF));
        const __m128i lowFirst = kBGR ? b : r;
        const __m128i highFirst = kBGR ? r : b;
        const __m128i lg0 = _mm_unpacklo_epi8(lowFirst, g);
        const __m128i lg1 = _mm_unpackhi_epi8(lowFirst, g);
        const __m128i h0 = _mm_unpacklo_epi8(highFirst, fourth);
        const __m128i h1 = _mm_unpackhi_epi8(highFirst, fourth);
        const __m128i quads[4] = {_mm_unpacklo_epi16(lg0, h0), _mm_unpackhi_epi16(lg0, h0),
                                  _mm_unpacklo_epi16(lg1, h1), _mm_unpackhi_epi16(lg1, h1)};
        if constexpr (k24) {
            unsigned char* p = out.Line() + 3 * first;
            // Whole 16-byte stores whose last four bytes the next store overwrites; the last
            // group stores exactly its 12 bytes.
            for (int k = 0; k < 3; ++k) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 12 * k), Pack24_SSE2(quads[k]));
            }
            const __m128i last = Pack24_SSE2(quads[3]);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 36), last);
            const int tail = _mm_cvtsi128_si32(_mm_srli_si128(last, 8));
            std::memcpy(p + 44, &tail, 4);
        } else {
            unsigned char* p = out.Line() + 4 * first;
            for (int k = 0; k < 4; ++k) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16 * k), quads[k]);
            }
        }
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

#if defined(ZN_HAS_SSSE3_ROWS)

// The SSSE3 stage: 24-bit packing by byte shuffles; the other outputs store as in SSE2,
// and the filter look-ups stay scalar.

using ByteMask = std::array<int8_t, 16>;
constexpr int8_t kZeroByte = -128;  // pshufb writes zero for a set top bit

ZN_TARGET_SSSE3 inline __m128i LoadMask(const ByteMask& mask) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask.data()));
}

// 24-bit store of 16 pixels from three channel vectors: each of the three output vectors
// takes its bytes from the three channels by one shuffle each.
template <class Output>
constexpr ByteMask Store24Mask(uint32_t part, uint32_t channel) {
    // Channel 0 is R, 1 is G, 2 is B; the output lays them out in its own order.
    constexpr bool kBGR = std::is_same_v<Output, OutputBGR24>;
    ByteMask mask{};
    for (uint32_t i = 0; i < 16; ++i) {
        const uint32_t n = 16 * part + i;
        const uint32_t stored = kBGR ? 2 - n % 3 : n % 3;
        mask[i] = stored == channel ? static_cast<int8_t>(n / 3) : kZeroByte;
    }
    return mask;
}

template <class Output>
struct Store24_SSSE3 {
    static constexpr std::array<ByteMask, 9> kMasks = {
        Store24Mask<Output>(0, 0), Store24Mask<Output>(0, 1), Store24Mask<Output>(0, 2),
        Store24Mask<Output>(1, 0), Store24Mask<Output>(1, 1), Store24Mask<Output>(1, 2),
        Store24Mask<Output>(2, 0), Store24Mask<Output>(2, 1), Store24Mask<Output>(2, 2)};

    ZN_TARGET_SSSE3 static void Store(unsigned char* p, __m128i r, __m128i g, __m128i b) {
        for (uint32_t part = 0; part < 3; ++part) {
            const __m128i x =
                _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(r, LoadMask(kMasks[3 * part])),
                                          _mm_shuffle_epi8(g, LoadMask(kMasks[3 * part + 1]))),
                             _mm_shuffle_epi8(b, LoadMask(kMasks[3 * part + 2])));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16 * part), x);
        }
    }
};

// Stores 16 pixels first ... first + 15, filtered first when kFiltered. The 24-bit outputs
// have their own store; the others store as the SSE2 rows do.
template <class Output, bool kFiltered>
ZN_TARGET_SSSE3 inline void StoreChannels16_SSSE3(const LineWriter<Output>& out,
                                                  std::ptrdiff_t first, __m128i r, __m128i g,
                                                  __m128i b, const FilterTables8& tables) {
    constexpr bool k24 = std::is_same_v<Output, OutputRGB24> || std::is_same_v<Output, OutputBGR24>;
    if constexpr (kFiltered) {
        StoreChannels16_SSSE3<Output, false>(out, first, Lookup16(r, tables.red),
                                             Lookup16(g, tables.green), Lookup16(b, tables.blue),
                                             tables);
    } else if constexpr (k24) {
        Store24_SSSE3<Output>::Store(out.Line() + 3 * first, r, g, b);
    } else {
        StoreChannels16_SSE2<Output, false>(out, first, r, g, b, tables);
    }
}

#endif  // ZN_HAS_SSSE3_ROWS

}  // namespace ChannelDetail
}  // namespace ZnConvertersLib
