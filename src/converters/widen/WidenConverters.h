#pragma once

// Converters of a camera's bit-stream packings and N-bit words: to 16-bit words at their
// depth, scaled to the whole 16-bit range (value << (16 - N)), or to their top eight bits.
// They decode the packings that no built-in type reads and feed the built-in converters
// through chains.

#include <cstdint>

#include "ZnConvertersLib/PixelConverter.h"
#include "converters/widen/WidenKernels.h"
#include "converters/widen/WidenRows.h"

namespace ZnConvertersLib {

class WidenConverter : public PixelConverter {
public:
    // Samples of `bits` bits in `layout`, shifted left by `shift` into 16-bit words.
    WidenConverter(const int64& source, const int64& destination, WideLayout layout, uint32_t bits,
                   uint32_t shift)
        : WidenConverter(source, destination, layout, WideOutput::kWords, bits, shift) {}
    // The top eight bits of each sample.
    WidenConverter(const int64& source, const int64& destination, WideLayout layout, uint32_t bits)
        : WidenConverter(source, destination, layout, WideOutput::kTopByte, bits, 0) {}

    uint32_t GetSourceLineSize(uint32_t width) const override {
        return WideLineBytes(mLayout, width);
    }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        const uint32_t done = WidenVectorRow(mLayout, mOutput, mBits, mShift, source,
                                             WideLineBytes(mLayout, width), destination, width);
        WidenPlainRow(mLayout, mOutput, mBits, mShift, source, destination, done, width - done);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }

    WideLayout GetLayout() const { return mLayout; }

private:
    WidenConverter(const int64& source, const int64& destination, WideLayout layout,
                   WideOutput output, uint32_t bits, uint32_t shift)
        : PixelConverter(source, destination, 2, output == WideOutput::kWords ? 2 : 1, 1, 1),
          mLayout(layout),
          mOutput(output),
          mBits(bits),
          mShift(shift) {}

    WideLayout mLayout;
    WideOutput mOutput;
    uint32_t mBits;
    uint32_t mShift;
};

}  // namespace ZnConvertersLib
