// Vector rows of the packed colour family, written once and compiled for every target
// (PackedRGBKernels.h). Each decoder turns whole vectors of pixels into R, G and B
// vectors; the shared stage filters and stores them. Unfiltered conversions between the
// 24- and 32-bit byte layouts skip that round trip on x86 (byte permutes, below).

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/rgb/PackedRGBKernels.cpp"
#include "converters/rgb/PackedRGBKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <utility>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using D16 = hn::Repartition<uint16_t, D8>;
using V16 = hn::Vec<D16>;

// Byte channels at offsets R, G, B of Bytes-byte pixels.
template <size_t Bytes, size_t R, size_t G, size_t B>
struct ByteChannels {
    static constexpr size_t kBytesPer4 = 4 * Bytes;
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        V8 c[4];
        if constexpr (Bytes == 3) {
            hn::LoadInterleaved3(d, line + 3 * i, c[0], c[1], c[2]);
        } else {
            hn::LoadInterleaved4(d, line + 4 * i, c[0], c[1], c[2], c[3]);
        }
        r = c[R], g = c[G], b = c[B];
    }
};

// 16-bit little-endian channels at word offsets R, G, B of Words-word pixels, shifted
// right and cut to their low 8 bits.
template <size_t Words, size_t R, size_t G, size_t B>
struct WordChannels {
    static constexpr size_t kBytesPer4 = 8 * Words;
    const uint8_t* line;
    uint32_t shift;
    void Half(D16 dw, const uint16_t* p, V16 c[4]) const {
        if constexpr (Words == 3) {
            hn::LoadInterleaved3(dw, p, c[0], c[1], c[2]);
        } else {
            hn::LoadInterleaved4(dw, p, c[0], c[1], c[2], c[3]);
        }
        for (size_t k = 0; k < Words; ++k) c[k] = hn::ShiftRightSame(c[k], static_cast<int>(shift));
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + Words * i;
        V16 lo[4], hi[4];
        Half(dw, p, lo);
        Half(dw, p + Words * hn::Lanes(dw), hi);
        r = LowBytes(d, lo[R], hi[R]);
        g = LowBytes(d, lo[G], hi[G]);
        b = LowBytes(d, lo[B], hi[B]);
    }
};

// 5:6:5 little-endian words, red high; each field in the high bits of its byte.
struct Rgb565 {
    static constexpr size_t kBytesPer4 = 8;
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + i;
        const V16 lo = hn::LoadU(dw, p);
        const V16 hi = hn::LoadU(dw, p + hn::Lanes(dw));
        const V16 redMask = hn::Set(dw, 0xF8), greenMask = hn::Set(dw, 0xFC);
        r = LowBytes(d, hn::And(hn::ShiftRight<8>(lo), redMask),
                     hn::And(hn::ShiftRight<8>(hi), redMask));
        g = LowBytes(d, hn::And(hn::ShiftRight<3>(lo), greenMask),
                     hn::And(hn::ShiftRight<3>(hi), greenMask));
        b = hn::ShiftLeft<3>(LowBytes(d, lo, hi));
    }
};

template <class Decoder>
uint32_t Row(const Decoder& decoder, const RowOutput& out, uint32_t width) {
    return ColourRow(decoder, out, width);
}

// ---------------------------------------------------------------------------------------
// Unfiltered conversions between the 24- and 32-bit byte layouts: every output byte is a
// source byte or alpha, so a group of pixels is one fixed byte permutation. Decoding to
// channel vectors and interleaving them again costs several shuffles per vector; here
// each output vector takes one or two, from loads placed so that its pixels lie within
// reach of the shuffle. Groups are converted whole, the last pulled back to end at the
// line end as everywhere else, so no load or store leaves the group's bytes.

// Output byte c of a pixel comes from byte From[c] of the source pixel; -1 is alpha.
template <size_t SourceBytes, size_t OutBytes, int F0, int F1, int F2, int F3>
struct SwapPlan {
    static constexpr size_t kSourceBytes = SourceBytes;
    static constexpr size_t kOutBytes = OutBytes;
    // Source byte of output byte b of a group, or -1 for alpha.
    static constexpr int From(size_t b) {
        constexpr int kFrom[4] = {F0, F1, F2, F3};
        const int c = kFrom[b % OutBytes];
        return c < 0 ? -1 : static_cast<int>(SourceBytes * (b / OutBytes)) + c;
    }
};

#if HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2

