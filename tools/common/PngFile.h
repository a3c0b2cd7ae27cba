#pragma once

// Writes converted frames as PNG files a person can open: 8-bit gray or RGB, 16-bit gray
// or RGB. Only the tools use it; the library writes no files but BMP.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace ZnTools {

enum class PngLayout {
    kGray8,
    kGray16,  // little-endian words, as the library writes them
    kRGB8,
    kBGR8,
    kRGBX8,  // four bytes a pixel, the fourth ignored
    kBGRX8,
    kRGB16,  // little-endian words
    kBGR16,
};

struct PngImage {
    const unsigned char* pixels;
    uint32_t width;
    uint32_t height;
    std::size_t stride;  // bytes from one line to the next
    PngLayout layout;
    // 16-bit layouts: how many low bits of each word are significant. PNG wants samples
    // spread over the whole range, so narrower ones are shifted up and the original depth
    // recorded (sBIT) for readers that care.
    uint32_t significantBits = 16;
};

// False when this build has no PNG support.
bool PngAvailable();

// Encodes image onto file, which stays open. Returns an empty string on success,
// otherwise what went wrong.
std::string WritePng(std::FILE* file, const PngImage& image);

}  // namespace ZnTools
