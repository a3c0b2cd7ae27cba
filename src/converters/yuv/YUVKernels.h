#pragma once

// Vector rows of the YUV family (YUVKernels.cpp): the converted prefix of a line, in whole
// vectors of the target chosen for this CPU; the plain rows finish it.

#include <cstdint>

#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

enum class YUVLayout : uint8_t {
    k422,       // Y0 U Y1 V
    k422GEV,    // U Y0 V Y1
    k411,       // U Y0 Y1 V Y2 Y3
    k444,       // Y U V
    k444GEV,    // U Y V
    kYCrCb,     // Y Cr Cb
    k422Words,  // Y0 U Y1 V, little-endian words shifted right, above 255 full scale
};

// `groups` and the result count whole groups of the layout.
uint32_t YUVVectorRow(YUVLayout layout, const RowSource& source, const RowOutput& out,
                      uint32_t groups);

}  // namespace ZnConvertersLib
