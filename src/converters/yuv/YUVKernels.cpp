// Vector rows of the YUV family, written once and compiled for every target
// (YUVKernels.h). The 4:2:2 decoders work in 16-bit lanes, one pixel a lane, on exact
// 16-bit forms of the plain row's sums (below, at Groups422); the others give Y, U and V
// per pixel in order (4:1:1 chroma repeated for its four pixels) to one matrix. The
// shared stage filters and stores the R, G and B vectors.
//
// The matrix forms the plain row's own 32-bit sums by pairwise multiply-adds of 16-bit
// samples, with black level, chroma zero and rounding folded into one constant per
// channel, so the arithmetic shift and the clamp give the plain row's bytes. A 32-bit
// lane holds four pixels whose bytes are taken one position at a time, so no step moves
// data across lanes until the bytes are joined again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/yuv/YUVKernels.cpp"
#include "converters/yuv/YUVKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <type_traits>

#include "converters/common/ChannelStores-inl.h"
#include "converters/yuv/YUVRows.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using namespace YUVDetail;

using D16 = hn::Repartition<uint16_t, D8>;
using V16 = hn::Vec<D16>;
using DI16 = hn::Repartition<int16_t, D8>;
using DI32 = hn::Repartition<int32_t, D8>;
using VI32 = hn::Vec<DI32>;

constexpr int32_t kLumaConstant = kRoundingBias - kLumaGain * kLumaBlack;
constexpr int32_t kRedConstant = kLumaConstant - kVToRed * kChromaZero;
constexpr int32_t kGreenConstant = kLumaConstant + (kUToGreen + kVToGreen) * kChromaZero;
constexpr int32_t kBlueConstant = kLumaConstant - kUToBlue * kChromaZero;

using DU32 = hn::Repartition<uint32_t, D8>;
using VU32 = hn::Vec<DU32>;

// Pairs of 16-bit lanes multiplied and added into 32-bit lanes: (low * c0 + high * c1).
template <int32_t C0, int32_t C1>
HWY_INLINE VI32 MulPairs(VU32 pairs) {
    const DI32 d32;
    const DI16 d16;
    const VI32 coefficients =
        hn::Set(d32, static_cast<int32_t>((static_cast<uint32_t>(C1) << 16) |
                                          (static_cast<uint32_t>(C0) & 0xFFFF)));
    VI32 sum1 = hn::Zero(d32);
    const VI32 sum0 = hn::ReorderWidenMulAccumulate(
        d32, hn::BitCast(d16, pairs), hn::BitCast(d16, coefficients), hn::Zero(d32), sum1);
    return hn::RearrangeToOddPlusEven(sum0, sum1);
}

// Byte k of each 32-bit lane.
template <int K>
HWY_INLINE VU32 ByteOf(VU32 x) {
    const DU32 d32;
    if constexpr (K == 3) return hn::ShiftRight<24>(x);
    return hn::And(hn::ShiftRight<8 * K>(x), hn::Set(d32, 0xFF));
}

// The chroma terms of the plain row, constants included, from (U, V) pairs.
struct Chroma {
    VI32 red, green, blue;
    explicit Chroma(VU32 uv)
        : red(hn::Add(MulPairs<0, kVToRed>(uv), hn::Set(DI32(), kRedConstant))),
          green(hn::Add(MulPairs<-kUToGreen, -kVToGreen>(uv), hn::Set(DI32(), kGreenConstant))),
          blue(hn::Add(MulPairs<kUToBlue, 0>(uv), hn::Set(DI32(), kBlueConstant))) {}
};

// One pixel a 32-bit lane, unclamped.
struct Colour32 {
    VI32 r, g, b;
};
HWY_INLINE Colour32 Pixel(VU32 y, const Chroma& c) {
    const VI32 luma = MulPairs<kLumaGain, 0>(y);
    return {hn::ShiftRight<kFractionBits>(hn::Add(luma, c.red)),
            hn::ShiftRight<kFractionBits>(hn::Add(luma, c.green)),
            hn::ShiftRight<kFractionBits>(hn::Add(luma, c.blue))};
}

