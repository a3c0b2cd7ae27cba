// Vector rows of the widening family, written once and compiled for every target
// (WidenKernels.h). A bit-stream sample spans at most two bytes: a byte shuffle puts
// each sample's two bytes into a 16-bit lane, a per-lane multiply lifts the sample's
// bits to the top of the lane and one shift brings them down.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/widen/WidenKernels.cpp"
#include "converters/widen/WidenKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

// Eight samples per 128-bit block, each block loaded from its own group of bytes: the
// byte shuffles stay within blocks on every target.
using D16 = hn::ScalableTag<uint16_t>;

struct BitStream {
    uint32_t bytesPerBlock;  // bytes of eight samples: 10 for 10p, 12 for 12p
    uint8_t pairs[16];       // the two bytes of each sample, low byte first
    uint16_t lift[8];        // 2^(top - bit offset of each sample in its two bytes)
    int top;                 // 16 - sample bits
};

constexpr BitStream k10p{
    10, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9}, {64, 16, 4, 1, 64, 16, 4, 1}, 6};
constexpr BitStream k12p{
    12, {0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11}, {16, 1, 16, 1, 16, 1, 16, 1}, 4};

// Block i of the vector from p + i * step.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* p, size_t step) {
    if constexpr (hn::MaxLanes(D()) <= 16) {
        return hn::LoadU(d, p);
    } else {
        const hn::Half<D> dh;
        return hn::Combine(d, LoadBlocks(dh, p + step * (hn::MaxLanes(dh) / 16), step),
                           LoadBlocks(dh, p, step));
    }
}

#if HWY_TARGET == HWY_AVX3_DL
// Byte j of the permute that gathers a vector's sample bytes: those of block j / 16, whose
// bytes start at j / 16 * bytesPerBlock. Built once, not for every line.
struct PermuteIndex {
    alignas(64) uint8_t bytes[64];
};
constexpr PermuteIndex IndexOf(const BitStream& stream) {
    PermuteIndex index{};
    for (size_t j = 0; j < 64; ++j) {
        index.bytes[j] = static_cast<uint8_t>(j / 16 * stream.bytesPerBlock + stream.pairs[j % 16]);
    }
    return index;
}
constexpr PermuteIndex kIndex10p = IndexOf(k10p);
constexpr PermuteIndex kIndex12p = IndexOf(k12p);

// One load and one byte permute across the whole vector gathers every sample's bytes.
class SampleBytes {
public:
    explicit SampleBytes(const BitStream& stream)
        : mIndex(_mm512_load_si512(stream.bytesPerBlock == k10p.bytesPerBlock ? kIndex10p.bytes
                                                                              : kIndex12p.bytes)) {}
    static size_t Reach(const BitStream&) { return 64; }
    HWY_INLINE V8 Gather(D8, const uint8_t* p) const {
        return V8{_mm512_permutexvar_epi8(mIndex, _mm512_loadu_si512(p))};
    }

private:
    __m512i mIndex;
};
#else
// A 16-byte load for each 128-bit block and a byte shuffle within blocks.
class SampleBytes {
public:
    explicit SampleBytes(const BitStream& stream)
        : mPairs(hn::LoadDup128(D8(), stream.pairs)), mStep(stream.bytesPerBlock) {}
    static size_t Reach(const BitStream& stream) {
        return (hn::Lanes(D8()) / 16 - 1) * stream.bytesPerBlock + 16;
    }
    HWY_INLINE V8 Gather(D8 d, const uint8_t* p) const {
        return hn::TableLookupBytes(LoadBlocks(d, p, mStep), mPairs);
    }

private:
    V8 mPairs;
    size_t mStep;
};
#endif

