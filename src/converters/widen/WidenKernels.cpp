// Vector rows of the widening family, written once and compiled for every target
// (WidenKernels.h). A bit-stream sample spans at most two bytes: a byte shuffle puts
// each sample's two bytes into a 16-bit lane, a per-lane multiply lifts the sample's
// bits to the top of the lane and one shift brings them down.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/widen/WidenKernels.cpp"
#include "converters/widen/WidenKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

// Eight samples a step, from one 16-byte block: the shuffles stay within 128 bits on
// every target.
using B8 = hn::Full128<uint8_t>;
using B16 = hn::Full128<uint16_t>;

struct BitStream {
    uint32_t bytesPerStep;  // 10 for 10p, 12 for 12p
    uint8_t pairs[16];      // byte pair of each sample
    uint16_t lift[8];       // 2^(top - bit offset of each sample)
    int top;                // 16 - sample bits
};

constexpr BitStream k10p{
    10, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9}, {64, 16, 4, 1, 64, 16, 4, 1}, 6};
constexpr BitStream k12p{
    12, {0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11}, {16, 1, 16, 1, 16, 1, 16, 1}, 4};

uint32_t StreamRow(const BitStream& stream, uint32_t shift, const unsigned char* source,
                   uint32_t sourceBytes, unsigned char* destination, uint32_t count) {
    const B8 d8;
    const B16 d16;
    const auto pairs = hn::LoadU(d8, stream.pairs);
    const auto lift = hn::LoadU(d16, stream.lift);
    uint32_t i = 0;
    for (size_t at = 0; i + 8 <= count && at + 16 <= sourceBytes;
         i += 8, at += stream.bytesPerStep) {
        const auto bytes = hn::TableLookupBytes(hn::LoadU(d8, source + at), pairs);
        // The multiply keeps the low 16 bits: the sample's bits end at the top.
        auto samples = hn::ShiftRightSame(hn::Mul(hn::BitCast(d16, bytes), lift), stream.top);
        samples = hn::ShiftLeftSame(samples, static_cast<int>(shift));
        hn::StoreU(samples, d16, reinterpret_cast<uint16_t*>(destination) + i);
    }
    return i;
}

uint32_t WordsRow(uint32_t bits, uint32_t shift, const unsigned char* source,
                  unsigned char* destination, uint32_t count) {
    const hn::ScalableTag<uint16_t> d;
    const size_t n = hn::Lanes(d);
    const auto most = hn::Set(d, static_cast<uint16_t>((1u << bits) - 1));
    const auto* in = reinterpret_cast<const uint16_t*>(source);
    auto* out = reinterpret_cast<uint16_t*>(destination);
    uint32_t i = 0;
    for (; i + n <= count; i += static_cast<uint32_t>(n)) {
        const auto v = hn::Min(hn::LoadU(d, in + i), most);
        hn::StoreU(hn::ShiftLeftSame(v, static_cast<int>(shift)), d, out + i);
    }
    return i;
}

}  // namespace

uint32_t WidenRow(WideLayout layout, uint32_t bits, uint32_t shift, const unsigned char* source,
                  uint32_t sourceBytes, unsigned char* destination, uint32_t count) {
    switch (layout) {
        case WideLayout::kPacked10p:
            return StreamRow(k10p, shift, source, sourceBytes, destination, count);
        case WideLayout::kPacked12p:
            return StreamRow(k12p, shift, source, sourceBytes, destination, count);
        default:
            return WordsRow(bits, shift, source, destination, count);
    }
}
#else
uint32_t WidenRow(WideLayout, uint32_t, uint32_t, const unsigned char*, uint32_t, unsigned char*,
                  uint32_t) {
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

uint32_t WidenVectorRow(WideLayout layout, uint32_t bits, uint32_t shift,
                        const unsigned char* source, uint32_t sourceBytes,
                        unsigned char* destination, uint32_t count) {
    if (count < 8) return 0;
    return ZN_CHOSEN_ROW_OF(WidenRow)(layout, bits, shift, source, sourceBytes, destination, count);
}

}  // namespace ZnConvertersLib
#endif