HWY_INLINE VU32 Clamp8(VI32 x) {
    const DI32 d32;
    return hn::BitCast(DU32(), hn::Min(hn::Max(x, hn::Zero(d32)), hn::Set(d32, 255)));
}

// Four values a lane (bytes 0 ... 3, clamped) as bytes in order.
HWY_INLINE V8 Join4(VI32 b0, VI32 b1, VI32 b2, VI32 b3) {
    return hn::BitCast(
        D8(), hn::Or(hn::Or(Clamp8(b0), hn::ShiftLeft<8>(Clamp8(b1))),
                     hn::Or(hn::ShiftLeft<16>(Clamp8(b2)), hn::ShiftLeft<24>(Clamp8(b3)))));
}

// Y, U and V of each pixel in order (whole vectors): the matrix per byte of each 32-bit
// lane.
HWY_INLINE void Matrix(V8 y, V8 u, V8 v, V8& r, V8& g, V8& b) {
    const DU32 d32;
    const VU32 y32 = hn::BitCast(d32, y), u32 = hn::BitCast(d32, u), v32 = hn::BitCast(d32, v);
    const auto at = [&](auto k) {
        constexpr int K = decltype(k)::value;
        return Pixel(ByteOf<K>(y32),
                     Chroma(hn::Or(ByteOf<K>(u32), hn::ShiftLeft<16>(ByteOf<K>(v32)))));
    };
    const Colour32 c0 = at(std::integral_constant<int, 0>());
    const Colour32 c1 = at(std::integral_constant<int, 1>());
    const Colour32 c2 = at(std::integral_constant<int, 2>());
    const Colour32 c3 = at(std::integral_constant<int, 3>());
    r = Join4(c0.r, c1.r, c2.r, c3.r);
    g = Join4(c0.g, c1.g, c2.g, c3.g);
    b = Join4(c0.b, c1.b, c2.b, c3.b);
}

// Every decoder below gives Y, U, V of pixels i ... i + N - 1; Decode runs the matrix.
template <class Samples>
struct Decoder {
    Samples samples;
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        V8 y, u, v;
        samples.Load(d, i, y, u, v);
        Matrix(y, u, v, r, g, b);
    }
};

// One pixel a group, samples at byte offsets Y, U, V.
template <size_t Y, size_t U, size_t V>
struct Triplets {
    static constexpr size_t kBytesPer4 = 12;
    const uint8_t* line;
    HWY_INLINE void Load(D8 d, size_t i, V8& y, V8& u, V8& v) const {
        V8 c[3];
        hn::LoadInterleaved3(d, line + 3 * i, c[0], c[1], c[2]);
        y = c[Y], u = c[U], v = c[V];
    }
};

// ---------------------------------------------------------------------------------------
// 4:2:2 in 16-bit lanes, one pixel a lane, with the plain row's bytes.
//
// The plain row's channel is floor((1196 Y + D) / 1024), D the chroma term with black
// level and rounding folded in. 1196 Y is a multiple of 4, so this is
// floor((299 Y + floor(D / 4)) / 256): 299 Y = 256 Y + 43 Y, and the quarter of D splits
// into whole multiples of 256 (2 V, -V or 2 U, less kHighBias) and a rest. The channel is
// then Y + whole + ((43 Y + rest) >> 8), where 43 Y + rest stays within 0 ... 65535 for
// every Y, U and V (static_asserts below), so the 16-bit sum and its high byte are exact.
// Red's quarter has a half V (1642 / 4 = 410.5), taken as V >> 1 from the [Y, V] lane.
// Each product sum is a byte-pair multiply-add of [Y, U] or [Y, V] lanes, whose
// coefficients keep it far from 16-bit saturation, and the final clamp is the pack's.
// Checked against the plain formula for every Y, U, V.

constexpr int32_t kQuarterGain = kLumaGain / 4;
constexpr int32_t kYLow = kQuarterGain - 256;
constexpr int32_t kQuarterBase = (kRoundingBias - kLumaGain * kLumaBlack) / 4;
constexpr int32_t kHighBias = 384;
static_assert(kLumaGain % 4 == 0 && kQuarterGain / 256 == 1, "Y's whole part is Y");
static_assert((kRoundingBias - kLumaGain * kLumaBlack) % 4 == 0, "");
static_assert(kVToRed % 4 == 2 && kUToGreen % 4 == 0 && kVToGreen % 4 == 0 && kUToBlue % 4 == 0,
              "only red's quarter has a half");
