#pragma once

#include "ZnUtilsLib/Mutex.h"

namespace ZnUtilsLib {

// Holds a Mutex for the lifetime of the scope.
class LockScope {
public:
    explicit LockScope(Mutex* mutex) : mMutex(mutex) { mMutex->Lock(); }
    explicit LockScope(Mutex& mutex) : mMutex(&mutex) { mMutex->Lock(); }
    ~LockScope() { mMutex->Unlock(); }

    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Mutex* mMutex;
};

}  // namespace ZnUtilsLib
