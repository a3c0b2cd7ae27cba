#pragma once

#include <cstdint>

namespace ZnUtilsLib {

class Thread {
public:
    // A process-unique, never reused identifier of the calling thread (never 0).
    static uint32_t GetCurrentThreadID();
};

}  // namespace ZnUtilsLib