static_assert((kVToRed * kChromaZero) % 4 == 0 && (kUToBlue * kChromaZero) % 4 == 0, "");

// Red: Y + 2 V - kHighBias + ((43 Y + kRedV V + (V >> 1) + kRedBias) >> 8).
constexpr int32_t kRedV = kVToRed / 4 - 2 * 256;
constexpr int32_t kRedBias = kQuarterBase - kVToRed * kChromaZero / 4 + 256 * kHighBias;
// Green: Y - V + ((43 Y + kGreenU U + kGreenV V + kGreenBias) >> 8).
constexpr int32_t kGreenU = -kUToGreen / 4;
constexpr int32_t kGreenV = 256 - kVToGreen / 4;
constexpr int32_t kGreenBias = kQuarterBase + (kUToGreen + kVToGreen) * kChromaZero / 4;
// Blue: Y + 2 U - kHighBias + ((43 Y + kBlueU U + kBlueBias) >> 8).
constexpr int32_t kBlueU = kUToBlue / 4 - 2 * 256;
constexpr int32_t kBlueBias = kQuarterBase - kUToBlue * kChromaZero / 4 + 256 * kHighBias;

// The low sums' ranges: within one 16-bit word, so exact modulo 2^16.
constexpr bool InWord(int32_t low, int32_t high) {
    return low >= 0 && high <= 65535;
}
static_assert(InWord(kRedV * 255 + kRedBias, kYLow * 255 + kRedBias), "");
static_assert(InWord(kGreenU * 255 + kGreenBias, kYLow * 255 + kGreenV * 255 + kGreenBias), "");
static_assert(InWord(kBlueBias, kYLow * 255 + kBlueU * 255 + kBlueBias), "");
// Byte coefficients whose multiply-add of two unsigned bytes cannot saturate.
constexpr bool PairFits(int32_t c0, int32_t c1) {
    const auto high = [](int32_t c) { return c > 0 ? 255 * c : 0; };
    const auto low = [](int32_t c) { return c < 0 ? 255 * c : 0; };
    return c0 >= -128 && c0 <= 127 && c1 >= -128 && c1 <= 127 && high(c0) + high(c1) <= 32767 &&
           low(c0) + low(c1) >= -32768;
}
static_assert(PairFits(kYLow, kRedV) && PairFits(kYLow, kGreenU) && PairFits(0, kGreenV) &&
                  PairFits(kYLow, kBlueU),
              "");

// Low byte times C0 plus high byte times C1 in each 16-bit lane, bytes unsigned and
// coefficients signed; the sums above never saturate, so the portable form is the same.
template <int C0, int C1>
HWY_INLINE V16 MulAddBytes(V16 pairs) {
    // The two coefficients' bytes side by side (a negative one by its two's complement).
    constexpr uint16_t kPair = static_cast<uint16_t>(((C1 & 0xFF) << 8) | (C0 & 0xFF));
    (void)kPair;
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    const V16 c = hn::Set(D16(), kPair);
    return V16{_mm512_maddubs_epi16(pairs.raw, c.raw)};
#elif HWY_TARGET == HWY_AVX2
    const V16 c = hn::Set(D16(), kPair);
    return V16{_mm256_maddubs_epi16(pairs.raw, c.raw)};
#elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
    const V16 c = hn::Set(D16(), kPair);
    return V16{_mm_maddubs_epi16(pairs.raw, c.raw)};
#else
    const D16 dw;
    const V16 low =
        hn::Mul(hn::And(pairs, hn::Set(dw, 0xFF)), hn::Set(dw, static_cast<uint16_t>(C0)));
    return hn::Add(low, hn::Mul(hn::ShiftRight<8>(pairs), hn::Set(dw, static_cast<uint16_t>(C1))));
#endif
}

// Where vectors span several 128-bit blocks, the 4:2:2 rows with 32-bit output skip every
// move across blocks after the load: the byte-pair pack and the interleaving store both
// work within blocks, so the load permutes the source's 4-pixel quads to make the two
// reorderings cancel.
#undef ZN_BLOCKED_422
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
#define ZN_BLOCKED_422 1

