#pragma once

// Vector rows of the bit-packed and planar colour family (BitPackedRGBKernels.cpp): the
// converted prefix of a line, in whole vectors of the target chosen for this CPU; the
// plain rows finish it.

#include <cstdint>

#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

// Layouts kBGR10V1, kBGR10V2, kRGB10p32, kRGB12V1, kPlanar8 and kPlanar16; any other
// converts nothing.
uint32_t BitPackedRGBVectorRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                               uint32_t width);

}  // namespace ZnConvertersLib