// 32 pixels a group, 16-byte blocks: pshufb stays within a block, so each block of output
// is shuffled from one or two 16-byte loads, A and B, each block's own, placed to hold
// the pixels the block needs; two blocks share a 256-bit shuffle.
template <class Plan>
struct SwapTables256 {
    static constexpr size_t kPixels = 32;
    static constexpr size_t kSource = Plan::kSourceBytes * kPixels;
    static constexpr size_t kBlocks = 2 * Plan::kOutBytes;
    uint8_t indexA[kBlocks][16] = {};
    uint8_t indexB[kBlocks][16] = {};
    uint8_t alpha[32] = {};
    size_t baseA[kBlocks] = {};
    size_t baseB[kBlocks] = {};
    bool twoLoads = false;
    bool anyAlpha = false;

    constexpr SwapTables256() {
        for (size_t m = 0; m < kBlocks; ++m) {
            int low = static_cast<int>(kSource), high = 0;
            for (size_t j = 0; j < 16; ++j) {
                const int t = Plan::From(16 * m + j);
                if (t < 0) continue;
                low = t < low ? t : low;
                high = t > high ? t : high;
            }
            const int last = static_cast<int>(kSource) - 16;
            const int a = low < last ? low : last;
            const int b = high - 15 < last ? high - 15 : last;
            baseA[m] = static_cast<size_t>(a);
            baseB[m] = static_cast<size_t>(b < 0 ? 0 : b);
            for (size_t j = 0; j < 16; ++j) {
                const int t = Plan::From(16 * m + j);
                indexA[m][j] = indexB[m][j] = 0x80;
                if (t < 0) {
                    alpha[16 * (m % 2) + j] = 0xFF;
                    anyAlpha = true;
                } else if (t < a + 16) {
                    indexA[m][j] = static_cast<uint8_t>(t - a);
                } else {
                    indexB[m][j] = static_cast<uint8_t>(t - static_cast<int>(baseB[m]));
                    twoLoads = true;
                }
            }
        }
    }
};

// Blocks m and m + 1 from 16-byte loads at s + first and s + second.
HWY_INLINE __m256i LoadBlocks(const uint8_t* s, size_t first, size_t second) {
    if (second == first + 16)
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + first));
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + first))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + second)), 1);
}

template <class Plan, size_t V>
HWY_INLINE void SwapVector256(const uint8_t* s, uint8_t* o, const __m256i* indexA,
                              const __m256i* indexB, __m256i alpha) {
    static constexpr SwapTables256<Plan> kT{};
    __m256i r = _mm256_shuffle_epi8(LoadBlocks(s, kT.baseA[2 * V], kT.baseA[2 * V + 1]), indexA[V]);
    if constexpr (kT.twoLoads) {
        r = _mm256_or_si256(
            r, _mm256_shuffle_epi8(LoadBlocks(s, kT.baseB[2 * V], kT.baseB[2 * V + 1]), indexB[V]));
    }
    if constexpr (kT.anyAlpha) r = _mm256_or_si256(r, alpha);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + 32 * V), r);
}

// 32-bit pixels to 24-bit: a block of four pixels shuffles to 12 bytes in place, and
// dword permutes gather the eight blocks of the group, 24 bytes a vector, into three
// output vectors; whole-vector loads and stores, no block-sized ones.
template <class Plan>
HWY_INLINE void Compact256(const uint8_t* s, uint8_t* o) {
    alignas(32) static constexpr auto kCompact = [] {
        struct {
            uint8_t bytes[32] = {};
        } c;
        for (size_t j = 0; j < 32; ++j) {
            c.bytes[j] = j % 16 < 12 ? static_cast<uint8_t>(Plan::From(j % 16)) : 0x80;
        }
        return c;
    }();
    const __m256i compact = _mm256_load_si256(reinterpret_cast<const __m256i*>(kCompact.bytes));
    __m256i t[4];
    for (size_t k = 0; k < 4; ++k) {
        t[k] = _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32 * k)),
                                   compact);
    }
    // Each source vector's six dwords of pixels, rotated to where its output vectors
    // take them.
    t[0] = _mm256_permutevar8x32_epi32(t[0], _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0));
    t[1] = _mm256_permutevar8x32_epi32(t[1], _mm256_setr_epi32(2, 4, 5, 6, 0, 0, 0, 1));
    t[2] = _mm256_permutevar8x32_epi32(t[2], _mm256_setr_epi32(5, 6, 0, 0, 0, 1, 2, 4));
    t[3] = _mm256_permutevar8x32_epi32(t[3], _mm256_setr_epi32(0, 0, 0, 1, 2, 4, 5, 6));
    auto* v = reinterpret_cast<__m256i*>(o);
    _mm256_storeu_si256(v, _mm256_blend_epi32(t[0], t[1], 0xC0));
    _mm256_storeu_si256(v + 1, _mm256_blend_epi32(t[1], t[2], 0xF0));
    _mm256_storeu_si256(v + 2, _mm256_blend_epi32(t[2], t[3], 0xFC));
}

