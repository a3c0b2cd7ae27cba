// The stage every family's vector rows share once a run of pixels is decoded: three
// vectors of 8-bit R, G and B channels (or one of gray values) in pixel order are looked
// up in the filter tables when the filter is not the identity, then stored in the
// output's layout. Compiled once per target, inside each family's kernel file
// (per-target include guard, as Highway's -inl.h headers).
//
// The plain rows remain the reference: a vector row converts the line, or nothing when it
// is shorter than a vector, and reports how far it got; the plain row finishes the line
// from there (the one tail mechanism of every family). Rows read and write exactly the
// bytes of the pixels they convert.

// Whether the target being compiled has vector rows. The scalar and emulated targets
// exist only because Highway needs a baseline; there the plain rows run alone, and a
// family's row is a stub that converts nothing.
#ifndef ZN_VECTOR_ROWS
#define ZN_VECTOR_ROWS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)
#endif

#if defined(ZN_CONVERTERS_CHANNEL_STORES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZN_CONVERTERS_CHANNEL_STORES_INL_H_
#undef ZN_CONVERTERS_CHANNEL_STORES_INL_H_
#else
#define ZN_CONVERTERS_CHANNEL_STORES_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/common/RowCall.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if ZN_VECTOR_ROWS

using D8 = hn::ScalableTag<uint8_t>;
using V8 = hn::Vec<D8>;

// ---------------------------------------------------------------------------------------
// 256-entry table look-up of every byte of a vector.

#if HWY_TARGET == HWY_AVX3_DL

// Two-table byte permutes: each covers 128 entries, the index's top bit picks the half.
class Table256 {
public:
    explicit Table256(const uint8_t* table) {
        for (int k = 0; k < 4; ++k) {
            mQuarter[k] = _mm512_loadu_si512(reinterpret_cast<const void*>(table + 64 * k));
        }
    }
    HWY_INLINE V8 Apply(D8, V8 index) const {
        const __m512i low = _mm512_permutex2var_epi8(mQuarter[0], index.raw, mQuarter[1]);
        const __m512i high = _mm512_permutex2var_epi8(mQuarter[2], index.raw, mQuarter[3]);
        return V8{_mm512_mask_blend_epi8(_mm512_movepi8_mask(index.raw), low, high)};
    }

private:
    __m512i mQuarter[4];
};

#elif HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64

// tbl/tbx over four 64-byte quarters: tbx leaves lanes whose index is out of its
// quarter's range unchanged.
class Table256 {
public:
    explicit Table256(const uint8_t* table) : mTable(table) {}
    HWY_INLINE V8 Apply(D8, V8 index) const {
        const uint8x16_t i = index.raw;
        const uint8x16_t q = vdupq_n_u8(64);
        uint8x16_t r = vqtbl4q_u8(vld1q_u8_x4(mTable), i);
        r = vqtbx4q_u8(r, vld1q_u8_x4(mTable + 64), vsubq_u8(i, q));
        r = vqtbx4q_u8(r, vld1q_u8_x4(mTable + 128), vsubq_u8(i, vaddq_u8(q, q)));
        r = vqtbx4q_u8(r, vld1q_u8_x4(mTable + 192), vsubq_u8(i, vdupq_n_u8(192)));
        return V8{r};
    }

private:
    const uint8_t* mTable;
};

#else

