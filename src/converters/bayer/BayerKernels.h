#pragma once

// Vector rows of the Bayer family (BayerKernels.cpp), for one line pair: the converted
// prefix of both lines, in whole vectors of the target chosen for this CPU; the plain
// rows (BayerRows.h) finish it.

#include <cstdint>

#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

// Four source lines around a pair (above and below are read by the neighbourhood method
// only), with how their samples come to 8 bits.
struct BayerLines {
    const unsigned char* above;
    const unsigned char* top;
    const unsigned char* bottom;
    const unsigned char* below;
    uint32_t shift;
    bool words;  // little-endian 16-bit samples
};

enum class BayerMethod : uint8_t {
    kBlock,               // count and result: columns from 0, a multiple of 2
    kNeighbourhoodInner,  // count and result: two-pixel steps from pixel 1
};

// `layout` is the 2x2 block layout at the start of the pair (BayerDetail::kLayout*).
uint32_t BayerVectorRow(BayerMethod method, int layout, const BayerLines& lines,
                        const RowOutput& out0, const RowOutput& out1, uint32_t count);

}  // namespace ZnConvertersLib
