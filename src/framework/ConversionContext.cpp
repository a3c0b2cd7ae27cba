#include "ZnConvertersLib/ConversionContext.h"

#include <map>
#include <mutex>

#include "ZnUtilsLib/LockScope.h"
#include "ZnUtilsLib/Thread.h"

namespace ZnConvertersLib {

namespace {

// Each thread's context lives in thread-local storage; the map records which threads
// are converting. Only the first acquisition and the last release of a conversion touch
// the map (and its lock), so kernels that acquire once per line never queue on a lock.
thread_local ConversionContext tContext{};

struct ContextMap {
    ZnUtilsLib::Mutex mutex{0};
    std::map<uint32_t, ConversionContext*> contexts;
};

ContextMap& Contexts() {
    static ContextMap sMap;  // created once, on first use
    return sMap;
}

}  // namespace

ConversionContext* AcquireConversionContext() {
    ConversionContext* context = &tContext;
    if (context->referenceCount != 0) {
        ++context->referenceCount;
        return context;
    }
    *context = ConversionContext{};
    context->referenceCount = 1;
    ContextMap& map = Contexts();
    ZnUtilsLib::LockScope lock(map.mutex);
    map.contexts[ZnUtilsLib::Thread::GetCurrentThreadID()] = context;
    return context;
}

void ReleaseConversionContext(ConversionContext* context) {
    if (--context->referenceCount != 0) return;
    *context = ConversionContext{};
    ContextMap& map = Contexts();
    ZnUtilsLib::LockScope lock(map.mutex);
    map.contexts.erase(ZnUtilsLib::Thread::GetCurrentThreadID());
}

uint32_t CountActiveConversionContexts() {
    ContextMap& map = Contexts();
    ZnUtilsLib::LockScope lock(map.mutex);
    return static_cast<uint32_t>(map.contexts.size());
}

}  // namespace ZnConvertersLib