// Byte shuffles over the table's two halves, eight 16-entry chunks each. In chunk k of a
// half, the index (within the half) less 16k keeps its top bit clear exactly when the
// index lies in chunk k or above, and a shuffle then reads its low four bits (a set top
// bit reads 0). Chunks are stored as the XOR of consecutive table chunks, so XOR-ing the
// shuffles of chunks 0 ... k telescopes to chunk k's entry. The index's top bit picks
// the half.
class Table256 {
public:
    explicit Table256(const uint8_t* table) {
        const hn::Full128<uint8_t> d16;
        for (int half = 0; half < 2; ++half) {
            const uint8_t* chunks = table + 128 * half;
            uint8_t* out = mChunks + 128 * half;
            hn::StoreU(hn::LoadU(d16, chunks), d16, out);
            for (int k = 1; k < 8; ++k) {
                hn::StoreU(
                    hn::Xor(hn::LoadU(d16, chunks + 16 * k), hn::LoadU(d16, chunks + 16 * (k - 1))),
                    d16, out + 16 * k);
            }
        }
    }
    HWY_INLINE V8 Apply(D8 d, V8 index) const {
        const V8 step = hn::Set(d, 16);
        V8 low = index;
        V8 high = hn::Xor(index, hn::Set(d, 0x80));
        V8 fromLow = hn::Zero(d), fromHigh = hn::Zero(d);
        for (int k = 0; k < 8; ++k) {
            fromLow =
                hn::Xor(fromLow, hn::TableLookupBytesOr0(hn::LoadDup128(d, mChunks + 16 * k), low));
            fromHigh = hn::Xor(
                fromHigh, hn::TableLookupBytesOr0(hn::LoadDup128(d, mChunks + 128 + 16 * k), high));
            low = hn::Sub(low, step);
            high = hn::Sub(high, step);
        }
        // A whole-lane mask: without SSE4's blend, a select reads every bit of it.
        const hn::RebindToSigned<D8> di;
        const auto upper =
            hn::MaskFromVec(hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(di, index))));
        return hn::IfThenElse(upper, fromHigh, fromLow);
    }

private:
    HWY_ALIGN uint8_t mChunks[256];
};

#endif

// A filter's red, green and blue channels, each applied by its own Channel (a table or a
// gain).
template <class Channel>
class FilterChannels {
public:
    template <class Source>
    FilterChannels(const Source& red, const Source& green, const Source& blue)
        : mRed(red), mGreen(green), mBlue(blue) {}
    HWY_INLINE void Apply(D8 d, V8& r, V8& g, V8& b) const {
        r = mRed.Apply(d, r);
        g = mGreen.Apply(d, g);
        b = mBlue.Apply(d, b);
    }

private:
    Channel mRed, mGreen, mBlue;
};

inline FilterChannels<Table256> ChannelTables(const FilterTables8& tables) {
    return {tables.red, tables.green, tables.blue};
}

