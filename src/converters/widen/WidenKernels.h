#pragma once

// Vector rows of the widening family (WidenKernels.cpp): the converted prefix of a line,
// in whole vectors that never read past `sourceBytes`; the plain rows finish it.

#include <cstdint>

#include "converters/widen/WidenRows.h"

namespace ZnConvertersLib {

uint32_t WidenVectorRow(WideLayout layout, WideOutput output, uint32_t bits, uint32_t shift,
                        const unsigned char* source, uint32_t sourceBytes,
                        unsigned char* destination, uint32_t count);

}  // namespace ZnConvertersLib