// Groups of n pixels over a line of at least n, the last one ending at the line end, the
// wider of source and output kept aligned from the second group on.
template <class Plan, class Group>
HWY_INLINE void ForEachGroup(const uint8_t* source, const uint8_t* out, size_t width, size_t n,
                             const Group& group) {
    const size_t aligned = Plan::kSourceBytes >= Plan::kOutBytes
                               ? SecondVectorAt(source, 4 * Plan::kSourceBytes, n)
                               : SecondVectorAt(out, 4 * Plan::kOutBytes, n);
    ForEachVector(n, width, aligned, group);
}

template <class Plan, size_t... V>
uint32_t SwapRow256(const uint8_t* source, uint8_t* out, uint32_t width,
                    std::index_sequence<V...>) {
    static constexpr SwapTables256<Plan> kT{};
    constexpr size_t n = kT.kPixels;
    if (width < n) return 0;
    const __m256i indexA[] = {
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kT.indexA[2 * V]))...};
    const __m256i indexB[] = {
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kT.indexB[2 * V]))...};
    const __m256i alpha = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kT.alpha));
    const auto group = [&](size_t i) {
        const uint8_t* s = source + Plan::kSourceBytes * i;
        uint8_t* o = out + Plan::kOutBytes * i;
        if constexpr (Plan::kSourceBytes == 4 && Plan::kOutBytes == 3) {
            Compact256<Plan>(s, o);
        } else {
            (SwapVector256<Plan, V>(s, o, indexA, indexB, alpha), ...);
        }
    };
    ForEachGroup<Plan>(source, out, width, n, group);
    return width;
}

template <class Plan>
uint32_t Swap256(const uint8_t* source, uint8_t* out, uint32_t width) {
    return SwapRow256<Plan>(source, out, width, std::make_index_sequence<Plan::kOutBytes>());
}

#endif

#if HWY_TARGET == HWY_AVX3_DL

// 64 pixels a group; output vector v permutes one or two 64-byte loads from base[v].
template <class Plan>
struct SwapTables512 {
    static constexpr size_t kPixels = 64;
    static constexpr size_t kSource = Plan::kSourceBytes * kPixels;
    static constexpr size_t kVectors = Plan::kOutBytes;
    uint8_t index[kVectors][64] = {};
    size_t base[kVectors] = {};
    bool twoSources[kVectors] = {};
    uint64_t keep[kVectors] = {};  // lanes not alpha

    constexpr SwapTables512() {
        for (size_t v = 0; v < kVectors; ++v) {
            int low = static_cast<int>(kSource), high = 0;
            for (size_t j = 0; j < 64; ++j) {
                const int t = Plan::From(64 * v + j);
                if (t < 0) continue;
                low = t < low ? t : low;
                high = t > high ? t : high;
            }
            twoSources[v] = high - low >= 64;
            const int last = static_cast<int>(kSource) - (twoSources[v] ? 128 : 64);
            base[v] = static_cast<size_t>(low < last ? low : last);
            for (size_t j = 0; j < 64; ++j) {
                const int t = Plan::From(64 * v + j);
                if (t < 0) {
                    index[v][j] = 0xFF;
                } else {
                    index[v][j] = static_cast<uint8_t>(t - static_cast<int>(base[v]));
                    keep[v] |= uint64_t{1} << j;
                }
            }
        }
    }
};

template <class Plan, size_t V>
HWY_INLINE __m512i SwapVector512(const uint8_t* s, const __m512i* index) {
    static constexpr SwapTables512<Plan> kT{};
    constexpr bool kAlpha = kT.keep[V] != ~uint64_t{0};
    const __m512i a = _mm512_loadu_si512(s + kT.base[V]);
    if constexpr (kT.twoSources[V]) {
        const __m512i b = _mm512_loadu_si512(s + kT.base[V] + 64);
        return kAlpha ? _mm512_mask2_permutex2var_epi8(a, index[V], kT.keep[V], b)
                      : _mm512_permutex2var_epi8(a, index[V], b);
    } else {
        return kAlpha ? _mm512_mask_permutexvar_epi8(_mm512_set1_epi8(-1), kT.keep[V], index[V], a)
                      : _mm512_permutexvar_epi8(index[V], a);
    }
}