// Bytes of 16-bit lanes (each at most 32767), saturated to 255, in the order
// InterleaveLower/Upper took them apart: x86's pack, like its unpacks, works within
// 128-bit blocks, so the pair costs one instruction each way and no lane crossing.
#if HWY_ARCH_X86
template <class V16>
HWY_INLINE V8 PackBlocks(D8, V16 low, V16 high) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    return V8{_mm512_packus_epi16(low.raw, high.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V8{_mm256_packus_epi16(low.raw, high.raw)};
#else
    return V8{_mm_packus_epi16(low.raw, high.raw)};
#endif
}
#endif

// The three channel gains of a filter whose tables are gains (framework/FilterGains.h):
// the same bytes as the tables, a few multiplies and shuffles instead of dozens.
class ChannelGain {
public:
    explicit ChannelGain(const ChannelGain8& gain)
        : mWhole(gain.whole),
          mFraction(gain.fraction),
          mOffset(gain.offset),
          mAnyLessOne(gain.anyLessOne),
          // White balance usually leaves green as it is.
          mUnity(gain.whole == 1 && ((255u * gain.fraction) >> 16) == 0 && gain.offset == 0 &&
                 !gain.anyLessOne),
          mWholeOne(gain.whole == 1 && gain.offset == 0),
          mLessOne(gain.lessOne) {}

    HWY_INLINE V8 Apply(D8 d, V8 v) const {
        if (mUnity) return v;
        const D16 dw;
#if HWY_ARCH_X86
        const V8 zero = hn::Zero(d);
        const V8 scaled = PackBlocks(d, Scale(dw, hn::BitCast(dw, hn::InterleaveLower(d, v, zero))),
                                     Scale(dw, hn::BitCast(dw, hn::InterleaveUpper(d, v, zero))));
#else
        // Both halves widened in lane order; the low bytes of the results, concatenated,
        // are the channel again.
        const hn::Half<D8> dh;
        const V16 most = hn::Set(dw, 255);
        const V16 low = hn::Min(Scale(dw, hn::PromoteTo(dw, hn::LowerHalf(dh, v))), most);
        const V16 high = hn::Min(Scale(dw, hn::PromoteTo(dw, hn::UpperHalf(dh, v))), most);
        const V8 scaled = hn::ConcatEven(d, hn::BitCast(d, high), hn::BitCast(d, low));
#endif
        return mAnyLessOne ? hn::Sub(scaled, LessOne(d, v)) : scaled;
    }

private:
    using D16 = hn::RepartitionToWide<D8>;
    using V16 = hn::Vec<D16>;

    // At most 32767, so that packing saturates it to the byte the table holds.
    HWY_INLINE V16 Scale(D16 dw, V16 x) const {
        const V16 fraction = hn::MulHigh(x, hn::Set(dw, mFraction));
        // Gains of 1.x without an offset, the usual white balance: at most 509.
        if (mWholeOne) return hn::Add(x, fraction);
        const V16 whole = hn::Mul(x, hn::Set(dw, mWhole));
        const V16 sum = hn::SaturatedAdd(hn::SaturatedAdd(whole, fraction), hn::Set(dw, mOffset));
        return hn::Min(sum, hn::Set(dw, 255));
    }

    // 1 where the value's bit is set in the map (FilterGains.h): its byte by the low
    // nibble from each half (a shuffle reads 0 for an index with its top bit set, which
    // keeps each half to its own values), its bit by the high nibble.
    HWY_INLINE V8 LessOne(D8 d, V8 v) const {
#if HWY_ARCH_X86
        // x86's shuffle reads only an index's low nibble and top bit.
        const V8 index = v;
#else
        // Elsewhere an index must be below 16 or have its top bit set.
        const V8 index = hn::And(v, hn::Set(d, 0x8F));
#endif
        const V8 entry = hn::Or(hn::TableLookupBytesOr0(hn::LoadDup128(d, mLessOne), index),
                                hn::TableLookupBytesOr0(hn::LoadDup128(d, mLessOne + 16),
                                                        hn::Xor(index, hn::Set(d, 0x80))));
        alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                          1, 2, 4, 8, 16, 32, 64, 128};
        const V8 bit = hn::TableLookupBytes(hn::LoadDup128(d, kBits), hn::ShiftRight<4>(v));
        return hn::Min(hn::And(entry, bit), hn::Set(d, 1));
    }

    uint16_t mWhole, mFraction, mOffset;
    bool mAnyLessOne;
    bool mUnity;
    bool mWholeOne;
    const uint8_t* mLessOne;  // valid for the conversion
};

inline FilterChannels<ChannelGain> ChannelGains(const FilterTables8& tables) {
    return {tables.gains[0], tables.gains[1], tables.gains[2]};
}

// ---------------------------------------------------------------------------------------
// Stores of one vector of pixels at pixel index i of a line.

// Little-endian 16-bit words from their low and high bytes.
inline void StoreWords(D8 d, V8 low, V8 high, unsigned char* p) {
    hn::StoreInterleaved2(low, high, d, p);
}

template <OutputKind Kind>
struct ColourStore;

template <>
struct ColourStore<OutputKind::kRGB24> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        hn::StoreInterleaved3(r, g, b, d, out.line + 3 * i);
    }
};
template <>
struct ColourStore<OutputKind::kBGR24> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        hn::StoreInterleaved3(b, g, r, d, out.line + 3 * i);
    }
};
template <>
struct ColourStore<OutputKind::kRGB32> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        hn::StoreInterleaved4(r, g, b, hn::Set(d, 0xFF), d, out.line + 4 * i);
    }
};
template <>
struct ColourStore<OutputKind::kBGR32> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        hn::StoreInterleaved4(b, g, r, hn::Set(d, 0xFF), d, out.line + 4 * i);
    }
};
template <>
struct ColourStore<OutputKind::kPlanar24> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        const size_t plane = out.planeSize;
        hn::StoreU(r, d, out.line + i);
        hn::StoreU(g, d, out.line + plane + i);
        hn::StoreU(b, d, out.line + 2 * plane + i);
    }
};
// 5:6:5, red in the high bits: high byte rrrrrggg, low byte gggbbbbb.
template <>
struct ColourStore<OutputKind::kRGB16> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 r, V8 g, V8 b) {
        const V8 high = hn::Or(hn::And(r, hn::Set(d, 0xF8)), hn::ShiftRight<5>(g));
        const V8 low = hn::Or(hn::ShiftLeft<3>(hn::And(g, hn::Set(d, 0x1C))), hn::ShiftRight<3>(b));
        StoreWords(d, low, high, out.line + 2 * i);
    }
};

