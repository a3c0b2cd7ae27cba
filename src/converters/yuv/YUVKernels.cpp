// Vector rows of the YUV family, written once and compiled for every target
// (YUVKernels.h). The 4:2:2 decoders take a group a 32-bit lane and share its chroma
// terms between its two pixels; the others give Y, U and V per pixel in order (4:1:1
// chroma repeated for its four pixels) to one matrix. The shared stage filters and
// stores the R, G and B vectors.
//
// The matrix forms the plain row's own 32-bit sums by pairwise multiply-adds of 16-bit
// samples, with black level, chroma zero and rounding folded into one constant per
// channel, so the arithmetic shift and the clamp give the plain row's bytes. A 32-bit
// lane holds one group, or four pixels whose bytes are taken one position at a time, so
// no step moves data across lanes until the bytes are joined again.

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

// Two values a lane (16-bit halves, within -32768 ... 32767) from each of two vectors, as
// bytes in order, saturated.
HWY_INLINE V8 Join2(VI32 firstLow, VI32 firstHigh, VI32 secondLow, VI32 secondHigh) {
    const D8 d;
    const hn::Half<D8> dh;
    const DI16 d16;
    const auto pack = [&](VI32 low, VI32 high) {
        return hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(high)), hn::BitCast(d16, low));
    };
    return hn::Combine(d, hn::DemoteTo(dh, pack(secondLow, secondHigh)),
                       hn::DemoteTo(dh, pack(firstLow, firstHigh)));
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
    const uint8_t* line;
    void Load(D8 d, size_t i, V8& y, V8& u, V8& v) const {
        V8 c[3];
        hn::LoadInterleaved3(d, line + 3 * i, c[0], c[1], c[2]);
        y = c[Y], u = c[U], v = c[V];
    }
};

// Two pixels a 4-byte group, samples at byte offsets Y0, U, Y1, V: one group a 32-bit
// lane, its chroma terms computed once for both pixels.
// The two pixels of each group of a vector.
struct GroupPixels {
    Colour32 first, second;
};

// Two vectors of groups as pixels in order.
HWY_INLINE void JoinGroups(const GroupPixels& a, const GroupPixels& b, V8& r, V8& g, V8& bl) {
    r = Join2(a.first.r, a.second.r, b.first.r, b.second.r);
    g = Join2(a.first.g, a.second.g, b.first.g, b.second.g);
    bl = Join2(a.first.b, a.second.b, b.first.b, b.second.b);
}

template <int Y0, int U, int Y1, int V>
struct Groups422 {
    const uint8_t* line;
    HWY_INLINE static GroupPixels Half(V8 groups) {
        const VU32 x = hn::BitCast(DU32(), groups);
        const Chroma chroma(hn::Or(ByteOf<U>(x), hn::ShiftLeft<16>(ByteOf<V>(x))));
        return {Pixel(ByteOf<Y0>(x), chroma), Pixel(ByteOf<Y1>(x), chroma)};
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        JoinGroups(Half(hn::LoadU(d, line + 2 * i)),
                   Half(hn::LoadU(d, line + 2 * i + hn::Lanes(d))), r, g, b);
    }
};

// Y0 U Y1 V in words, shifted right; a sample above 255 after the shift is full scale.
// Cut to bytes, they are the 8-bit layout.
struct WordGroups {
    const uint8_t* line;
    int shift;
    V16 Eight(D16 dw, const uint16_t* p) const {
        return hn::Min(hn::ShiftRightSame(hn::LoadU(dw, p), shift), hn::Set(dw, 255));
    }
    HWY_INLINE void Decode(D8 d, size_t i, V8& r, V8& g, V8& b) const {
        const D16 dw;
        const size_t n = hn::Lanes(dw);
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + 2 * i;
        using Groups = Groups422<0, 1, 2, 3>;
        JoinGroups(Groups::Half(LowBytes(d, Eight(dw, p), Eight(dw, p + n))),
                   Groups::Half(LowBytes(d, Eight(dw, p + 2 * n), Eight(dw, p + 3 * n))), r, g, b);
    }
};

// U Y0 Y1 V Y2 Y3: a group is three words (U|Y0, Y1|V, Y2|Y3), and its four pixels one
// 32-bit lane.
struct Quads411 {
    const uint8_t* line;
    void Load(D8 d, size_t i, V8& y, V8& u, V8& v) const {
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

}  // namespace

uint32_t YUVRow(YUVLayout layout, const RowSource& source, const RowOutput& out, uint32_t groups) {
    const uint8_t* line = source.line;
    switch (layout) {
        case YUVLayout::k422:
            return Groups(Groups422<0, 1, 2, 3>{line}, out, groups, 2);
        case YUVLayout::k422GEV:
            return Groups(Groups422<1, 0, 3, 2>{line}, out, groups, 2);
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
