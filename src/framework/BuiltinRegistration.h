#pragma once

#include <memory>

namespace ZnConvertersLib {

// Owns the converter objects built at load; destroys them in reverse order of
// construction.
class BuiltinObjects {
public:
    virtual ~BuiltinObjects() = default;
};

// Registers the built-in pixel types and constructs the built-in converters, family by
// family. Called once, while the library loads.
std::unique_ptr<BuiltinObjects> RegisterBuiltins();

}  // namespace ZnConvertersLib
