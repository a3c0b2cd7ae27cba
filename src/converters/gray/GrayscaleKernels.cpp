// Vector rows of the gray family, written once and compiled for every target
// (GrayscaleKernels.h). Gray values are never filtered.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/gray/GrayscaleKernels.cpp"
#include "converters/gray/GrayscaleKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <array>
#include <utility>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using D16 = hn::Repartition<uint16_t, D8>;
using V16 = hn::Vec<D16>;

struct Gray8 {
    static constexpr size_t kBytesPer4 = 4;
    const uint8_t* line;
    int shift;
    HWY_INLINE V8 Decode(D8 d, size_t i) const {
        if (shift >= 8) return hn::Zero(d);
        return hn::ShiftRightSame(hn::LoadU(d, line + i), shift);
    }
};

struct Gray16 {
    static constexpr size_t kBytesPer4 = 8;
    const uint8_t* line;
    int shift;
    // v >> shift as the high half of v × 2^(16 - shift): a shift by a register count is
    // the slower instruction on x86.
    HWY_INLINE V16 Down(V16 v) const {
        if (shift == 0) return v;
        return hn::MulHigh(v, hn::Set(D16(), static_cast<uint16_t>(0x10000u >> shift)));
    }
    HWY_INLINE V8 Decode(D8 d, size_t i) const {
        const D16 dw;
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + i;
        const V16 first = Down(hn::LoadU(dw, p)), second = Down(hn::LoadU(dw, p + hn::Lanes(dw)));
        // Words shifted by 8 or more fit a byte, so a saturating pack cuts them exactly, in
        // fewer instructions than masking (but for VBMI's one byte permute).
        if (HWY_TARGET != HWY_AVX3_DL && shift >= 8) return PackInOrder(first, second);
        return LowBytes(d, first, second);
    }
};

// (s + 128) mod 256 is the top bit flipped.
struct Signed8 {
    static constexpr size_t kBytesPer4 = 4;
    const uint8_t* line;
    HWY_INLINE V8 Decode(D8 d, size_t i) const {
        return hn::Xor(hn::LoadU(d, line + i), hn::Set(d, 0x80));
    }
};

// Pair decoders: the first and second pixels of groups k .. k + N - 1.
struct Gray8Pairs {
    static constexpr size_t kBytesPer4 = 8;
    const uint8_t* line;
    int shift;
    HWY_INLINE void Decode(D8 d, size_t k, V8& first, V8& second) const {
        hn::LoadInterleaved2(d, line + 2 * k, first, second);
        if (shift >= 8) {
            first = second = hn::Zero(d);
        } else {
            first = hn::ShiftRightSame(first, shift);
            second = hn::ShiftRightSame(second, shift);
        }
    }
};

struct Gray16Pairs {
    static constexpr size_t kBytesPer4 = 16;
    const uint8_t* line;
    int shift;
    HWY_INLINE void Decode(D8 d, size_t k, V8& first, V8& second) const {
        const D16 dw;
        const size_t n = hn::Lanes(dw);
        const uint16_t* p = reinterpret_cast<const uint16_t*>(line) + 2 * k;
        V16 a0, b0, a1, b1;
        hn::LoadInterleaved2(dw, p, a0, b0);
        hn::LoadInterleaved2(dw, p + 2 * n, a1, b1);
        first = LowBytes(d, hn::ShiftRightSame(a0, shift), hn::ShiftRightSame(a1, shift));
        second = LowBytes(d, hn::ShiftRightSame(b0, shift), hn::ShiftRightSame(b1, shift));
    }
};

struct PackedGEV {
    static constexpr size_t kBytesPer4 = 12;
    const uint8_t* line;
    HWY_INLINE void Decode(D8 d, size_t k, V8& first, V8& second) const {
        V8 middle;
        hn::LoadInterleaved3(d, line + 3 * k, first, middle, second);
    }
};

