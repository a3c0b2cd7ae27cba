#pragma once

#include <memory>

#include "BuiltinConverterTable.h"

namespace ZnConvertersLib {

// The converter objects built at load, destroyed in reverse order of construction.
using BuiltinObjects = BuiltinConverterList;

// Registers the built-in pixel types and constructs the built-in converters, family by
// family. Called once, while the library loads.
std::unique_ptr<BuiltinObjects> RegisterBuiltins();

// The converters built at load; null outside the library's lifetime.
const BuiltinConverterList* GetBuiltinConverters();

}  // namespace ZnConvertersLib
