#pragma once

// SSSE3 rows for colour conversions whose filter tables are identities. Sixteen pixels at a
// time are decoded into four registers of "RGBX" lanes (R in byte 0, G in byte 1, B in
// byte 2 of each 32-bit lane, byte 3 undefined) and then stored in the output's layout, so
// every decoder works with every store. The rows are chosen once per line call, when the
// CPU has SSSE3; the plain loops remain the reference and finish each line's tail.
//
// Decoders read exactly the source bytes of their sixteen pixels, never beyond.

#include <cstddef>
#include <cstdint>

#include "converters/common/OutputPolicies.h"

// The SSSE3 rows are chosen at run time, but share loaders with the SSE2 rows, so they take
// SSE2 as the baseline.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__)) && defined(__SSE2__)
#define ZN_CONVERTERS_X86_SIMD 1
#include <immintrin.h>
#define ZN_TARGET_SSSE3 __attribute__((target("ssse3")))
#else
#define ZN_CONVERTERS_X86_SIMD 0
#endif

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ZnConvertersLib {
namespace Simd {

// Whether the SSSE3 rows may run; false on other architectures and compilers.
inline bool HasSsse3() {
#if ZN_CONVERTERS_X86_SIMD
    static const bool has = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("ssse3") != 0;
    }();
    return has;
#else
    return false;
#endif
}

constexpr uint32_t kRowPixels = 16;

#if defined(__SSE2__)

// Sixteen samples from p, each shifted right by the source shift and cut to its low 8
// bits: bytes, or little-endian words. SSE2 only, so the SSE2 rows share it.
template <class Sample>
class ShiftedSamples16;

template <>
class ShiftedSamples16<unsigned char> {
public:
    explicit ShiftedSamples16(uint32_t shift)
        : mCount(_mm_cvtsi32_si128(static_cast<int>(shift))),
          mKeep(_mm_set1_epi8(static_cast<char>(shift < 8 ? 0xFFu >> shift : 0u))) {}
    // A 16-bit shift moves bits of the neighbouring byte into the top of each byte; the
    // per-byte mask removes them.
    __m128i Load(const unsigned char* p) const {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return _mm_and_si128(_mm_srl_epi16(v, mCount), mKeep);
    }

private:
    __m128i mCount, mKeep;
};

template <>
class ShiftedSamples16<unsigned short> {
public:
    explicit ShiftedSamples16(uint32_t shift)
        : mCount(_mm_cvtsi32_si128(static_cast<int>(shift))) {}
    __m128i Load(const unsigned char* p) const {
        const __m128i low = _mm_set1_epi16(0x00FF);
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
        return _mm_packus_epi16(_mm_and_si128(_mm_srl_epi16(a, mCount), low),
                                _mm_and_si128(_mm_srl_epi16(b, mCount), low));
    }

private:
    __m128i mCount;
};

#endif  // __SSE2__

// Decoder of a reader's source layout into RGBX lanes. Specialisations are built from the
// reader once per row and provide
//   bool Accepts() const;   (e.g. only a zero shift)
//   void Decode16(std::size_t i, __m128i px[4]) const;   (pixels i .. i + 15)
template <class Reader>
struct RgbxDecoder {
    static constexpr bool kAvailable = false;
};

// Store of sixteen RGBX pixels at pixel index i of a line:
//   void Store16(unsigned char* line, std::size_t i, const __m128i px[4]) const;
template <class Output>
struct RgbxStore {
    static constexpr bool kAvailable = false;
};

#if ZN_CONVERTERS_X86_SIMD

// Shuffle mask whose lane j takes source bytes (j * step + r, + g, + b) into bytes 0, 1, 2
// and zeroes byte 3.
ZN_TARGET_SSSE3 inline __m128i GatherRgbxMask(int step, int r, int g, int b) {
    alignas(16) int8_t mask[16];
    for (int j = 0; j < 4; ++j) {
        mask[4 * j + 0] = static_cast<int8_t>(j * step + r);
        mask[4 * j + 1] = static_cast<int8_t>(j * step + g);
        mask[4 * j + 2] = static_cast<int8_t>(j * step + b);
        mask[4 * j + 3] = -128;
    }
    return _mm_load_si128(reinterpret_cast<const __m128i*>(mask));
}

// Packs the three channel bytes of each RGBX lane, in the given order, into the low
// twelve bytes.
ZN_TARGET_SSSE3 inline __m128i PackTripletsMask(int first, int second, int third) {
    alignas(16) int8_t mask[16];
    for (int j = 0; j < 4; ++j) {
        mask[3 * j + 0] = static_cast<int8_t>(4 * j + first);
        mask[3 * j + 1] = static_cast<int8_t>(4 * j + second);
        mask[3 * j + 2] = static_cast<int8_t>(4 * j + third);
    }
    for (int k = 12; k < 16; ++k) mask[k] = -128;
    return _mm_load_si128(reinterpret_cast<const __m128i*>(mask));
}

ZN_TARGET_SSSE3 inline void StoreTriplets(unsigned char* out, const __m128i px[4], __m128i mask) {
    const __m128i p0 = _mm_shuffle_epi8(px[0], mask);
    const __m128i p1 = _mm_shuffle_epi8(px[1], mask);
    const __m128i p2 = _mm_shuffle_epi8(px[2], mask);
    const __m128i p3 = _mm_shuffle_epi8(px[3], mask);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_or_si128(p0, _mm_slli_si128(p1, 12)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16),
                     _mm_or_si128(_mm_srli_si128(p1, 4), _mm_slli_si128(p2, 8)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 32),
                     _mm_or_si128(_mm_srli_si128(p2, 8), _mm_slli_si128(p3, 4)));
}

