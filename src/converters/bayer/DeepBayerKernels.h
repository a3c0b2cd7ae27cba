#pragma once

// Vector rows of the deep Bayer family (DeepBayerKernels.cpp), for one line pair of a
// conversion without a filter: the converted prefix of both lines, in whole vectors of the
// target chosen for this CPU; the plain rows (BayerRows.h) finish it.

#include <cstdint>

#include "converters/bayer/BayerKernels.h"

namespace ZnConvertersLib {

// Four source lines of little-endian 16-bit samples around a pair (above and below are
// read by the neighbourhood method only), and where their samples sit in the word.
struct DeepBayerLines {
    const unsigned char* above;
    const unsigned char* top;
    const unsigned char* bottom;
    const unsigned char* below;
    uint32_t bits;
    bool normalized;  // samples at the top of the word
};

// `count` and the result as for BayerVectorRow; `out0` and `out1` take three 16-bit words
// a pixel, blue first when `blueFirst`.
uint32_t DeepBayerVectorRow(BayerMethod method, int layout, const DeepBayerLines& lines,
                            bool blueFirst, unsigned char* out0, unsigned char* out1,
                            uint32_t count);

}  // namespace ZnConvertersLib