template <OutputKind Kind>
struct GrayStore {
    // Colour outputs take the gray value in every channel.
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 v) {
        ColourStore<Kind>::Put(d, out, i, v, v, v);
    }
};
template <>
struct GrayStore<OutputKind::kGray8> {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 v) {
        hn::StoreU(v, d, out.line + i);
    }
};

// Deeper gray: the 8-bit value shifted up by Shift in a 16-bit word.
template <int Shift>
struct GrayWordStore {
    HWY_INLINE static void Put(D8 d, const RowOutput& out, size_t i, V8 v) {
        if constexpr (Shift == 8) {
            StoreWords(d, hn::Zero(d), v, out.line + 2 * i);
        } else {
            StoreWords(d, hn::ShiftLeft<Shift>(v), hn::ShiftRight<8 - Shift>(v), out.line + 2 * i);
        }
    }
};
template <>
struct GrayStore<OutputKind::kGray10> : GrayWordStore<2> {};
template <>
struct GrayStore<OutputKind::kGray12> : GrayWordStore<4> {};
template <>
struct GrayStore<OutputKind::kGray14> : GrayWordStore<6> {};
template <>
struct GrayStore<OutputKind::kGray16> : GrayWordStore<8> {};

// ---------------------------------------------------------------------------------------
// Row loops over any decoder and output.
//
// A line of at least one vector is converted whole: the first vector at its start, the
// second where one stream turns aligned, then whole vectors, and one more ending exactly at
// the line end; a vector may overlap the one before it and write its bytes again. Every
// vector starts at a multiple of 4 pixels from either end, which keeps the phase of 2- and
// 4-pixel groups and Bayer columns whenever the width is a multiple of the group.

// The first vector of a line starts at 0 and the second where one stream of the line (the
// anchor) reaches a vector-aligned address, when that is within one vector and keeps the
// phase: frames usually lie 16 bytes off a cache line (malloc's alignment), and then every
// 64-byte access would straddle two lines, which costs a row in cache a third of its speed.
// Vector starts move in steps of 4 units (the phase of every group and Bayer period), in
// which the anchor advances `stepBytes`. Returns a multiple of 4 in 1 .. n, n when no
// aligned start is near.
inline size_t SecondVectorAt(const void* anchor, size_t stepBytes, size_t n) {
    constexpr size_t kAlign = HWY_MIN(64, hn::MaxLanes(D8()));
    const size_t gap = (kAlign - reinterpret_cast<uintptr_t>(anchor) % kAlign) % kAlign;
    const size_t twos = stepBytes & (~stepBytes + 1);  // the largest power of two dividing it
    if (gap == 0 || stepBytes == 0 || twos >= kAlign || gap % twos != 0) return n;
    // steps × stepBytes ≡ gap (mod kAlign): the odd part of stepBytes is invertible modulo
    // the power of two kAlign / twos (each Newton step doubles the valid bits).
    const size_t odd = stepBytes / twos, modulus = kAlign / twos;
    size_t inverse = odd;
    for (int bits = 3; bits < 8; bits *= 2) inverse *= 2 - odd * inverse;
    const size_t steps = (gap / twos) * inverse & (modulus - 1);
    return 4 * steps <= n ? 4 * steps : n;
}

// Decoders whose only source line is `line` state its bytes per 4 units as kBytesPer4.
template <class Decoder, class = void>
struct SourceStep {
    static constexpr size_t kBytes = 0;
};
template <class Decoder>
struct SourceStep<Decoder, std::void_t<decltype(Decoder::kBytesPer4)>> {
    static constexpr size_t kBytes = Decoder::kBytesPer4;
};

