#pragma once

// The better demosaicing methods, beside the block and neighbourhood methods of BayerTo:
// gradient-corrected linear interpolation and edge-directed interpolation. Unlike those,
// they see the mosaic as mirrored at every border (sample -k is sample k, on both axes),
// so every pixel gets the same rule and nothing outside the frame is read or written.
//
// Data path of one line: source samples at their depth (saturated, then white-balanced
// by the colour of their site) -> the method's R, G, B at that depth -> rounded to the
// output's depth -> stored in the output's layout.

#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

class RGBFilter;

namespace Demosaic {

enum class Store : uint8_t { kRGB16, kRGB24, kBGR24, kRGB32, kBGR32, kPlanar24, kRGB48, kBGR48 };

constexpr bool IsWide(Store store) {
    return store == Store::kRGB48 || store == Store::kBGR48;
}
uint32_t PixelBytes(Store store);

// How the mosaic's samples are held: bytes, or little-endian words whose sample of `bits`
// bits sits `down` bits up (the top of the word for normalized types). Larger values
// saturate at the depth's maximum.
struct SampleForm {
    bool words;
    uint32_t bits;
    uint32_t down;
};

struct Job {
    const unsigned char* source;
    size_t sourceStride;
    SampleForm form;
    unsigned char* destination;
    size_t destinationStride;
    Store store;
    uint32_t width;
    uint32_t height;
    uint32_t pattern;  // 0 GRBG, 1 GBRG, 2 RGGB, 3 BGGR (the tile of pixel 0, 0)
    DemosaicMethod method;
    // Applied to every sample by the colour of its site, before interpolation; null for
    // none. Bytes index the 8-bit tables; deeper samples the 16-bit ones (an index past
    // the table takes its last entry, and results saturate at the depth).
    const RGBFilter* filter;
};

// Lines [first, end) of the frame. Any number of threads may run disjoint ranges of one
// job at once.
void ConvertLines(const Job& job, uint32_t first, uint32_t end);

// The plain reference of a whole line, one pixel at a time.
void PlainLine(const Job& job, uint32_t y);

// Colour of the site (x, y) for a tile pattern: 0 red, 1 green, 2 blue.
constexpr int kTileColour[4][2][2] = {
    {{1, 0}, {2, 1}}, {{1, 2}, {0, 1}}, {{0, 1}, {1, 2}}, {{2, 1}, {1, 0}}};

}  // namespace Demosaic
}  // namespace ZnConvertersLib
