#pragma once

// Threads that convert bands of a frame for the frame API. Created on first use and
// kept for the process's life; the conversions of the specified API never start one.

#include <cstdint>
#include <functional>

namespace ZnConvertersLib {
namespace FrameDetail {

// Runs task(0) ... task(count - 1), the calling thread taking part, and returns when all
// have finished. Any number of threads may call it at once.
void RunOnWorkers(uint32_t count, const std::function<void(uint32_t)>& task);

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
