#pragma once

// Building blocks of the gray kernels: sample readers that turn pixel i (or pair k) of a
// source line into 8-bit gray values, and placement loops that hand them to the output
// writer in order, in pairs, or in dual-tap order. In-order placement starts with the
// family's vector row (GrayscaleKernels.h); the plain rows are its reference and finish
// each line.

#include <cstddef>
#include <cstdint>

#include "converters/common/KernelSupport.h"
#include "converters/common/RowCall.h"
#include "converters/gray/GrayscaleKernels.h"

namespace ZnConvertersLib {
namespace GrayscaleDetail {

// Shifts of 32 or more would be undefined; only the low five bits of a shift count.
constexpr uint32_t kShiftMask = 31;

struct Gray8Pixels {
    const unsigned char* line;
    uint32_t shift;
    uint8_t operator()(std::size_t i) const { return static_cast<uint8_t>(line[i] >> shift); }
};

struct Gray16Pixels {
    const unsigned char* line;
    uint32_t shift;
    uint8_t operator()(std::size_t i) const {
        return static_cast<uint8_t>(LoadLE16(line + 2 * i) >> shift);
    }
};

// (s + 128) mod 256 of a two's complement byte is its top bit flipped.
struct SignedGray8Pixels {
    const unsigned char* line;
    uint8_t operator()(std::size_t i) const { return static_cast<uint8_t>(line[i] ^ 0x80u); }
};

// Pair readers: (first, second) of pair k, the two pixels of one 3-byte group.
struct GevPairs {
    const unsigned char* line;
    void operator()(std::size_t k, uint8_t& first, uint8_t& second) const {
        const unsigned char* group = line + 3 * k;
        first = group[0];
        second = group[2];
    }
};

struct Packed12Pairs {
    const unsigned char* line;
    uint32_t shift;
    void operator()(std::size_t k, uint8_t& first, uint8_t& second) const {
        const unsigned char* group = line + 3 * k;
        const uint32_t p0 = group[0] | ((group[1] & 0x0Fu) << 8);
        const uint32_t p1 = (group[1] >> 4) | (static_cast<uint32_t>(group[2]) << 4);
        first = static_cast<uint8_t>(p0 >> shift);
        second = static_cast<uint8_t>(p1 >> shift);
    }
};

// Views a per-pixel reader as pairs of neighbouring pixels (the two taps).
template <class Pixels>
struct PixelPairs {
    Pixels pixels;
    void operator()(std::size_t k, uint8_t& first, uint8_t& second) const {
        first = pixels(2 * k);
        second = pixels(2 * k + 1);
    }
};

// The plain rows: pixels begin .. end - 1, and pairs begin .. end - 1 to pixels 2k, 2k + 1.
template <class Output, class Pixels>
void StoreGrayRow_C(const Pixels& pixels, const LineWriter<Output>& out, uint32_t begin,
                    uint32_t end) {
    for (uint32_t i = begin; i < end; ++i) out.StoreGray(i, pixels(i));
}

template <class Output, class Pairs>
void StoreGrayPairs_C(const Pairs& pairs, const LineWriter<Output>& out, uint32_t begin,
                      uint32_t end) {
    for (uint32_t k = begin; k < end; ++k) {
        uint8_t first, second;
        pairs(k, first, second);
        out.StoreGray(2 * static_cast<std::ptrdiff_t>(k), first);
        out.StoreGray(2 * static_cast<std::ptrdiff_t>(k) + 1, second);
    }
}

// How many leading pixels a vector row converts; readers without one convert none.
template <class Output, class Pixels>
uint32_t StoreGrayRowFast(const Pixels&, const LineWriter<Output>&, uint32_t) {
    return 0;
}
template <class Output>
uint32_t StoreGrayRowFast(const Gray8Pixels& pixels, const LineWriter<Output>& out,
                          uint32_t count) {
    return GrayscaleVectorRow(GrayLayout::k8Bit, {pixels.line, 0, pixels.shift},
                              MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), count);
}
template <class Output>
uint32_t StoreGrayRowFast(const Gray16Pixels& pixels, const LineWriter<Output>& out,
                          uint32_t count) {
    return GrayscaleVectorRow(GrayLayout::k16Bit, {pixels.line, 0, pixels.shift},
                              MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), count);
}
template <class Output>
uint32_t StoreGrayRowFast(const SignedGray8Pixels& pixels, const LineWriter<Output>& out,
                          uint32_t count) {
    return GrayscaleVectorRow(GrayLayout::kSigned8, {pixels.line, 0, 0},
                              MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), count);
}

