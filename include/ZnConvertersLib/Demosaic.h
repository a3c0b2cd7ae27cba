#pragma once

// Converter objects for the better demosaicing methods.
//
// The registry's Bayer converters demosaic by the block or the neighbourhood method, as
// their flags say. For the gradient-corrected and edge-directed methods, build a converter
// object for the pair; it is never registered, so the registry is left as it is.
//
//   using namespace ZnConvertersLib;
//   auto converter = CreateDemosaicConverter(0x20010, 0x420002, DemosaicMethod::kEdgeDirected);
//   converter->Convert(raw, 1920, 1080, rgb, 1920, 1080, 1920, 1080, kBayerTileRGGB, 0,
//                      nullptr, nullptr, 0);
//
// The same methods are reached through the frame API's ConvertOptions::demosaic.

#include <memory>

#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

// A converter of the pair whose registered converter demosaics (a Bayer mosaic of 8 to 16
// bits, packed and tapped layouts included, to a colour output), by `method`
// (kGradientCorrected or kEdgeDirected); null for any other pair or method.
//
// Convert and ConvertFiltered take the tile from the flags word as the registered
// converters do (kBayerNeighbourhoodMethod is ignored) and white-balance the mosaic with
// the filter before interpolating. Borders are mirrored: they read and write exactly the
// frame, also for odd heights. They return code 26 for frames the method cannot take
// (an empty frame, or sizes the packed layout refuses).
std::unique_ptr<PixelConverter> CreateDemosaicConverter(const int64& source,
                                                        const int64& destination,
                                                        DemosaicMethod method);

}  // namespace ZnConvertersLib
