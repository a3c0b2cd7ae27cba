#pragma once

// What a converter needs of a frame's geometry, and what it touches outside the frame:
// the one place that knows each layout's unwritten pixels and documented overruns.

#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/PixelConverter.h"

namespace ZnConvertersLib {
namespace FrameDetail {

struct LayoutRules {
    const char* layout = nullptr;  // names the layout in messages
    // Widths that are not a multiple leave pixels unwritten (or convert past the line).
    uint32_t widthMultiple = 1;
    bool evenHeight = false;  // an odd height leaves the last line unwritten
    // Odd widths: the last two-pixel group, groupBytes long, is read whole and its second
    // pixel written past the line.
    uint32_t groupBytes = 0;
    // Demosaicing: at least 2x2 pixels; an odd height writes one line past the frame.
    bool demosaics = false;
    // Quad taps place pixels by the destination stride: it must be the line itself.
    bool destinationStrideIsLine = false;
};

// The rules of a converter the library built; a converter of the application's gets the
// rules of its walk alone.
LayoutRules RulesOf(const PixelConverter& converter);

// True for converters the library built (at load, for a registered type, or as a chain
// of such): their kernels run only through ConvertLines and ConvertRemainderLine, so the
// frame API may walk them in bands.
bool IsLibraryConverter(const PixelConverter& converter);

// Refusals of frames no conversion takes: empty, or with lines too long to size.
FrameResult CheckFrameSize(uint32_t width, uint32_t height);
// Refusals of strides shorter than a line (the strides given, not 0).
FrameResult CheckStrides(size_t sourceStride, size_t sourceLineBytes, size_t destinationStride,
                         size_t destinationLineBytes);

// One stage's footprint; a chain's is made from its stages' (ComplexConverter). A
// destinationStride of 0 means lines without padding.
FrameFootprint StageFootprint(const PixelConverter& converter, uint32_t width, uint32_t height,
                              size_t sourceStride, size_t destinationStride);

// True when the pixel an odd-width line writes past its end lands on the next line, which
// that line's own conversion then overwrites: such lines must be converted in order.
bool WritesReachNextLine(const PixelConverter& converter, uint32_t width, size_t destinationStride);

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