// PackBlocks puts in block k of a channel 8 pixels of block k of its first vector, then 8
// of its second; StoreBlocked4's first store takes the first 4 of each block's first-vector
// pixels, block by block, its second store the last 4, and the other two the same of the
// second vector. So block k of each vector must hold the 4-pixel quads k and B + k of its
// half of the run (B the blocks of a vector): 64-bit quads k and B + k, side by side.
HWY_INLINE V8 AlternateHalves(V8 v) {
#if HWY_TARGET == HWY_AVX2
    return V8{_mm256_permute4x64_epi64(v.raw, 0xD8)};
#else
    return V8{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), v.raw)};
#endif
}

// Signed 16-bit lanes clamped to bytes, block k holding block k of each vector.
HWY_INLINE V8 PackBlocks(V16 first, V16 second) {
#if HWY_TARGET == HWY_AVX2
    return V8{_mm256_packus_epi16(first.raw, second.raw)};
#else
    return V8{_mm512_packus_epi16(first.raw, second.raw)};
#endif
}

// Bytes 0 ... 3 of the 32-bit pixels, interleaved within blocks and stored as four vectors.
HWY_INLINE void StoreBlocked4(D8 d, V8 c0, V8 c1, V8 c2, V8 c3, unsigned char* p) {
    const hn::Repartition<uint16_t, D8> dw;
    const hn::Repartition<uint32_t, D8> dq;
    const size_t n = hn::Lanes(d);
    const auto low01 = hn::ZipLower(dw, c0, c1), high01 = hn::ZipUpper(dw, c0, c1);
    const auto low23 = hn::ZipLower(dw, c2, c3), high23 = hn::ZipUpper(dw, c2, c3);
    hn::StoreU(hn::BitCast(d, hn::ZipLower(dq, low01, low23)), d, p);
    hn::StoreU(hn::BitCast(d, hn::ZipUpper(dq, low01, low23)), d, p + n);
    hn::StoreU(hn::BitCast(d, hn::ZipLower(dq, high01, high23)), d, p + 2 * n);
    hn::StoreU(hn::BitCast(d, hn::ZipUpper(dq, high01, high23)), d, p + 3 * n);
}

// ColourLoop's loop and filter choice, for the blocked decode and store.
template <OutputKind Kind, class Filter, class Rows>
uint32_t BlockedLoop(const Rows& rows, const RowOutput& out, uint32_t width, const Filter& filter) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    const V8 alpha = hn::Set(d, 0xFF);
    // Local copies: the stores may not alias them, so they stay in registers.
    const Rows source = rows;
    unsigned char* const line = out.line;
    ForEachVector(n, width, SecondVectorFor(source, line, 16, n), [&](size_t i) {
        V8 r, g, b;
        source.DecodeBlocked(d, i, r, g, b);
        filter.Apply(d, r, g, b);
        if constexpr (Kind == OutputKind::kBGR32) {
            StoreBlocked4(d, b, g, r, alpha, line + 4 * i);
        } else {
            StoreBlocked4(d, r, g, b, alpha, line + 4 * i);
        }
    });
    return width;
}

template <OutputKind Kind, class Rows>
uint32_t BlockedRow(const Rows& rows, const RowOutput& out, uint32_t width) {
    if (width < hn::Lanes(D8())) return 0;
    if (out.filter == nullptr) return BlockedLoop<Kind>(rows, out, width, NoFilter());
    // As ColourLoop: where 256-entry look-ups are slow, the gains beat the tables.
    if (HWY_TARGET != HWY_AVX3_DL && out.filter->gains != nullptr) {
        return BlockedLoop<Kind>(rows, out, width, ChannelGains(*out.filter));
    }
    return BlockedLoop<Kind>(rows, out, width, ChannelTables(*out.filter));
}
#else
#define ZN_BLOCKED_422 0
#endif

// Byte indices, within each 16-byte block, of [A, B, C, D] in every 4-byte group.
template <int A, int B, int C, int D>
struct GroupBytes {
    alignas(16) static constexpr uint8_t kIndex[16] = {A,      B,      C,      D,     A + 4, B + 4,
                                                       C + 4,  D + 4,  A + 8,  B + 8, C + 8, D + 8,
                                                       A + 12, B + 12, C + 12, D + 12};
};