template <class Output, class Pixels>
void WriteSequential(const Pixels& pixels, const LineWriter<Output>& out, uint32_t count) {
    StoreGrayRow_C(pixels, out, StoreGrayRowFast(pixels, out, count), count);
}

// Whole GEV-packed pairs in order.
template <class Output>
void WritePairs(const GevPairs& pairs, const LineWriter<Output>& out, uint32_t pairCount) {
    const uint32_t done =
        GrayscaleVectorRow(GrayLayout::kPackedGEV, {pairs.line, 0, 0},
                           MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), pairCount);
    StoreGrayPairs_C(pairs, out, done, pairCount);
}

// The vector row of a dual-tap line, which converts all of it or nothing.
template <class Output, class Pixels>
bool DualTapFast(const PixelPairs<Pixels>& pairs, const LineWriter<Output>& out, uint32_t half,
                 int32_t leftStep, int32_t rightStep) {
    constexpr GrayLayout kLayout =
        std::is_same<Pixels, Gray8Pixels>::value ? GrayLayout::k8Bit : GrayLayout::k16Bit;
    return GrayscaleDualTapVectorRow(kLayout, {pairs.pixels.line, 0, pairs.pixels.shift},
                                     MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), half,
                                     leftStep, rightStep) == half;
}
template <class Output>
bool DualTapFast(const Packed12Pairs& pairs, const LineWriter<Output>& out, uint32_t half,
                 int32_t leftStep, int32_t rightStep) {
    return GrayscaleDualTapVectorRow(GrayLayout::kPacked12, {pairs.line, 0, pairs.shift},
                                     MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), half,
                                     leftStep, rightStep) == half;
}

// Pair k holds the k-th pixel of each tap. A tap with step +1 fills its half from the
// half's start, any other step from the half's end. evenWidth must be even.
template <class Output, class Pairs>
void WriteDualTap(const Pairs& pairs, const LineWriter<Output>& out, uint32_t evenWidth,
                  int32_t leftStep, int32_t rightStep) {
    const std::ptrdiff_t half = evenWidth / 2;
    if (DualTapFast(pairs, out, static_cast<uint32_t>(half), leftStep, rightStep)) return;
    std::ptrdiff_t left = leftStep == 1 ? 0 : half - 1;
    std::ptrdiff_t right = rightStep == 1 ? half : 2 * half - 1;
    for (std::ptrdiff_t k = 0; k < half; ++k, left += leftStep, right += rightStep) {
        uint8_t first, second;
        pairs(k, first, second);
        out.StoreGray(left, first);
        out.StoreGray(right, second);
    }
}

// Whole pairs of the LSB-first 12-bit packing in order.
template <class Output>
void WritePackedPairs(const Packed12Pairs& pairs, const LineWriter<Output>& out,
                      uint32_t pairCount) {
    const uint32_t done =
        GrayscaleVectorRow(GrayLayout::kPacked12, {pairs.line, 0, pairs.shift},
                           MakeGrayRowOutput<Output>(out.Line(), out.PlaneSize()), pairCount);
    StoreGrayPairs_C(pairs, out, done, pairCount);
}

}  // namespace GrayscaleDetail
}  // namespace ZnConvertersLib
