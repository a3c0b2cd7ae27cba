#pragma once

// Vector rows of the packed colour family (PackedRGBKernels.cpp): the converted prefix of
// a line, in whole vectors of the target chosen for this CPU; the plain rows finish it.

#include <cstdint>

#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

// Layouts kRGB16 .. kRGB64; any other layout converts nothing.
uint32_t PackedRGBVectorRow(ColourLayout layout, const RowSource& source, const RowOutput& out,
                            uint32_t width);

}  // namespace ZnConvertersLib
