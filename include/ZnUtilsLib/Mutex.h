#pragma once

#include <mutex>

namespace ZnUtilsLib {

// Recursive lock: the same thread may lock it again while holding it.
class Mutex {
public:
    explicit Mutex(long reserved = 0);
    virtual ~Mutex();

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock();
    void Unlock();
    bool TryLock();

private:
    std::recursive_mutex mMutex;
};

}  // namespace ZnUtilsLib
