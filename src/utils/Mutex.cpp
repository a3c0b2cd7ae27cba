#include "ZnUtilsLib/Mutex.h"

namespace ZnUtilsLib {

Mutex::Mutex(long /*reserved*/) {}
Mutex::~Mutex() = default;

void Mutex::Lock() {
    mMutex.lock();
}
void Mutex::Unlock() {
    mMutex.unlock();
}
bool Mutex::TryLock() {
    return mMutex.try_lock();
}

}  // namespace ZnUtilsLib