// [Y, U] and [Y, V] of each pixel of one vector of 4:2:2 groups, one pixel a 16-bit
// lane, the group's chroma repeated for both of its pixels.
struct PairLanes {
    V16 yu, yv;
};

// The channels of PairLanes, unclamped (the pack clamps).
HWY_INLINE V16 Red(const PairLanes& p) {
    const D16 dw;
    const V16 low = hn::Add(hn::Add(MulAddBytes<kYLow, kRedV>(p.yv), hn::ShiftRight<9>(p.yv)),
                            hn::Set(dw, static_cast<uint16_t>(kRedBias)));
    return hn::Add(hn::Sub(MulAddBytes<1, 2>(p.yv), hn::Set(dw, kHighBias)),
                   hn::ShiftRight<8>(low));
}
HWY_INLINE V16 Green(const PairLanes& p) {
    const D16 dw;
    const V16 low =
        hn::Add(hn::Add(MulAddBytes<kYLow, kGreenU>(p.yu), MulAddBytes<0, kGreenV>(p.yv)),
                hn::Set(dw, static_cast<uint16_t>(kGreenBias)));
    return hn::Add(MulAddBytes<1, -1>(p.yv), hn::ShiftRight<8>(low));
}
HWY_INLINE V16 Blue(const PairLanes& p) {
    const D16 dw;
    const V16 low =
        hn::Add(MulAddBytes<kYLow, kBlueU>(p.yu), hn::Set(dw, static_cast<uint16_t>(kBlueBias)));
    return hn::Add(hn::Sub(MulAddBytes<1, 2>(p.yu), hn::Set(dw, kHighBias)),
                   hn::ShiftRight<8>(low));
}

// Two pixels a 4-byte group, samples at byte offsets Y0, U, Y1, V.
template <int Y0, int U, int Y1, int V>
struct Groups422 {
    static constexpr size_t kBytesPer4 = 8;
    const uint8_t* line;

    HWY_INLINE static PairLanes Pairs(V8 groups) {
        const D8 d;
        const D16 dw;
        return {hn::BitCast(dw, hn::TableLookupBytes(
                                    groups, hn::LoadDup128(d, GroupBytes<Y0, U, Y1, U>::kIndex))),
                hn::BitCast(dw, hn::TableLookupBytes(
                                    groups, hn::LoadDup128(d, GroupBytes<Y0, V, Y1, V>::kIndex)))};
    }

    // Two vectors of groups as pixels in order. A channel at a time, for both vectors,
    // keeps fewer vectors live.
    HWY_INLINE static void Join(V8 first, V8 second, V8& r, V8& g, V8& b) {
        const PairLanes a = Pairs(first);
        const PairLanes c = Pairs(second);
        r = PackInOrder(Red(a), Red(c));
        g = PackInOrder(Green(a), Green(c));
        b = PackInOrder(Blue(a), Blue(c));
    }

    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        Join(hn::LoadU(d, line + 2 * i), hn::LoadU(d, line + 2 * i + hn::Lanes(d)), r, g, b);
    }

#if ZN_BLOCKED_422
    // Pixels i ... i + N - 1 in the order StoreBlocked4 puts back in place: each vector's
    // 4-pixel quads taken from its lower and upper half alternately, then packed within
    // 128-bit blocks.
    HWY_INLINE void DecodeBlocked(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const PairLanes a = Pairs(AlternateHalves(hn::LoadU(d, line + 2 * i)));
        const PairLanes c = Pairs(AlternateHalves(hn::LoadU(d, line + 2 * i + hn::Lanes(d))));
        r = PackBlocks(Red(a), Red(c));
        g = PackBlocks(Green(a), Green(c));
        b = PackBlocks(Blue(a), Blue(c));
    }
#endif
};

