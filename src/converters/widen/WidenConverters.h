#pragma once

// Converters to 16-bit words at full depth: a camera's bit-stream packings unpacked, and
// N-bit samples scaled to the whole 16-bit range (value << (16 - N)). They decode the
// packings that no built-in type reads and feed the built-in converters through chains.

#include <cstdint>

#include "ZnConvertersLib/PixelConverter.h"
#include "converters/widen/WidenKernels.h"
#include "converters/widen/WidenRows.h"

namespace ZnConvertersLib {

class WidenTo16 : public PixelConverter {
public:
    // Samples of `bits` bits in `layout`, shifted left by `shift` into 16-bit words.
    WidenTo16(const int64& source, const int64& destination, WideLayout layout, uint32_t bits,
              uint32_t shift)
        : PixelConverter(source, destination, 2, 2, 1, 1),
          mLayout(layout),
          mBits(bits),
          mShift(shift) {}

    uint32_t GetSourceLineSize(uint32_t width) const override {
        return WideLineBytes(mLayout, width);
    }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        const uint32_t done = WidenVectorRow(mLayout, mBits, mShift, source,
                                             WideLineBytes(mLayout, width), destination, width);
        WidenPlainRow(mLayout, mBits, mShift, source, destination, done, width - done);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }

    WideLayout GetLayout() const { return mLayout; }

private:
    WideLayout mLayout;
    uint32_t mBits;
    uint32_t mShift;
};

}  // namespace ZnConvertersLib
