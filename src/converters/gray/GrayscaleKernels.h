#pragma once

// Vector rows of the gray family (GrayscaleKernels.cpp), pixels in order: the converted
// prefix of a line, in whole vectors of the target chosen for this CPU; the plain rows
// finish it.

#include <cstdint>

#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

enum class GrayLayout : uint8_t {
    k8Bit,       // one byte a sample, shifted right
    k16Bit,      // one little-endian word a sample, shifted right
    kSigned8,    // two's complement bytes, -128 black
    kPacked12,   // LSB-first, two samples in three bytes, shifted right
    kPackedGEV,  // two samples in three bytes, their high bytes outermost
};

// `count` and the result are pixels for the one-sample layouts and pairs for the two
// packings.
uint32_t GrayscaleVectorRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                            uint32_t count);

// A dual-tap line of `pairs` pairs (k8Bit, k16Bit: a pixel each; kPacked12): pair k holds
// the k-th pixel of each tap, whose steps place it from its half's start (+1) or end.
// Converts all pairs or none.
uint32_t GrayscaleDualTapVectorRow(GrayLayout layout, const RowSource& source, const RowOutput& out,
                                   uint32_t pairs, int32_t leftStep, int32_t rightStep);

}  // namespace ZnConvertersLib
