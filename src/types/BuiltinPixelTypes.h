#pragma once

#include <cstddef>

#include "ZnConvertersLib/PixelTypes.h"
#include "ZnConvertersLib/Types.h"
#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

// The families whose types are registered together at load, in registration order. Each
// family's converters are built right after its types, so the types exist (and their
// identity converters hold their pairs) before any converter of the family registers.
enum class BuiltinTypeFamily {
    BayerRGB8,
    BayerRGB10,   // with BayerRGB10_Packed_GEV
    BayerRGB12,   // with BayerRGB12_Packed_GEV
    Grayscale8,   // with Grayscale8_DualQuadMultiplexed
    Grayscale10,  // with Grayscale10_DualQuadMultiplexed and Grayscale10_Packed_GEV
    Grayscale12,  // with Grayscale12_Packed_GEV
    Grayscale14,
    Grayscale16,
    RGB,
    YUV,
};
constexpr size_t kBuiltinTypeFamilyCount = 10;

// One enumerator per concrete PixelType class.
enum class PixelTypeClass {
#define ZN_PIXEL_TYPE_CLASS_ENUMERATOR(Name, DefaultId, Bits, Bytes, Bayer) Name,
    ZN_PIXEL_TYPE_CLASSES(ZN_PIXEL_TYPE_CLASS_ENUMERATOR)
#undef ZN_PIXEL_TYPE_CLASS_ENUMERATOR
};

// One built-in registration: the class whose object is registered, the identifier, and
// the fixed display name (null: composed from the identifier).
struct BuiltinPixelType {
    BuiltinTypeFamily family;
    PixelTypeClass typeClass;
    int64 id;
    const char* name;
};

// The built-in registrations in registration order, families in enumeration order.
const BuiltinPixelType* GetBuiltinPixelTypes(size_t& count);

// Registers the family's types in table order; an identifier that is already registered
// keeps its first registration.
void RegisterBuiltinPixelTypes(BuiltinTypeFamily family);

// Registers id with a temporary object of typeClass constructed with that identifier.
ZnUtilsLib::Result RegisterPixelTypeAs(PixelTypeClass typeClass, const int64& id, const char* name);

// The class's name as written in code ("BayerRGB10_Packed_GEV").
const char* GetPixelTypeClassName(PixelTypeClass typeClass);

}  // namespace ZnConvertersLib