// The second vector's start for a loop over `decoder` into `out`, which takes `outBytes`
// per 4 units: the wider stream is kept aligned (the source on a tie, as split loads cost
// more than split stores).
template <class Decoder>
HWY_INLINE size_t SecondVectorFor(const Decoder& decoder, const void* out, size_t outBytes,
                                  size_t n) {
    constexpr size_t kSourceBytes = SourceStep<Decoder>::kBytes;
    if constexpr (kSourceBytes != 0) {
        if (kSourceBytes >= outBytes) return SecondVectorAt(decoder.line, kSourceBytes, n);
    }
    return SecondVectorAt(out, outBytes, n);
}

// Runs body(i) for the vector starts along a line of `count` units (count >= n): 0,
// `second`, then every n, the last pulled back to end at the line end (vectors may
// overlap the one before them).
template <class Body>
HWY_INLINE void ForEachVector(size_t n, size_t count, size_t second, const Body& body) {
    const ptrdiff_t last = static_cast<ptrdiff_t>(count - n);
    // Only `start` is carried from one vector to the next (one add): the clamps to the
    // line's first and last vector stay off that chain.
    for (ptrdiff_t start = static_cast<ptrdiff_t>(second) - static_cast<ptrdiff_t>(n);;
         start += static_cast<ptrdiff_t>(n)) {
        const ptrdiff_t i = HWY_MIN(HWY_MAX(start, 0), last);
        body(static_cast<size_t>(i));
        if (i == last) break;
    }
}

// A decoder provides
//   colour: void Decode(D8, size_t i, V8& r, V8& g, V8& b) const;   pixels i .. i + N - 1
//   gray:   V8 Decode(D8, size_t i) const;

// `second`, when given, is a second line that takes the same pixels (the two lines of a
// Bayer block pair).
template <OutputKind Kind, class Filter, class Decoder>
uint32_t ColourLoopWith(const Decoder& decoder, const RowOutput& out, const RowOutput* second,
                        uint32_t width, const Filter& filter) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    // Local copies: the byte stores may not alias them, so they stay in registers.
    const Decoder source = decoder;
    const RowOutput output = out;
    const size_t aligned = SecondVectorFor(decoder, out.line, 4 * PixelBytes(Kind), n);
    ForEachVector(n, width, aligned, [&](size_t i) {
        V8 r, g, b;
        source.Decode(d, i, r, g, b);
        filter.Apply(d, r, g, b);
        ColourStore<Kind>::Put(d, output, i, r, g, b);
        if (second != nullptr) ColourStore<Kind>::Put(d, *second, i, r, g, b);
    });
    return width;
}

struct NoFilter {
    void Apply(D8, V8&, V8&, V8&) const {}
};

template <OutputKind Kind, class Decoder>
uint32_t ColourLoop(const Decoder& decoder, const RowOutput& out, const RowOutput* second,
                    uint32_t width) {
    if (width < hn::Lanes(D8())) return 0;
    if (out.filter == nullptr) return ColourLoopWith<Kind>(decoder, out, second, width, NoFilter());
    // Where the target looks 256 entries up in a few instructions, that beats the gains.
    constexpr bool kGainsBeatTables =
        !(HWY_TARGET == HWY_AVX3_DL || (HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64));
    if (kGainsBeatTables && out.filter->gains != nullptr) {
        return ColourLoopWith<Kind>(decoder, out, second, width, ChannelGains(*out.filter));
    }
    return ColourLoopWith<Kind>(decoder, out, second, width, ChannelTables(*out.filter));
}

// The converted prefix of a line of colour pixels (and of `second`, unless null), for any
// colour output and filter.
template <class Decoder>
uint32_t ColourRows(const Decoder& decoder, const RowOutput& out, const RowOutput* second,
                    uint32_t width) {
    switch (out.kind) {
#define ZN_COLOUR_CASE(kind) \
    case OutputKind::kind:   \
        return ColourLoop<OutputKind::kind>(decoder, out, second, width);
        ZN_COLOUR_CASE(kRGB16)
        ZN_COLOUR_CASE(kRGB24)
        ZN_COLOUR_CASE(kBGR24)
        ZN_COLOUR_CASE(kRGB32)
        ZN_COLOUR_CASE(kBGR32)
        ZN_COLOUR_CASE(kPlanar24)
#undef ZN_COLOUR_CASE
        default:
            return 0;
    }
}

