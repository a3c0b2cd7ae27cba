// The library's one static object: everything that must happen at load and unload is
// sequenced here, so nothing depends on the order in which the linker runs static
// initialisers of different files.
#include "../types/PixelTypeFactoryInternal.h"
#include "BuiltinRegistration.h"
#include "ZnConvertersLib/PixelConverter.h"

namespace ZnConvertersLib {
namespace {

class ModuleLifetime {
public:
    ModuleLifetime() {
        GetDefaultFilter(8);  // builds the five identity filters before any conversion
        mBuiltins = RegisterBuiltins();
    }

    ~ModuleLifetime() {
        // Built-in converters first (in reverse order of construction), then the registry.
        mBuiltins.reset();
        PixelTypeFactoryLifetime::TearDown();
    }

    const BuiltinObjects* Builtins() const { return mBuiltins.get(); }

private:
    std::unique_ptr<BuiltinObjects> mBuiltins;
};

const ModuleLifetime gModule;

}  // namespace

const BuiltinConverterList* GetBuiltinConverters() {
    return gModule.Builtins();
}

}  // namespace ZnConvertersLib
