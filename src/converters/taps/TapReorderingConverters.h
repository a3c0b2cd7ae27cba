#pragma once

// Gray sources whose camera interleaves the pixels of several readout taps. The output
// has the source's pixel size; pixels are moved, never changed.
//
// Quad taps multiplexed on two outputs: the four taps each read one quarter of the line
// from its right end towards its left end and arrive one pixel each in turn, so source
// pixel 4k + t belongs at (t + 1) * Q - 1 - k, where Q is a quarter of the destination
// line. Q is taken from the destination stride (padding included), not from the pixel
// count, so the stride must hold at least the pixel count rounded down to four.
//
// Dual lines: two image lines arrive interleaved byte by byte over two source lines. The
// even destination line takes the even bytes starting at its own source line, the odd one
// the odd bytes starting one source line earlier.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/taps/TapKernels.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {
namespace TapReorderingDetail {

constexpr uint32_t kTapGranularity = 4;

// Pixels of PixelBytes bytes each, copied as they are.
template <std::size_t PixelBytes>
void ReorderQuadTaps(const unsigned char* source, unsigned char* destination,
                     uint32_t destinationStride, uint32_t wholeGroupsPixels) {
    // A pixel count below one group would make the group count wrap; nothing is written.
    if (wholeGroupsPixels == 0) return;
    const std::ptrdiff_t quarter = destinationStride / (PixelBytes * 4);
    const uint32_t groups = (wholeGroupsPixels - 1) / 4 + 1;
    const uint32_t done = QuadTapsVectorRow(PixelBytes, source, destination,
                                            static_cast<std::size_t>(quarter), groups);
    for (uint32_t k = done; k < groups; ++k) {
        const unsigned char* group = source + static_cast<std::size_t>(k) * 4 * PixelBytes;
        for (std::ptrdiff_t tap = 0; tap < 4; ++tap) {
            const std::ptrdiff_t target = (tap + 1) * quarter - 1 - static_cast<std::ptrdiff_t>(k);
            std::memcpy(destination + target * static_cast<std::ptrdiff_t>(PixelBytes),
                        group + tap * PixelBytes, PixelBytes);
        }
    }
}

// Quad-tap converters of PixelBytes-byte pixels. Pixels after the last whole group of four
// are not written.
template <std::size_t PixelBytes>
class QuadTapsTo : public PixelConverter {
public:
    QuadTapsTo(const int64& sourceTypeID, const int64& destinationTypeID, uint32_t sourcePixelSize,
               uint32_t destinationPixelSize)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize,
                         kTapGranularity, 1) {}

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        ReorderQuadTaps<PixelBytes>(source, destination, context->destinationStride,
                                    width - width % GetPixelGranularity());
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

}  // namespace TapReorderingDetail

using Dalsa4x8ToGrayscale8 = TapReorderingDetail::QuadTapsTo<1>;

// 16-bit words, copied unchanged (no shift): a 10-bit source stays 10-bit.
class Dalsa4x16ToGrayscale16 : public TapReorderingDetail::QuadTapsTo<2> {
public:
    using QuadTapsTo::QuadTapsTo;

    // The 10-bit quad-tap gray source to 10-bit gray; with normalized set, both identifiers
    // carry the Normalized attribute.
    explicit Dalsa4x16ToGrayscale16(bool normalized)
        : QuadTapsTo(SourceFor(normalized), DestinationFor(normalized), 2, 2) {}

private:
    static int64 SourceFor(bool normalized) {
        return 0x10007 | (normalized ? PixelTypeBits::kNormalized : 0u);
    }
    static int64 DestinationFor(bool normalized) {
        return 0x10002 | (normalized ? PixelTypeBits::kNormalized : 0u);
    }
};

// Finds which destination line it writes from the destination start that the conversion
// call records in the calling thread's context, so one object can serve several threads.
class DualLinesGrayscale8ToGrayscale8 : public PixelConverter {
public:
    DualLinesGrayscale8ToGrayscale8(const int64& sourceTypeID, const int64& destinationTypeID,
                                    uint32_t sourcePixelSize, uint32_t destinationPixelSize)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize,
                         TapReorderingDetail::kTapGranularity, 1) {}

    // Outside a conversion (no destination start, or a zero stride) every line counts as
    // even, rather than dividing by zero or comparing unrelated pointers.
    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        const unsigned char* start = context->destinationStart;
        const std::ptrdiff_t stride = context->destinationStride;
        const std::ptrdiff_t lineIndex =
            (start != nullptr && stride != 0) ? (destination - start) / stride : 0;
        if (lineIndex % 2 != 0) source = source - context->sourceStride + 1;
        // Whole groups of four and the single pixels after them take the same every-other
        // byte, so one loop covers both.
        const uint32_t done = EveryOtherByteVectorRow(source, destination, width);
        for (uint32_t i = done; i < width; ++i) destination[i] = source[2 * std::size_t{i}];
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

}  // namespace ZnConvertersLib
