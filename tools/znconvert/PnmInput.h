#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "ZnConvertersLib/Types.h"

namespace znconvert {

// The header of a binary PGM (P5) or PPM (P6) image: the file says its own size and
// sample depth, so the command line need not.
struct PnmHeader {
    bool colour = false;  // P6
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t maxValue = 0;  // above 255: two bytes a sample, most significant first

    bool Wide() const { return maxValue > 255; }
    size_t SampleCount() const { return size_t{width} * height * (colour ? 3 : 1); }
    size_t DataBytes() const { return SampleCount() * (Wide() ? 2 : 1); }
    // The pixel type that reads the samples once 16-bit ones are little-endian.
    ZnConvertersLib::int64 PixelType() const;
    std::string Describe() const;  // "PGM, 640x480, 8-bit"
};

// Reads the header up to the first byte of the samples. Throws CommandError (failure)
// naming the input ("input 'x.pgm'") when the stream does not start with one.
PnmHeader ReadPnmHeader(std::FILE* in, const std::string& name);

// PNM samples are big-endian; the library's 16-bit types are little-endian.
void SwapSampleBytes(unsigned char* data, size_t bytes);

}  // namespace znconvert
