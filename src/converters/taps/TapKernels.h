#pragma once

// Vector rows of the tap-reordering family (TapKernels.cpp), for the target chosen for
// this CPU. Each returns how far it got; the plain loops finish the line.

#include <cstddef>
#include <cstdint>

namespace ZnConvertersLib {

// Quad taps: groups 0 ... result - 1 of four pixels of pixelBytes (1 or 2) bytes, pixel t
// of group k to (t + 1) * quarter - 1 - k. Nothing when the quarters could overlap
// (quarter < groups), where the plain loop's order decides the bytes.
uint32_t QuadTapsVectorRow(uint32_t pixelBytes, const unsigned char* source,
                           unsigned char* destination, std::size_t quarter, uint32_t groups);

// destination[i] = source[2 i] for i < result. The last pixel is left to the plain loop:
// a vector takes bytes in pairs, and its last odd byte lies past what the line reads.
uint32_t EveryOtherByteVectorRow(const unsigned char* source, unsigned char* destination,
                                 uint32_t width);

}  // namespace ZnConvertersLib
