#include "BuiltinRegistration.h"

namespace ZnConvertersLib {

std::unique_ptr<BuiltinObjects> RegisterBuiltins() { return std::make_unique<BuiltinObjects>(); }

}  // namespace ZnConvertersLib