// p0 = b0 | (b1 & 0x0F) << 8, p1 = b1 >> 4 | b2 << 4, each shifted right and cut to 8 bits.
struct Packed12 {
    static constexpr size_t kBytesPer4 = 12;
    const uint8_t* line;
    int shift;
    HWY_INLINE V8 Samples(D8 d, V8 low, V8 highNibble) const {
        const D16 dw;
        const auto half = [&](auto lowHalf, auto highHalf) {
            const V16 v =
                hn::Or(hn::PromoteTo(dw, lowHalf), hn::ShiftLeft<8>(hn::PromoteTo(dw, highHalf)));
            return hn::ShiftRightSame(v, shift);
        };
        const hn::Half<D8> dh;
        return LowBytes(d, half(hn::LowerHalf(dh, low), hn::LowerHalf(dh, highNibble)),
                        half(hn::UpperHalf(dh, low), hn::UpperHalf(dh, highNibble)));
    }
    HWY_INLINE void Decode(D8 d, size_t k, V8& first, V8& second) const {
        V8 b0, b1, b2;
        hn::LoadInterleaved3(d, line + 3 * k, b0, b1, b2);
        if (shift == 4) {
            // The top eight of twelve bits, the usual display: straddling two bytes, or
            // the last byte whole.
            first = hn::Or(hn::ShiftRight<4>(b0), hn::ShiftLeft<4>(b1));
            second = b2;
            return;
        }
        // Each sample as its low byte and its high nibble.
        first = Samples(d, b0, hn::And(b1, hn::Set(d, 0x0F)));
        second =
            Samples(d, hn::Or(hn::ShiftRight<4>(b1), hn::ShiftLeft<4>(b2)), hn::ShiftRight<4>(b2));
    }
};

#if HWY_TARGET == HWY_AVX3_DL
// The top eight of twelve bits of 12-bit packed pixels, in order: two-table byte permutes
// put [b0, b1] and [-, b2] of each group in a 16-bit lane, so one shift and one byte blend
// give the group's two pixels where they are stored.
struct Packed12Top8 {
    static constexpr size_t kBytesPer4 = 6;
    const uint8_t* line;

    // Byte k of the 96 a vector reads, as an index into [bytes 0 .. 63 | bytes 32 .. 95].
    static constexpr uint8_t Window(size_t k) { return static_cast<uint8_t>(k < 64 ? k : k + 32); }
    template <size_t... J>
    static constexpr std::array<uint8_t, 64> Pairs(size_t first, std::index_sequence<J...>) {
        // Lane j (bytes 2j, 2j + 1) takes group bytes `first` and `first + 1`.
        return {Window(3 * (J / 2) + first + J % 2)...};
    }
    HWY_INLINE V8 Decode(D8, size_t i) const {
        alignas(64) static constexpr auto kLow = Pairs(0, std::make_index_sequence<64>());
        alignas(64) static constexpr auto kHigh = Pairs(1, std::make_index_sequence<64>());
        const uint8_t* p = line + i / 2 * 3;
        const __m512i a = _mm512_loadu_si512(p), b = _mm512_loadu_si512(p + 32);
        const __m512i low = _mm512_permutex2var_epi8(a, _mm512_load_si512(kLow.data()), b);
        const __m512i high = _mm512_permutex2var_epi8(a, _mm512_load_si512(kHigh.data()), b);
        // Low byte of a lane: (b0 >> 4) | (b1 << 4); high byte: b2.
        return V8{_mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAAull, _mm512_srli_epi16(low, 4), high)};
    }
};
#endif

template <OutputKind Kind, class Decoder>
uint32_t PairLoop(const Decoder& decoder, const RowOutput& out, uint32_t pairs) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    if (pairs < n) return 0;
    const Decoder source = decoder;
    const RowOutput output = out;
    const size_t aligned = SecondVectorFor(decoder, out.line, 8 * PixelBytes(Kind), n);
    ForEachVector(n, pairs, aligned, [&](size_t k) {
        V8 first, second;
        source.Decode(d, k, first, second);
        if constexpr (Kind == OutputKind::kGray8) {
            hn::StoreInterleaved2(first, second, d, output.line + 2 * k);
        } else {
            V8 low, high;
            InOrder(d, first, second, low, high);
            GrayStore<Kind>::Put(d, output, 2 * k, low);
            GrayStore<Kind>::Put(d, output, 2 * k + n, high);
        }
    });
    return pairs;
}

template <class Decoder>
uint32_t PairRow(const Decoder& decoder, const RowOutput& out, uint32_t pairs) {
#define ZN_PAIR_CASE(kind) \
    case OutputKind::kind: \
        return PairLoop<OutputKind::kind>(decoder, out, pairs);
    switch (out.kind) {
        ZN_PAIR_CASE(kRGB16)
        ZN_PAIR_CASE(kRGB24)
        ZN_PAIR_CASE(kBGR24)
        ZN_PAIR_CASE(kRGB32)
        ZN_PAIR_CASE(kBGR32)
        ZN_PAIR_CASE(kPlanar24)
        ZN_PAIR_CASE(kGray8)
        ZN_PAIR_CASE(kGray10)
        ZN_PAIR_CASE(kGray12)
        ZN_PAIR_CASE(kGray14)
        ZN_PAIR_CASE(kGray16)
    }
#undef ZN_PAIR_CASE
    return 0;
}