template <class Plan, size_t... V>
uint32_t SwapRow(const uint8_t* source, uint8_t* out, uint32_t width, std::index_sequence<V...>) {
    static constexpr SwapTables512<Plan> kT{};
    constexpr size_t n = kT.kPixels;
    if (width < n) return 0;
    const __m512i index[] = {_mm512_loadu_si512(kT.index[V])...};
    const auto group = [&](size_t i) {
        const uint8_t* s = source + Plan::kSourceBytes * i;
        uint8_t* o = out + Plan::kOutBytes * i;
        (_mm512_storeu_si512(o + 64 * V, SwapVector512<Plan, V>(s, index)), ...);
    };
    ForEachGroup<Plan>(source, out, width, n, group);
    return width;
}

template <class Plan>
uint32_t Swap(const uint8_t* source, uint8_t* out, uint32_t width) {
    // Measured: only the 24-bit swaps gain from 64-byte permutes, whose output vectors
    // each need two 16-byte blocks' loads at 256 bits; the others run as fast or faster
    // on 256-bit vectors, which split fewer cache lines at the offsets lines usually have.
    if constexpr (Plan::kSourceBytes == 3 && Plan::kOutBytes == 3) {
        return SwapRow<Plan>(source, out, width, std::make_index_sequence<Plan::kOutBytes>());
    } else {
        return Swap256<Plan>(source, out, width);
    }
}

#elif HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2

template <class Plan>
uint32_t Swap(const uint8_t* source, uint8_t* out, uint32_t width) {
    return Swap256<Plan>(source, out, width);
}

#endif

#if HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
// Source pixels of SourceBytes bytes, channels at R, G, B, into the output's layout.
template <size_t SourceBytes, int R, int G, int B>
uint32_t SwapInto(const uint8_t* source, const RowOutput& out, uint32_t width) {
    switch (out.kind) {
        case OutputKind::kRGB24:
            return Swap<SwapPlan<SourceBytes, 3, R, G, B, 0>>(source, out.line, width);
        case OutputKind::kBGR24:
            return Swap<SwapPlan<SourceBytes, 3, B, G, R, 0>>(source, out.line, width);
        case OutputKind::kRGB32:
            return Swap<SwapPlan<SourceBytes, 4, R, G, B, -1>>(source, out.line, width);
        case OutputKind::kBGR32:
            return Swap<SwapPlan<SourceBytes, 4, B, G, R, -1>>(source, out.line, width);
        default:
            return 0;
    }
}

template <size_t Bytes, size_t R, size_t G, size_t B>
uint32_t Row(const ByteChannels<Bytes, R, G, B>& decoder, const RowOutput& out, uint32_t width) {
    if (out.filter == nullptr) {
        const uint32_t done = SwapInto<Bytes, R, G, B>(decoder.line, out, width);
        if (done != 0) return done;
    }
    return ColourRow(decoder, out, width);
}
#endif

}  // namespace

uint32_t PackedRGBRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                      uint32_t width) {
    const uint8_t* line = source.line;
    const uint32_t shift = source.shift;
    switch (layout) {
        case ColourLayout::kRGB16:
            return Row(Rgb565{line}, out, width);
        case ColourLayout::kRGB24:
            return Row(ByteChannels<3, 0, 1, 2>{line}, out, width);
        case ColourLayout::kBGR24:
            return Row(ByteChannels<3, 2, 1, 0>{line}, out, width);
        case ColourLayout::kRGB32:
            return Row(ByteChannels<4, 0, 1, 2>{line}, out, width);
        case ColourLayout::kBGR32:
            return Row(ByteChannels<4, 2, 1, 0>{line}, out, width);
        case ColourLayout::kRGB48:
            return Row(WordChannels<3, 0, 1, 2>{line, shift}, out, width);
        case ColourLayout::kBGR48:
            return Row(WordChannels<3, 2, 1, 0>{line, shift}, out, width);
        case ColourLayout::kRGB64:
            return Row(WordChannels<4, 0, 1, 2>{line, shift}, out, width);
        default:
            return 0;
    }
}
#else
uint32_t PackedRGBRow(ColourLayout, const RowSource&, const RowOutput&, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(PackedRGBRow);

uint32_t PackedRGBVectorRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                            uint32_t width) {
    if (width < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(PackedRGBRow)(layout, source, out, width);
}

}  // namespace ZnConvertersLib
#endif
