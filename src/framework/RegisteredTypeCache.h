#pragma once

#include <atomic>

#include "ZnConvertersLib/PixelTypeFactory.h"

namespace ZnConvertersLib {

// The registered type for id, remembered in cache once the registry knows it. Types are
// never removed or replaced, so a found type stays valid; an unknown id is asked again
// next time, since it may be registered later.
inline const PixelType* FindRegisteredType(std::atomic<const PixelType*>& cache, const int64& id) {
    const PixelType* type = cache.load(std::memory_order_acquire);
    if (type == nullptr) {
        type = PixelTypeFactory::FindPixelType(id);
        if (type != nullptr) cache.store(type, std::memory_order_release);
    }
    return type;
}

}  // namespace ZnConvertersLib
