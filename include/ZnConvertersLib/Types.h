#pragma once

#include <cstdint>

#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

// Pixel type identifier: signed 64-bit, ordered as signed values in every registry map.
using int64 = std::int64_t;

// Bits of a pixel type identifier. Attribute tests only ever look at the low 32 bits.
namespace PixelTypeBits {
constexpr uint32_t kFormatMask = 0x0000FFFF;
constexpr uint32_t kColorSpaceMask = 0x00070000;
constexpr uint32_t kGrayscale = 0x00010000;
constexpr uint32_t kRGB = 0x00020000;  // also every Bayer mosaic
constexpr uint32_t kYUV = 0x00040000;  // also YCrCb
constexpr uint32_t kNormalized = 0x00100000;
constexpr uint32_t kInterlaced = 0x00200000;
constexpr uint32_t kPacked = 0x00400000;
constexpr uint32_t kPlanar = 0x00800000;
constexpr uint32_t kTapLayoutMask = 0x1F000000;
constexpr uint32_t kDualLeftRight = 0x01000000;
constexpr uint32_t kDualLeftRightInverted = 0x02000000;
constexpr uint32_t kDualLeftInvertedRight = 0x04000000;
constexpr uint32_t kDualLeftInvertedRightInverted = 0x08000000;
constexpr uint32_t kDualLines = 0x10000000;

constexpr uint32_t Low32(int64 id) {
    return static_cast<uint32_t>(static_cast<uint64_t>(id));
}
constexpr bool Has(int64 id, uint32_t bits) {
    return (Low32(id) & bits) != 0;
}
}  // namespace PixelTypeBits

// Result codes produced by this library.
namespace ResultCode {
constexpr uint32_t kSuccess = 0;
constexpr uint32_t kInvalidRequest = 18;      // already registered; negative multiplier; bad index
constexpr uint32_t kOutOfMemory = 24;         // registry state could not be allocated
constexpr uint32_t kNothingDone = 25;         // ClonePixelConverters cloned nothing
constexpr uint32_t kNotSupported = 26;        // converter operation not provided
constexpr uint32_t kFileOpenFailed = 0x4000;  // BMPSaver could not open the file
}  // namespace ResultCode

}  // namespace ZnConvertersLib