template <class Decoder>
uint32_t ColourRow(const Decoder& decoder, const RowOutput& out, uint32_t width) {
    return ColourRows(decoder, out, nullptr, width);
}

template <OutputKind Kind, class Decoder>
uint32_t GrayLoop(const Decoder& decoder, const RowOutput& out, uint32_t width) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    if (width < n) return 0;
    const Decoder source = decoder;
    const RowOutput output = out;
    const size_t aligned = SecondVectorAt(out.line, 4 * PixelBytes(Kind), n);
    ForEachVector(n, width, aligned,
                  [&](size_t i) { GrayStore<Kind>::Put(d, output, i, source.Decode(d, i)); });
    return width;
}

// The converted prefix of a line of gray pixels, for any output. Gray values are never
// filtered.
template <class Decoder>
uint32_t GrayRow(const Decoder& decoder, const RowOutput& out, uint32_t width) {
    {
#define ZN_GRAY_CASE(kind) \
    case OutputKind::kind: \
        return GrayLoop<OutputKind::kind>(decoder, out, width);
        switch (out.kind) {
            ZN_GRAY_CASE(kRGB16)
            ZN_GRAY_CASE(kRGB24)
            ZN_GRAY_CASE(kBGR24)
            ZN_GRAY_CASE(kRGB32)
            ZN_GRAY_CASE(kBGR32)
            ZN_GRAY_CASE(kPlanar24)
            ZN_GRAY_CASE(kGray8)
            ZN_GRAY_CASE(kGray10)
            ZN_GRAY_CASE(kGray12)
            ZN_GRAY_CASE(kGray14)
            ZN_GRAY_CASE(kGray16)
        }
#undef ZN_GRAY_CASE
        return 0;
    }
}

// ---------------------------------------------------------------------------------------
// Decoding helpers.

// The low byte of each 16-bit lane of two vectors, in order: a 16-bit sample cut to 8 bits.
inline V8 LowBytes(D8 d, hn::Vec<hn::Repartition<uint16_t, D8>> first,
                   hn::Vec<hn::Repartition<uint16_t, D8>> second) {
    return hn::ConcatEven(d, hn::BitCast(d, second), hn::BitCast(d, first));
}

// Signed 16-bit lanes of two vectors, clamped to bytes, in order.
HWY_INLINE V8 PackInOrder(hn::Vec<hn::Repartition<uint16_t, D8>> first,
                          hn::Vec<hn::Repartition<uint16_t, D8>> second) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    const __m512i packed = _mm512_packus_epi16(first.raw, second.raw);
    return V8{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed)};
#elif HWY_TARGET == HWY_AVX2
    return V8{_mm256_permute4x64_epi64(_mm256_packus_epi16(first.raw, second.raw), 0xD8)};
#elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
    return V8{_mm_packus_epi16(first.raw, second.raw)};
#else
    const hn::Repartition<int16_t, D8> di;
    const hn::Half<D8> dh;
    return hn::Combine(D8(), hn::DemoteTo(dh, hn::BitCast(di, second)),
                       hn::DemoteTo(dh, hn::BitCast(di, first)));
#endif
}

// Bytes in reverse order, through 16-bit lanes, whose reversal every target has.
HWY_INLINE V8 ReverseBytes(D8 d, V8 v) {
    const hn::Repartition<uint16_t, D8> dw;
    const auto w = hn::BitCast(dw, v);
    return hn::BitCast(d, hn::Reverse(dw, hn::Or(hn::ShiftLeft<8>(w), hn::ShiftRight<8>(w))));
}

// Two vectors of pixels (first and second of each pair) as pixels in order, split over
// two vectors. Done through a small buffer: whole-vector stores forward to the loads.
inline void InOrder(D8 d, V8 first, V8 second, V8& low, V8& high) {
    HWY_ALIGN uint8_t buffer[2 * hn::MaxLanes(D8())];
    hn::StoreInterleaved2(first, second, d, buffer);
    low = hn::Load(d, buffer);
    high = hn::Load(d, buffer + hn::Lanes(d));
}

#endif  // ZN_VECTOR_ROWS

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
