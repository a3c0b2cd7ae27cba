#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

class PixelType;
class PixelConverter;

// The registry's state, reached through PixelTypeFactory::sInternal.
class PixelTypeFactoryInternal {
public:
    using ConverterKey = std::pair<int64, int64>;  // (source, destination), signed order

    std::map<ConverterKey, const PixelConverter*> converters;  // not owned
    std::vector<PixelConverter*> ownedConverters;              // identity converters, owned
    std::map<int64, PixelType*> types;                         // owned clones
    std::map<int64, std::string> names;
};

class PixelTypeFactoryLifetime {
public:
    // Creates the registry state if needed; null when it cannot be allocated. The
    // caller holds the module lock.
    static PixelTypeFactoryInternal* EnsureState();
    // Destroys the registry state and the module lock. Runs once, at unload.
    static void TearDown();
};

}  // namespace ZnConvertersLib
