#include "BuiltinRegistration.h"

#include "types/BuiltinPixelTypes.h"

namespace ZnConvertersLib {

// Each family's types are registered before its converters are built, so a converter for
// a pair that type registration already gave an identity converter stays unregistered.
std::unique_ptr<BuiltinObjects> RegisterBuiltins() {
    auto objects = std::make_unique<BuiltinObjects>();

    RegisterBuiltinPixelTypes(BuiltinTypeFamily::BayerRGB8);
    BuildBuiltinConverters(BuiltinTypeFamily::BayerRGB8, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::BayerRGB10);
    BuildBuiltinConverters(BuiltinTypeFamily::BayerRGB10, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::BayerRGB12);
    BuildBuiltinConverters(BuiltinTypeFamily::BayerRGB12, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::Grayscale8);
    BuildBuiltinConverters(BuiltinTypeFamily::Grayscale8, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::Grayscale10);
    BuildBuiltinConverters(BuiltinTypeFamily::Grayscale10, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::Grayscale12);
    BuildBuiltinConverters(BuiltinTypeFamily::Grayscale12, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::Grayscale14);
    BuildBuiltinConverters(BuiltinTypeFamily::Grayscale14, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::Grayscale16);
    BuildBuiltinConverters(BuiltinTypeFamily::Grayscale16, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::RGB);
    BuildBuiltinConverters(BuiltinTypeFamily::RGB, *objects);
    RegisterBuiltinPixelTypes(BuiltinTypeFamily::YUV);
    BuildBuiltinConverters(BuiltinTypeFamily::YUV, *objects);

    return objects;
}

}  // namespace ZnConvertersLib
