#pragma once

// Checked conversion of whole frames.
//
// ConvertFrame gives the same bytes as PixelConverter::Convert, but it checks every
// argument first, never reads or writes outside the two buffers it is given, says in
// words what is wrong, and can split a frame into bands converted on several threads.
//
//   using namespace ZnConvertersLib;
//   FrameView raw{0x20010, 1920, 1080, 0, camera.data(), camera.size()};  // 8-bit Bayer
//   std::vector<unsigned char> rgb(1920 * 1080 * 3);
//   MutableFrameView out{0x420002, 1920, 1080, 0, rgb.data(), rgb.size()};  // RGB24
//   ConvertOptions options;
//   options.bayerTile = kBayerTileRGGB;
//   options.demosaic = DemosaicMethod::kBilinear;
//   options.threads = 0;  // every hardware thread
//   FrameResult result = ConvertFrame(raw, out, options);
//   if (!result) std::fprintf(stderr, "%s\n", result.message.c_str());
//
// A few layouts write outside the frame they convert (odd-height Bayer frames write one
// line more, odd widths of the two-pixels-in-three-bytes packings one pixel more per
// line). GetFrameFootprint says how many bytes a conversion reads and writes, those
// overruns included; ConvertFrame refuses buffers smaller than that.

#include <cstddef>
#include <cstdint>
#include <string>

#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

class PixelConverter;
class RGBFilter;

// A frame in memory. stride is the distance in bytes from one line to the next (0: the
// lines follow each other without padding); for planar types it is the line of one
// plane, and the three planes follow each other, each stride x height bytes.
struct FrameView {
    int64 pixelType = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    size_t stride = 0;
    const void* data = nullptr;
    size_t size = 0;  // bytes readable at data
};

struct MutableFrameView {
    int64 pixelType = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    size_t stride = 0;
    void* data = nullptr;
    size_t size = 0;  // bytes writable at data
};

struct ConvertOptions {
    uint32_t bayerTile = kBayerTileGRBG;  // one of the kBayerTile* values
    DemosaicMethod demosaic = DemosaicMethod::kBlock;
    bool secondFieldFirst = false;      // interlaced sources: the second field holds line 0
    const RGBFilter* filter = nullptr;  // null: no white balance
    // 1: the calling thread only; 0: every hardware thread; n: at most n threads. Frames
    // too small to gain from more threads stay on the calling thread.
    uint32_t threads = 1;
};

enum class FrameError : uint32_t {
    kNone = 0,
    kUnknownType,          // a pixel type the registry does not know
    kNoConverter,          // no converter for the pair
    kNullBuffer,           // a null data pointer
    kStrideTooSmall,       // a stride shorter than one line
    kSourceTooSmall,       // the source buffer is smaller than what the conversion reads
    kDestinationTooSmall,  // the destination buffer is smaller than what it writes
    kUnsupportedSize,      // a width or height the layout cannot take, or sizes that differ
    kOverlap,              // source and destination bytes overlap
    kBadOption,            // an option the conversion cannot take
    kOutOfMemory,          // scratch memory for a chained conversion could not be had
};

struct FrameResult {
    FrameError error = FrameError::kNone;
    std::string message;  // empty on success; one line saying what is wrong otherwise

    bool IsSuccess() const { return error == FrameError::kNone; }
    explicit operator bool() const { return IsSuccess(); }
};

// Converts source into destination (same width and height). On success the bytes equal
// those of the converter's Convert for the same frame, strides, flags and filter. Any
// number of threads may call it at once. Conversions that run through an intermediate
// image (the chained ones) keep it per calling thread, for the thread's next frame.
FrameResult ConvertFrame(const FrameView& source, const MutableFrameView& destination,
                         const ConvertOptions& options = ConvertOptions());

// What a conversion of width x height pixels touches, in bytes from the start of each
// buffer, overruns included.
struct FrameFootprint {
    FrameResult result;      // why the geometry cannot be converted, if it cannot
    size_t sourceLineBytes;  // the shortest source stride
    size_t destinationLineBytes;
    size_t sourceBytes;       // bytes read from the source buffer
    size_t destinationBytes;  // bytes written to the destination buffer
};

// For the converter of a pair; strides of 0 mean lines without padding.
FrameFootprint GetFrameFootprint(const PixelConverter& converter, uint32_t width, uint32_t height,
                                 size_t sourceStride = 0, size_t destinationStride = 0);

// The flags word the specified Convert would be given for these options.
uint32_t ConversionFlagsFor(const ConvertOptions& options);

}  // namespace ZnConvertersLib
