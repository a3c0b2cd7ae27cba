#pragma once

// Pieces of the checked frame API shared by its conversion paths.

#include <cstddef>
#include <cstdint>
#include <string>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/PixelConverter.h"

namespace ZnConvertersLib {
namespace FrameDetail {

// Frames below this many pixels per band stay on fewer threads (tests lower it to band
// small frames).
void SetMinimumBandPixels(uint64_t pixels);

std::string TypeName(const int64& id);
FrameResult Fail(FrameError error, std::string message);

// Threads the options allow, and how many bands a frame of `pixels` gets from them when
// it can be split into at most `steps` bands.
uint32_t ThreadsFor(const ConvertOptions& options);
uint32_t BandsFor(uint32_t threads, uint64_t pixels, uint32_t steps);

// The intermediate image of a chained conversion, kept per calling thread; null when the
// memory cannot be had.
unsigned char* ChainScratch(size_t bytes);

// Refuses buffers smaller than the footprint, or overlapping within it.
FrameResult CheckBuffers(const FrameView& source, const MutableFrameView& destination,
                         const FrameFootprint& footprint);

// A library converter over a whole frame, in bands on up to `threads` threads.
void ConvertStage(const PixelConverter& converter, const RGBFilter* filter,
                  const unsigned char* source, size_t sourceStride, unsigned char* destination,
                  size_t destinationStride, uint32_t width, uint32_t height, uint32_t flags,
                  uint32_t threads);

// Whether the registered converter of a pair demosaics, to a destination the
// gradient-corrected and edge-directed methods can write.
bool CanDemosaic(const PixelConverter& converter, const int64& destination);

// The gradient-corrected and edge-directed methods, for the pair whose registered
// converter is `converter` (already found; sizes and tile already checked).
FrameResult ConvertDemosaiced(const PixelConverter& converter, const FrameView& source,
                              const MutableFrameView& destination, const ConvertOptions& options);

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