// Y0 U Y1 V in words, shifted right; a sample above 255 after the shift is full scale.
// Cut to bytes, they are the 8-bit layout.
struct WordGroups {
    static constexpr size_t kBytesPer4 = 16;
    const uint8_t* line;
    int shift;
    V16 Eight(D16 dw, const uint16_t* p) const {
        return hn::Min(hn::ShiftRightSame(hn::LoadU(dw, p), shift), hn::Set(dw, 255));
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const size_t n = hn::Lanes(dw);
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + 2 * i;
        Groups422<0, 1, 2, 3>::Join(LowBytes(d, Eight(dw, p), Eight(dw, p + n)),
                                    LowBytes(d, Eight(dw, p + 2 * n), Eight(dw, p + 3 * n)), r, g,
                                    b);
    }
};

// U Y0 Y1 V Y2 Y3: a group is three words (U|Y0, Y1|V, Y2|Y3), and its four pixels one
// 32-bit lane.
struct Quads411 {
    static constexpr size_t kBytesPer4 = 6;
    const uint8_t* line;
    HWY_INLINE void Load(D8 d, size_t i, V8& y, V8& u, V8& v) const {
        using D32 = hn::Repartition<uint32_t, D8>;
        const D32 dq;
        const hn::Rebind<uint16_t, D32> dw;
        hn::Vec<decltype(dw)> w0, w1, w2;
        hn::LoadInterleaved3(dw, reinterpret_cast<const uint16_t*>(line + 6 * (i / 4)), w0, w1, w2);
        const auto y01 = hn::Or(hn::ShiftRight<8>(w0), hn::ShiftLeft<8>(w1));
        y = hn::BitCast(d,
                        hn::Or(hn::PromoteTo(dq, y01), hn::ShiftLeft<16>(hn::PromoteTo(dq, w2))));
        const auto spread = [&](auto sample) {
            const auto x = hn::PromoteTo(dq, sample);
            const auto twice = hn::Or(x, hn::ShiftLeft<8>(x));
            return hn::BitCast(d, hn::Or(twice, hn::ShiftLeft<16>(twice)));
        };
        u = spread(hn::And(w0, hn::Set(dw, 0x00FF)));
        v = spread(hn::ShiftRight<8>(w1));
    }
};

template <class Rows>
uint32_t Groups(Rows rows, const RowOutput& out, uint32_t groups, uint32_t pixelsPerGroup) {
    return ColourRow(rows, out, groups * pixelsPerGroup) / pixelsPerGroup;
}

template <class Rows>
uint32_t Rows422(Rows rows, const RowOutput& out, uint32_t groups) {
#if ZN_BLOCKED_422
    if (out.kind == OutputKind::kBGR32)
        return BlockedRow<OutputKind::kBGR32>(rows, out, 2 * groups) / 2;
    if (out.kind == OutputKind::kRGB32)
        return BlockedRow<OutputKind::kRGB32>(rows, out, 2 * groups) / 2;
#endif
    return Groups(rows, out, groups, 2);
}

}  // namespace

uint32_t YUVRow(YUVLayout layout, const RowSource& source, const RowOutput& out, uint32_t groups) {
    const uint8_t* line = source.line;
    switch (layout) {
        case YUVLayout::k422:
            return Rows422(Groups422<0, 1, 2, 3>{line}, out, groups);
        case YUVLayout::k422GEV:
            return Rows422(Groups422<1, 0, 3, 2>{line}, out, groups);
        case YUVLayout::k411:
            return Groups(Decoder<Quads411>{{line}}, out, groups, 4);
        case YUVLayout::k444:
            return Groups(Decoder<Triplets<0, 1, 2>>{{line}}, out, groups, 1);
        case YUVLayout::k444GEV:
            return Groups(Decoder<Triplets<1, 0, 2>>{{line}}, out, groups, 1);
        case YUVLayout::kYCrCb:
            return Groups(Decoder<Triplets<0, 2, 1>>{{line}}, out, groups, 1);
        case YUVLayout::k422Words:
            return Groups(WordGroups{line, static_cast<int>(source.shift)}, out, groups, 2);
    }
    return 0;
}
#else
uint32_t YUVRow(YUVLayout, const RowSource&, const RowOutput&, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(YUVRow);

uint32_t YUVVectorRow(YUVLayout layout, const RowSource& source, const RowOutput& out,
                      uint32_t groups) {
    if (groups < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(YUVRow)(layout, source, out, groups);
}

}  // namespace ZnConvertersLib
#endif
