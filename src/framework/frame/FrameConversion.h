#pragma once

#include <cstdint>

namespace ZnConvertersLib {
namespace FrameDetail {

// Frames below this many pixels per band stay on fewer threads (tests lower it to band
// small frames).
void SetMinimumBandPixels(uint64_t pixels);

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
