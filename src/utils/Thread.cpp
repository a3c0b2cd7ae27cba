#include "ZnUtilsLib/Thread.h"

#include <atomic>

namespace ZnUtilsLib {

uint32_t Thread::GetCurrentThreadID() {
    // Identifiers are handed out in order of first use, so they are never reused
    // while the process runs (operating-system thread ids can be recycled).
    static std::atomic<uint32_t> sNext{1};
    thread_local const uint32_t sId = sNext.fetch_add(1, std::memory_order_relaxed);
    return sId;
}

}  // namespace ZnUtilsLib
