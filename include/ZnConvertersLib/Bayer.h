#pragma once

// Names for the Bayer bits of a conversion's flags word, and the demosaicing methods.
//
// A mosaic repeats a 2x2 tile; the tile flag says which colour sits where in the tile
// whose top-left sample is the frame's first pixel. Exactly one tile flag is meant to be
// set; with none the converters assume kBayerTileGRBG, and with several the highest wins.

#include <cstdint>

namespace ZnConvertersLib {

// G R
// B G
constexpr uint32_t kBayerTileGRBG = 0x10;
// G B
// R G
constexpr uint32_t kBayerTileGBRG = 0x20;
// R G
// G B
constexpr uint32_t kBayerTileRGGB = 0x40;
// B G
// G R
constexpr uint32_t kBayerTileBGGR = 0x80;
constexpr uint32_t kBayerTileMask = 0xF0;

// Set: every output pixel is interpolated from its 3x3 neighbourhood (bilinear).
// Clear: every 2x2 block of the mosaic gives one colour to its four pixels (fast).
constexpr uint32_t kBayerNeighbourhoodMethod = 0x100;

// How a mosaic becomes colour. The first two are what the flags word selects; the others
// are reached through the frame API's options.
enum class DemosaicMethod : uint8_t {
    kBlock,              // flags without kBayerNeighbourhoodMethod
    kBilinear,           // flags with kBayerNeighbourhoodMethod
    kGradientCorrected,  // 5x5 gradient-corrected linear interpolation
    kEdgeDirected,       // green along the smoother direction, then colour differences
};

}  // namespace ZnConvertersLib
