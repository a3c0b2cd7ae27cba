#pragma once

// The line walk of a conversion: which kernel call gets which source and destination
// line. Convert walks the whole frame; the frame API walks bands of it on several
// threads. Both give each call the same pointers and the same absolute line index, so a
// band converts exactly what the whole walk would have converted there.

#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

struct ConversionWalk {
    const unsigned char* source;
    unsigned char* destination;
    uint32_t sourceStride;
    uint32_t sourceHeight;
    uint32_t destinationStride;
    uint32_t destinationHeight;
    uint32_t width;
    uint32_t height;
    uint32_t flags;  // after defaulting
};

// Puts what kernels read about the whole frame into the calling thread's context.
inline void StartWalk(ConversionContext& context, const ConversionWalk& walk) {
    context.sourceStride = walk.sourceStride;
    context.sourceHeight = walk.sourceHeight;
    context.destinationStride = walk.destinationStride;
    context.destinationHeight = walk.destinationHeight;
    context.flags = walk.flags;
    context.destinationStart = walk.destination;
}

// Lines that one kernel call consumes: 2 for interlaced sources (one line of each field
// per pass), otherwise the converter's line granularity (0: the walk converts nothing).
inline uint32_t WalkStep(const PixelConverter& converter) {
    if (PixelTypeBits::Has(converter.GetSourceTypeID(), PixelTypeBits::kInterlaced)) return 2;
    return converter.GetLineGranularity();
}

// Converts lines [first, end) of the walk; first is a multiple of WalkStep. The context
// must be started for the walk and hold its filter.
inline void WalkLines(const PixelConverter& converter, ConversionContext& context,
                      const ConversionWalk& walk, uint32_t first, uint32_t end) {
    constexpr uint32_t kSecondFieldFirst = 0x1;
    // Offsets are computed per call rather than by advancing pointers, so no pointer is
    // ever formed past the last line a kernel is given. Advances keep the 32-bit
    // arithmetic of the strides they come from.
    const auto lines = [&](const unsigned char* firstSource, unsigned char* firstDestination,
                           uint32_t step, uint32_t sourceAdvance, uint32_t destinationAdvance,
                           uint32_t wholeLines) {
        for (uint64_t line = first; line < wholeLines && line < end; line += step) {
            const uint64_t call = line / step;
            context.currentLine = static_cast<uint32_t>(line);
            converter.ConvertLines(firstSource + call * sourceAdvance,
                                   firstDestination + call * destinationAdvance, walk.width);
        }
    };

    if (PixelTypeBits::Has(converter.GetSourceTypeID(), PixelTypeBits::kInterlaced)) {
        // Two fields one after the other in the source, interleaved in the destination.
        // With an odd height the last destination line stays unwritten.
        const uint32_t fieldOffset = (walk.sourceStride * walk.sourceHeight) >> 1;
        const bool secondFirst = (walk.flags & kSecondFieldFirst) != 0;
        const uint32_t wholeLines = walk.height - walk.height % 2;
        const uint32_t destinationAdvance = 2 * walk.destinationStride;
        lines(walk.source + (secondFirst ? fieldOffset : 0), walk.destination, 2, walk.sourceStride,
              destinationAdvance, wholeLines);
        lines(walk.source + (secondFirst ? 0 : fieldOffset),
              walk.destination + walk.destinationStride, 2, walk.sourceStride, destinationAdvance,
              wholeLines);
        return;
    }
    // A line granularity of 0 would make the walk meaningless; such a converter converts
    // nothing rather than faulting.
    const uint32_t step = converter.GetLineGranularity();
    if (step == 0) return;
    const uint32_t sourceAdvance = walk.sourceStride * step;
    const uint32_t destinationAdvance = walk.destinationStride * step;
    const uint32_t wholeLines = walk.height - walk.height % step;
    lines(walk.source, walk.destination, step, sourceAdvance, destinationAdvance, wholeLines);

    const uint64_t calls = wholeLines / step;
    const unsigned char* remainderSource = walk.source + calls * sourceAdvance;
    unsigned char* remainderDestination = walk.destination + calls * destinationAdvance;
    for (uint64_t line = first > wholeLines ? first : wholeLines; line < walk.height && line < end;
         ++line) {
        const uint64_t k = line - wholeLines;
        context.currentLine = static_cast<uint32_t>(line);
        converter.ConvertRemainderLine(remainderSource + k * walk.sourceStride,
                                       remainderDestination + k * walk.destinationStride,
                                       walk.width);
    }
}

}  // namespace ZnConvertersLib