template <const BitStream& kStream, WideOutput kOutput>
uint32_t StreamRow(uint32_t shift, const unsigned char* source, uint32_t sourceBytes,
                   unsigned char* destination, uint32_t count) {
    constexpr size_t kOutBytes = kOutput == WideOutput::kWords ? 2 : 1;
    const D8 d8;
    const D16 d16;
    const size_t lanes = hn::Lanes(d16), blocks = lanes / 8;
    const SampleBytes gather(kStream);
    const auto lift = hn::LoadDup128(d16, kStream.lift);
    // Scaled to 16 bits, the lifted sample is already in place: only its low bits go.
    const bool fullRange = static_cast<int>(shift) == kStream.top;
    const auto high = hn::Set(d16, static_cast<uint16_t>(0xFFFF << kStream.top));
    const auto convert = [&](const uint8_t* bytes, uint8_t* out) {
        // The multiply keeps the low 16 bits: the sample's bits end at the top.
        const auto lifted = hn::Mul(hn::BitCast(d16, gather.Gather(d8, bytes)), lift);
        if constexpr (kOutput == WideOutput::kTopByte) {
            const hn::Repartition<int16_t, D16> di16;
            const hn::Rebind<uint8_t, decltype(di16)> dBytes;
            const auto top = hn::BitCast(di16, hn::ShiftRight<8>(lifted));
            hn::StoreU(hn::DemoteTo(dBytes, top), dBytes, out);
        } else {
            const auto samples = fullRange
                                     ? hn::And(lifted, high)
                                     : hn::ShiftLeftSame(hn::ShiftRightSame(lifted, kStream.top),
                                                         static_cast<int>(shift));
            hn::StoreU(samples, d16, reinterpret_cast<uint16_t*>(out));
        }
    };
    // Whole vectors while their loads end inside the line.
    const size_t reach = SampleBytes::Reach(kStream);
    const size_t step = blocks * kStream.bytesPerBlock;
    uint32_t i = 0;
    size_t at = 0;
    if constexpr (kOutput == WideOutput::kTopByte) {
        // Two vectors of samples make one of bytes: their high bytes, in order.
        for (; i + 2 * lanes <= count && at + step + reach <= sourceBytes;
             i += static_cast<uint32_t>(2 * lanes), at += 2 * step) {
            const auto low = hn::Mul(hn::BitCast(d16, gather.Gather(d8, source + at)), lift);
            const auto high =
                hn::Mul(hn::BitCast(d16, gather.Gather(d8, source + at + step)), lift);
            hn::StoreU(hn::ConcatOdd(d8, hn::BitCast(d8, high), hn::BitCast(d8, low)), d8,
                       destination + i);
        }
    }
    for (; i + lanes <= count && at + reach <= sourceBytes;
         i += static_cast<uint32_t>(lanes), at += step) {
        convert(source + at, destination + kOutBytes * i);
    }
    // The rest of the line through a staging copy, so no load passes the line's end:
    // a plain row would cost more than the whole vector part of a line.
    HWY_ALIGN uint8_t in[128];
    HWY_ALIGN uint8_t out[128];
    while (i < count) {
        const uint32_t n = static_cast<uint32_t>(std::min<size_t>(lanes, count - i));
        const size_t available = std::min(sourceBytes - at, reach);
        std::memset(in, 0, sizeof in);
        std::memcpy(in, source + at, available);
        convert(in, out);
        std::memcpy(destination + kOutBytes * i, out, kOutBytes * n);
        i += n;
        at += step;
    }
    return count;
}

// The last vector ends at the line end, overlapping the one before it.
uint32_t WordsRow(uint32_t bits, uint32_t shift, const unsigned char* source,
                  unsigned char* destination, uint32_t count) {
    const D16 d;
    const size_t n = hn::Lanes(d);
    if (count < n) return 0;
    const auto most = hn::Set(d, static_cast<uint16_t>((1u << bits) - 1));
    const auto* in = reinterpret_cast<const uint16_t*>(source);
    auto* out = reinterpret_cast<uint16_t*>(destination);
    ForEachVector(n, count, SecondVectorAt(in, 4 * 2, n), [&](size_t i) {
        const auto v = hn::Min(hn::LoadU(d, in + i), most);
        hn::StoreU(hn::ShiftLeftSame(v, static_cast<int>(shift)), d, out + i);
    });
    return count;
}

}  // namespace

uint32_t WidenRow(WideLayout layout, WideOutput output, uint32_t bits, uint32_t shift,
                  const unsigned char* source, uint32_t sourceBytes, unsigned char* destination,
                  uint32_t count) {
    constexpr WideOutput kWords = WideOutput::kWords, kTopByte = WideOutput::kTopByte;
    const bool words = output == kWords;
    switch (layout) {
        case WideLayout::kPacked10p:
            return words
                       ? StreamRow<k10p, kWords>(shift, source, sourceBytes, destination, count)
                       : StreamRow<k10p, kTopByte>(shift, source, sourceBytes, destination, count);
        case WideLayout::kPacked12p:
            return words
                       ? StreamRow<k12p, kWords>(shift, source, sourceBytes, destination, count)
                       : StreamRow<k12p, kTopByte>(shift, source, sourceBytes, destination, count);
        default:
            return words ? WordsRow(bits, shift, source, destination, count) : 0;
    }
}
#else
uint32_t WidenRow(WideLayout, WideOutput, uint32_t, uint32_t, const unsigned char*, uint32_t,
                  unsigned char*, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(WidenRow);

uint32_t WidenVectorRow(WideLayout layout, WideOutput output, uint32_t bits, uint32_t shift,
                        const unsigned char* source, uint32_t sourceBytes,
                        unsigned char* destination, uint32_t count) {
    if (count < 8) return 0;
    return ZN_CHOSEN_ROW_OF(WidenRow)(layout, output, bits, shift, source, sourceBytes, destination,
                                      count);
}

}  // namespace ZnConvertersLib
#endif