ZN_TARGET_SSSE3 inline void StoreQuads(unsigned char* out, const __m128i px[4], __m128i mask) {
    const __m128i alpha = _mm_set1_epi32(static_cast<int>(0xFF000000u));
    for (int k = 0; k < 4; ++k) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16 * k),
                         _mm_or_si128(_mm_shuffle_epi8(px[k], mask), alpha));
    }
}

// Three- or four-byte pixels taking channels First, Second and Third of each RGBX lane (0
// is R, 1 G, 2 B) into their bytes 0, 1 and 2; a fourth byte is opaque.
template <std::size_t PixelBytes, int First, int Second, int Third>
struct InterleavedRgbxStore {
    static_assert(PixelBytes == 3 || PixelBytes == 4, "three- or four-byte pixels");
    static constexpr bool kAvailable = true;
    ZN_TARGET_SSSE3 InterleavedRgbxStore()
        : mask(PixelBytes == 3 ? PackTripletsMask(First, Second, Third)
                               : GatherRgbxMask(4, First, Second, Third)) {}
    ZN_TARGET_SSSE3 void Store16(unsigned char* line, std::size_t i, const __m128i px[4]) const {
        if constexpr (PixelBytes == 3) {
            StoreTriplets(line + 3 * i, px, mask);
        } else {
            StoreQuads(line + 4 * i, px, mask);
        }
    }
    __m128i mask;
};

template <>
struct RgbxStore<OutputRGB24> : InterleavedRgbxStore<3, 0, 1, 2> {};
template <>
struct RgbxStore<OutputBGR24> : InterleavedRgbxStore<3, 2, 1, 0> {};
template <>
struct RgbxStore<OutputRGB32> : InterleavedRgbxStore<4, 0, 1, 2> {};
template <>
struct RgbxStore<OutputBGR32> : InterleavedRgbxStore<4, 2, 1, 0> {};

// Three-byte pixels: the four 12-byte groups of a 48-byte block are brought to the start
// of a register before the gather.
ZN_TARGET_SSSE3 inline void LoadTripletGroups(const unsigned char* p, __m128i groups[4]) {
    const __m128i l0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i l1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
    const __m128i l2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
    groups[0] = l0;
    groups[1] = _mm_alignr_epi8(l1, l0, 12);
    groups[2] = _mm_alignr_epi8(l2, l1, 8);
    groups[3] = _mm_srli_si128(l2, 4);
}

// Byte channels at offsets R, G, B of three- or four-byte pixels (the readers of
// whole-byte packed colour).
template <std::size_t PixelBytes, std::size_t R, std::size_t G, std::size_t B>
struct ByteChannelRgbx {
    static_assert(PixelBytes == 3 || PixelBytes == 4, "three- or four-byte pixels");
    static constexpr bool kAvailable = true;
    ZN_TARGET_SSSE3 explicit ByteChannelRgbx(const unsigned char* line)
        : line(line), mask(GatherRgbxMask(PixelBytes, R, G, B)) {}
    bool Accepts() const { return true; }
    ZN_TARGET_SSSE3 void Decode16(std::size_t i, __m128i px[4]) const {
        const unsigned char* p = line + PixelBytes * i;
        __m128i groups[4];
        if constexpr (PixelBytes == 3) {
            LoadTripletGroups(p, groups);
        } else {
            for (int k = 0; k < 4; ++k) {
                groups[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
            }
        }
        for (int k = 0; k < 4; ++k) px[k] = _mm_shuffle_epi8(groups[k], mask);
    }
    const unsigned char* line;
    __m128i mask;
};

// Sixteen pixels at a time from the reader, stored by the output; returns how many pixels
// (a multiple of sixteen) it converted, 0 when the decoder declines the reader.
template <class Reader, class Output>
ZN_TARGET_SSSE3 uint32_t StoreColourRow_SSSE3(const Reader& read, unsigned char* line,
                                              uint32_t width) {
    const RgbxDecoder<Reader> decoder(read);
    if (!decoder.Accepts()) return 0;
    const RgbxStore<Output> store;
    uint32_t i = 0;
    for (; width - i >= kRowPixels; i += kRowPixels) {
        __m128i px[4];
        decoder.Decode16(i, px);
        store.Store16(line, i, px);
    }
    return i;
}

#endif  // ZN_CONVERTERS_X86_SIMD

// The fast prefix of a line when the reader and output both have SIMD pieces and the CPU
// allows; otherwise 0 pixels.
template <class Reader, class Output>
uint32_t StoreColourRowFast(const Reader& read, unsigned char* line, uint32_t width) {
#if ZN_CONVERTERS_X86_SIMD
    if constexpr (RgbxDecoder<Reader>::kAvailable && RgbxStore<Output>::kAvailable) {
        if (HasSsse3()) return StoreColourRow_SSSE3<Reader, Output>(read, line, width);
    }
#else
    (void)read, (void)line, (void)width;
#endif
    return 0;
}

}  // namespace Simd
}  // namespace ZnConvertersLib
