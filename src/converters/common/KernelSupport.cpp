#include "converters/common/KernelSupport.h"

namespace ZnConvertersLib {

uint32_t ContinuousLineWidth(const UnitGranularityConverter& converter, uint32_t sourceWidth,
                             uint32_t sourceHeight, uint32_t destinationWidth,
                             uint32_t destinationHeight, uint32_t width, uint32_t height,
                             uint32_t destinationPadding, uint32_t sourcePadding) {
    const uint64_t pixels = uint64_t{width} * height;
    // Planar layouts place their planes by the frame heights, which must stay the same.
    if (pixels < kFewestContinuousPixels || pixels > UINT32_MAX || height < 2 ||
        sourcePadding != 0 || destinationPadding != 0 || sourceWidth != width ||
        destinationWidth != width || sourceHeight != height || destinationHeight != height) {
        return 0;
    }
    const uint32_t group = converter.IndependentGroup();
    if (group == 0 || width % group != 0 ||
        PixelTypeBits::Has(converter.GetSourceTypeID(), PixelTypeBits::kInterlaced)) {
        return 0;
    }
    const uint64_t sourceBytes = uint64_t{converter.GetSourceLineSize(width)} * height;
    const uint64_t destinationBytes = uint64_t{converter.GetDestinationLineSize(width)} * height;
    if (sourceBytes > UINT32_MAX || destinationBytes > UINT32_MAX) return 0;
    const auto line = static_cast<uint32_t>(pixels);
    if (converter.GetSourceLineSize(line) != sourceBytes ||
        converter.GetDestinationLineSize(line) != destinationBytes) {
        return 0;
    }
    return line;
}

ZnUtilsLib::Result UnitGranularityConverter::Convert(
    const unsigned char* source, uint32_t sourceWidth, uint32_t sourceHeight,
    unsigned char* destination, uint32_t destinationWidth, uint32_t destinationHeight,
    uint32_t width, uint32_t height, uint32_t flags, uint32_t destinationPadding,
    unsigned char** scratchBuffer, uint32_t* scratchBufferSize, uint32_t sourcePadding) const {
    // Small frames skip even the check: their few line calls cost less than it does.
    if (uint64_t{width} * height < kFewestContinuousPixels) {
        return PixelConverter::Convert(source, sourceWidth, sourceHeight, destination,
                                       destinationWidth, destinationHeight, width, height, flags,
                                       destinationPadding, scratchBuffer, scratchBufferSize,
                                       sourcePadding);
    }
    if (const uint32_t line = ContinuousLineWidth(*this, sourceWidth, sourceHeight,
                                                  destinationWidth, destinationHeight, width,
                                                  height, destinationPadding, sourcePadding)) {
        return PixelConverter::Convert(source, line, 1, destination, line, 1, line, 1, flags, 0,
                                       scratchBuffer, scratchBufferSize, 0);
    }
    return PixelConverter::Convert(source, sourceWidth, sourceHeight, destination, destinationWidth,
                                   destinationHeight, width, height, flags, destinationPadding,
                                   scratchBuffer, scratchBufferSize, sourcePadding);
}

}  // namespace ZnConvertersLib