// Dual taps: pair k holds the k-th pixel of each tap; a tap with step +1 fills its half
// of the line from the half's start, any other step from the half's end.
template <OutputKind Kind, class Decoder>
uint32_t DualTapLoop(const Decoder& decoder, const RowOutput& out, uint32_t half, int32_t leftStep,
                     int32_t rightStep) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    if (half < n) return 0;
    const Decoder source = decoder;
    const RowOutput output = out;
    // The output's halves may run backwards: only the source can be kept aligned.
    ForEachVector(n, half, SecondVectorFor(decoder, nullptr, 0, n), [&](size_t k) {
        V8 first, second;
        source.Decode(d, k, first, second);
        if (leftStep == 1) {
            GrayStore<Kind>::Put(d, output, k, first);
        } else {
            GrayStore<Kind>::Put(d, output, half - k - n, ReverseBytes(d, first));
        }
        if (rightStep == 1) {
            GrayStore<Kind>::Put(d, output, half + k, second);
        } else {
            GrayStore<Kind>::Put(d, output, 2 * size_t{half} - k - n, ReverseBytes(d, second));
        }
    });
    return half;
}

template <class Decoder>
uint32_t DualTapRow(const Decoder& decoder, const RowOutput& out, uint32_t half, int32_t leftStep,
                    int32_t rightStep) {
#define ZN_TAP_CASE(kind)  \
    case OutputKind::kind: \
        return DualTapLoop<OutputKind::kind>(decoder, out, half, leftStep, rightStep);
    switch (out.kind) {
        ZN_TAP_CASE(kRGB16)
        ZN_TAP_CASE(kRGB24)
        ZN_TAP_CASE(kBGR24)
        ZN_TAP_CASE(kRGB32)
        ZN_TAP_CASE(kBGR32)
        ZN_TAP_CASE(kPlanar24)
        ZN_TAP_CASE(kGray8)
        ZN_TAP_CASE(kGray10)
        ZN_TAP_CASE(kGray12)
        ZN_TAP_CASE(kGray14)
        ZN_TAP_CASE(kGray16)
    }
#undef ZN_TAP_CASE
    return 0;
}

}  // namespace

uint32_t GrayscaleRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                      uint32_t count) {
    const uint8_t* line = source.line;
    const int shift = static_cast<int>(source.shift);
    switch (layout) {
        case GrayLayout::k8Bit:
            return GrayRow(Gray8{line, shift}, out, count);
        case GrayLayout::k16Bit:
            return GrayRow(Gray16{line, shift}, out, count);
        case GrayLayout::kSigned8:
            return GrayRow(Signed8{line}, out, count);
        case GrayLayout::kPackedGEV:
            return PairRow(PackedGEV{line}, out, count);
        case GrayLayout::kPacked12:
#if HWY_TARGET == HWY_AVX3_DL
            if (shift == 4 && out.kind == OutputKind::kGray8) {
                return GrayLoop<OutputKind::kGray8>(Packed12Top8{line}, out, 2 * count) / 2;
            }
#endif
            return PairRow(Packed12{line, shift}, out, count);
    }
    return 0;
}

uint32_t GrayscaleDualTapRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                             uint32_t pairs, int32_t leftStep, int32_t rightStep) {
    const uint8_t* line = source.line;
    const int shift = static_cast<int>(source.shift);
    switch (layout) {
        case GrayLayout::k8Bit:
            return DualTapRow(Gray8Pairs{line, shift}, out, pairs, leftStep, rightStep);
        case GrayLayout::k16Bit:
            return DualTapRow(Gray16Pairs{line, shift}, out, pairs, leftStep, rightStep);
        case GrayLayout::kPacked12:
            return DualTapRow(Packed12{line, shift}, out, pairs, leftStep, rightStep);
        default:
            return 0;
    }
}
#else
uint32_t GrayscaleRow(GrayLayout, const RowSource&, const RowOutput&, uint32_t) {
    return 0;
}
uint32_t GrayscaleDualTapRow(GrayLayout, const RowSource&, const RowOutput&, uint32_t, int32_t,
                             int32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(GrayscaleRow);
HWY_EXPORT(GrayscaleDualTapRow);

uint32_t GrayscaleVectorRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                            uint32_t count) {
    if (count < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(GrayscaleRow)(layout, source, out, count);
}

uint32_t GrayscaleDualTapVectorRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                                   uint32_t pairs, int32_t leftStep, int32_t rightStep) {
    if (pairs < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(GrayscaleDualTapRow)(layout, source, out, pairs, leftStep, rightStep);
}

}  // namespace ZnConvertersLib
#endif
