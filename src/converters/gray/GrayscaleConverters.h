#pragma once

// Converters from single-channel (gray) sources: plain 8- and 16-bit samples, signed 8-bit,
// and the two 3-bytes-per-2-pixels packings. Gray values are never filtered: every output,
// colour or gray, receives the 8-bit value V unchanged (replicated on colour outputs).
//
// Sources read by a line-scan camera through two taps deliver the taps' pixels
// alternately (first tap, second tap, first, ...). GrayscaleTo and Grayscale12PackedTo put
// them back in place: the first tap fills the left half of the line, the second the right
// half, and an inverted tap fills its half from the far end. The steps come from the tap
// layout bits of the source identifier.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/common/KernelSupport.h"
#include "converters/gray/GrayscaleConvertersDetail.h"

namespace ZnConvertersLib {

// Destination steps of the two readout taps; (0, 0) means the pixels are in order.
struct DualTapSteps {
    int32_t left;
    int32_t right;
};

// The first tap-layout bit set in the identifier decides, in bit order 24 to 27.
inline DualTapSteps DualTapStepsFor(const int64& sourceTypeID) {
    using namespace PixelTypeBits;
    if (Has(sourceTypeID, kDualLeftRight)) return {1, 1};
    if (Has(sourceTypeID, kDualLeftRightInverted)) return {1, -1};
    if (Has(sourceTypeID, kDualLeftInvertedRight)) return {-1, 1};
    if (Has(sourceTypeID, kDualLeftInvertedRightInverted)) return {-1, -1};
    return {0, 0};
}

// Base of the gray converters that can undo a dual-tap readout: the tap steps and the
// source shift (only its low five bits are used).
class DualTapGrayscaleConverter : public UnitGranularityConverter {
public:
    // Tap steps from the tap-layout bits of the source identifier.
    DualTapGrayscaleConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                              uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                              uint32_t sourceShift)
        : DualTapGrayscaleConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                                    destinationPixelSize, DualTapStepsFor(sourceTypeID),
                                    sourceShift) {}

    DualTapGrayscaleConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                              uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                              int32_t leftStep, int32_t rightStep, uint32_t sourceShift)
        : DualTapGrayscaleConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                                    destinationPixelSize, DualTapSteps{leftStep, rightStep},
                                    sourceShift) {}

    int32_t GetLeftStep() const { return mSteps.left; }
    int32_t GetRightStep() const { return mSteps.right; }
    uint32_t GetSourceShift() const { return mSourceShift; }
    // Taps put each pixel at a place that depends on the whole line.
    uint32_t IndependentGroup() const override { return InPixelOrder() ? 1 : 0; }

protected:
    bool InPixelOrder() const { return mSteps.left == 0 && mSteps.right == 0; }

private:
    DualTapGrayscaleConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                              uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                              DualTapSteps steps, uint32_t sourceShift)
        : UnitGranularityConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                                   destinationPixelSize),
          mSteps(steps),
          mSourceShift(sourceShift) {}

    DualTapSteps mSteps;
    uint32_t mSourceShift;
};

// 8-bit samples (unsigned char) or 16-bit little-endian samples (unsigned short), each
// shifted right by the source shift and reduced to 8 bits.
template <class Sample, class Output>
class GrayscaleTo : public DualTapGrayscaleConverter {
    static_assert(std::is_same<Sample, unsigned char>::value ||
                      std::is_same<Sample, unsigned short>::value,
                  "gray samples are 8 or 16 bits");

public:
    using DualTapGrayscaleConverter::DualTapGrayscaleConverter;

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        using namespace GrayscaleDetail;
        using Pixels = typename std::conditional<std::is_same<Sample, unsigned char>::value,
                                                 Gray8Pixels, Gray16Pixels>::type;
        KernelContextScope context;
        const LineWriter<Output> out(destination, *context);
        const Pixels pixels{source, GetSourceShift() & kShiftMask};
        if (InPixelOrder()) {
            WriteSequential(pixels, out, width);
        } else {
            WriteDualTap(PixelPairs<Pixels>{pixels}, out, width & ~1u, GetLeftStep(),
                         GetRightStep());
        }
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

// Two's complement bytes, offset so that -128 is black and 127 white.
template <class Output>
class Grayscale8SignedTo : public UnitGranularityConverter {
public:
    using UnitGranularityConverter::UnitGranularityConverter;

    uint32_t IndependentGroup() const override { return 1; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        const LineWriter<Output> out(destination, *context);
        GrayscaleDetail::WriteSequential(GrayscaleDetail::SignedGray8Pixels{source}, out, width);
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

// GigE Vision packing: 3 bytes per pixel pair, the outer bytes holding each pixel's eight
// most significant bits, so no shift is needed and the middle byte is never read.
//
// An odd width still converts its last group whole: one pixel beyond the width is
// written, so destination lines need room for an even number of pixels. Callers rely on
// the pairing, so the overrun stays.
template <class Output>
class GrayscalePackedGEVTo : public UnitGranularityConverter {
public:
    using UnitGranularityConverter::UnitGranularityConverter;

    uint32_t GetSourceLineSize(uint32_t width) const override { return width * 3 / 2; }
    uint32_t IndependentGroup() const override { return 2; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        const LineWriter<Output> out(destination, *context);
        if (width != 0) {
            GrayscaleDetail::WritePairs(GrayscaleDetail::GevPairs{source}, out,
                                        (width - 1) / 2 + 1);
        }
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

// LSB-first 12-bit packing (also used for 10-bit values): p0 = b0 | (b1 & 0x0F) << 8,
// p1 = b1 >> 4 | b2 << 4. Unlike the GEV packing, an odd width drops its last pixel: only
// whole pairs inside the width are converted.
template <class Output>
class Grayscale12PackedTo : public DualTapGrayscaleConverter {
public:
    using DualTapGrayscaleConverter::DualTapGrayscaleConverter;

    uint32_t GetSourceLineSize(uint32_t width) const override { return width * 3 / 2; }
    uint32_t IndependentGroup() const override { return InPixelOrder() ? 2 : 0; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        using namespace GrayscaleDetail;
        KernelContextScope context;
        const LineWriter<Output> out(destination, *context);
        const Packed12Pairs pairs{source, GetSourceShift() & kShiftMask};
        const uint32_t evenWidth = width & ~1u;
        if (InPixelOrder()) {
            WritePackedPairs(pairs, out, evenWidth / 2);
        } else {
            WriteDualTap(pairs, out, evenWidth, GetLeftStep(), GetRightStep());
        }
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }
};

}  // namespace ZnConvertersLib
