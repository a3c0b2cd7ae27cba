#include "BuiltinPixelTypes.h"

#include "ZnConvertersLib/PixelTypeFactory.h"

namespace ZnConvertersLib {

namespace {

using F = BuiltinTypeFamily;
using C = PixelTypeClass;

// Registration order matters only for display: every identifier occurs once. A null name
// is composed from the identifier when the type is registered.
constexpr BuiltinPixelType kBuiltinPixelTypes[] = {
    // 8-bit Bayer mosaics: plain, then the four dual-tap layouts.
    {F::BayerRGB8, C::BayerRGB8, 0x20010, nullptr},
    {F::BayerRGB8, C::BayerRGB8, 0x1020010, nullptr},
    {F::BayerRGB8, C::BayerRGB8, 0x2020010, nullptr},
    {F::BayerRGB8, C::BayerRGB8, 0x4020010, nullptr},
    {F::BayerRGB8, C::BayerRGB8, 0x8020010, nullptr},

    // 10-bit Bayer mosaics.
    {F::BayerRGB10, C::BayerRGB10, 0x20011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x220011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x120011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x320011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x1020011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x1120011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x2020011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x2120011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x4020011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x4120011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x8020011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x8120011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x420011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x1420011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x2420011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x4420011, nullptr},
    {F::BayerRGB10, C::BayerRGB10, 0x8420011, nullptr},
    {F::BayerRGB10, C::BayerRGB10_Packed_GEV, 0x20041, nullptr},

    // 12-bit Bayer mosaics.
    {F::BayerRGB12, C::BayerRGB12, 0x20012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x120012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x1020012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x1120012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x2020012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x2120012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x4020012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x4120012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x8020012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x8120012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x420012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x1420012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x2420012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x4420012, nullptr},
    {F::BayerRGB12, C::BayerRGB12, 0x8420012, nullptr},
    {F::BayerRGB12, C::BayerRGB12_Packed_GEV, 0x20040, nullptr},

    // 8-bit grayscale.
    {F::Grayscale8, C::Grayscale8, 0x10001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x210001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x1010001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x2010001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x4010001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x8010001, nullptr},
    {F::Grayscale8, C::Grayscale8, 0x10010001, nullptr},
    {F::Grayscale8, C::Grayscale8_DualQuadMultiplexed, 0x10006,
     "Grayscale, 8-bits, Inverted Quad taps multiplexed on dual taps"},

    // 10-bit grayscale.
    {F::Grayscale10, C::Grayscale10, 0x10002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x210002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x110002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x310002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x1010002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x1110002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x2010002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x2110002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x4010002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x4110002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x8010002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x8110002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x410002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x610002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x1410002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x1610002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x2410002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x2610002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x4410002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x4610002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x8410002, nullptr},
    {F::Grayscale10, C::Grayscale10, 0x8610002, nullptr},
    {F::Grayscale10, C::Grayscale10_DualQuadMultiplexed, 0x10007,
     "Grayscale, 10-bits, Inverted Quad taps"},
    {F::Grayscale10, C::Grayscale10_DualQuadMultiplexed, 0x110007,
     "Grayscale, 10-bits, Normalized, Inverted Quad taps"},
    {F::Grayscale10, C::Grayscale10_Packed_GEV, 0x10008, "Grayscale, 10-bits, Packed, GEV"},

    // 12-bit grayscale: the 10-bit identifiers with format code 3.
    {F::Grayscale12, C::Grayscale12, 0x10003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x210003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x110003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x310003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x1010003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x1110003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x2010003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x2110003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x4010003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x4110003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x8010003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x8110003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x410003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x610003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x1410003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x1610003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x2410003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x2610003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x4410003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x4610003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x8410003, nullptr},
    {F::Grayscale12, C::Grayscale12, 0x8610003, nullptr},
    {F::Grayscale12, C::Grayscale12_Packed_GEV, 0x10009, "Grayscale, 12-bits, Packed, GEV"},

    // 14- and 16-bit grayscale.
    {F::Grayscale14, C::Grayscale14, 0x10004, nullptr},
    {F::Grayscale14, C::Grayscale14, 0x210004, nullptr},
    {F::Grayscale14, C::Grayscale14, 0x110004, nullptr},
    {F::Grayscale14, C::Grayscale14, 0x310004, nullptr},
    {F::Grayscale16, C::Grayscale16, 0x10005, nullptr},
    {F::Grayscale16, C::Grayscale16, 0x210005, nullptr},
    {F::Grayscale16, C::Grayscale16, 0x110005, nullptr},
    {F::Grayscale16, C::Grayscale16, 0x310005, nullptr},

    // RGB and BGR.
    {F::RGB, C::RGB16, 0x20001, nullptr},
    {F::RGB, C::RGB24, 0x20002, nullptr},
    {F::RGB, C::RGB24, 0x420002, nullptr},
    {F::RGB, C::RGB24, 0x820002, nullptr},
    {F::RGB, C::BGR24, 0x20006, "BGR 24-bits"},
    {F::RGB, C::BGR24, 0x420006, "BGR 24-bits, Packed"},
    {F::RGB, C::RGB8_3, 0x2000A, "RGB 24-bits (3 X 8-bits)"},
    {F::RGB, C::RGB8_3, 0x42000A, "RGB 24-bits (3 X 8-bits), Packed"},
    {F::RGB, C::RGB8_3, 0x82000A, "RGB 24-bits (3 X 8-bits), Planar"},
    {F::RGB, C::RGB32, 0x20003, nullptr},
    {F::RGB, C::BGR32, 0x20007, nullptr},
    {F::RGB, C::RGB8_4, 0x2000B, "RGB 32-bits (4 X 8-bits)"},
    {F::RGB, C::RGB8_4, 0x42000B, "RGB 32-bits (4 X 8-bits), Packed"},
    {F::RGB, C::RGB8_4, 0x82000B, "RGB 32-bits (4 X 8-bits), Planar"},
    {F::RGB, C::RGB48, 0x20004, nullptr},
    {F::RGB, C::RGB48, 0x120004, nullptr},
    {F::RGB, C::RGB48_10Bits, 0x20008, "RGB 48-bits (3 x 10 bits)"},
    {F::RGB, C::RGB48_10Bits, 0x120008, "RGB 48-bits (3 x 10 bits), Normalized"},
    {F::RGB, C::RGB48_12Bits, 0x2000C, "RGB 48-bits (3 x 12 bits)"},
    {F::RGB, C::RGB48_12Bits, 0x12000C, "RGB 48-bits (3 x 12 bits), Normalized"},
    {F::RGB, C::RGB48, 0x820004, nullptr},
    {F::RGB, C::RGB48_10Bits, 0x820008, nullptr},
    {F::RGB, C::RGB48_12Bits, 0x82000C, nullptr},
    {F::RGB, C::BGR48_10Bits, 0x20042, "BGR 48-bits (3 x 10 bits)"},
    {F::RGB, C::BGR48_12Bits, 0x20043, "BGR 48-bits (3 x 12 bits)"},
    {F::RGB, C::RGB64, 0x20005, nullptr},
    {F::RGB, C::RGB64, 0x120005, nullptr},
    {F::RGB, C::RGB64_10Bits, 0x20009, "RGB 64-bits (4 x 10 bits)"},
    {F::RGB, C::RGB64_10Bits, 0x120009, "RGB 64-bits (4 x 10 bits), Normalized"},
    {F::RGB, C::RGB64_12Bits, 0x2000D, "RGB 64-bits (4 x 12 bits)"},
    {F::RGB, C::RGB64_12Bits, 0x12000D, "RGB 64-bits (4 x 12 bits), Normalized"},
    {F::RGB, C::BGR10PackedV1, 0x20044, nullptr},
    {F::RGB, C::BGR10PackedV2, 0x20045, nullptr},
    {F::RGB, C::RGB12PackedV1, 0x20046, nullptr},

    // YUV and YCrCb: every one has a fixed name.
    {F::YUV, C::YUV8, 0x40001, "YUV 8-bits 4:2:2"},
    {F::YUV, C::YUV8, 0x240001, "YUV 8-bits 4:2:2, Interlaced"},
    {F::YUV, C::YUV8_422_GEV, 0x40008, "YUV 8-bits 4:2:2 GEV"},
    {F::YUV, C::YUV8_444, 0x440003, "YUV 8-bits 4:4:4, Packed"},
    {F::YUV, C::YUV8_444, 0x640003, "YUV 8-bits 4:4:4, Packed, Interlaced"},
    {F::YUV, C::YUV8_444_GEV, 0x440007, "YUV 8-bits 4:4:4 GEV, Packed"},
    {F::YUV, C::YCrCb, 0x440005, "YCrCb 8-bits 4:4:4, Packed"},
    {F::YUV, C::YCrCb, 0x640005, "YCrCb 8-bits 4:4:4, Packed, Interlaced"},
    {F::YUV, C::YUV8_411, 0x440006, "YUV 8-bits 4:1:1, Packed"},
    {F::YUV, C::YUV8_411, 0x640006, "YUV 8-bits 4:1:1, Packed, Interlaced"},
    {F::YUV, C::YUV10, 0x40002, "YUV 10-bits 4:2:2"},
    {F::YUV, C::YUV10, 0x240002, "YUV 10-bits 4:2:2, Interlaced"},
    {F::YUV, C::YUV10, 0x140002, "YUV 10-bits 4:2:2, Normalized"},
    {F::YUV, C::YUV10, 0x340002, "YUV 10-bits 4:2:2, Normalized, Interlaced"},
};

}  // namespace

const BuiltinPixelType* GetBuiltinPixelTypes(size_t& count) {
    count = sizeof kBuiltinPixelTypes / sizeof kBuiltinPixelTypes[0];
    return kBuiltinPixelTypes;
}

void RegisterBuiltinPixelTypes(BuiltinTypeFamily family) {
    for (const BuiltinPixelType& entry : kBuiltinPixelTypes) {
        if (entry.family == family) RegisterPixelTypeAs(entry.typeClass, entry.id, entry.name);
    }
}

ZnUtilsLib::Result RegisterPixelTypeAs(PixelTypeClass typeClass, const int64& id,
                                       const char* name) {
    // The registry stores a base-class clone, so the object only has to live for the call.
    switch (typeClass) {
#define ZN_REGISTER_AS(Name, DefaultId, Bits, Bytes, Bayer)          \
    case PixelTypeClass::Name: {                                     \
        const Name type(id);                                         \
        return PixelTypeFactory::RegisterPixelType(id, &type, name); \
    }
        ZN_PIXEL_TYPE_CLASSES(ZN_REGISTER_AS)
#undef ZN_REGISTER_AS
    }
    return ZnUtilsLib::Result(ResultCode::kInvalidRequest);
}

const char* GetPixelTypeClassName(PixelTypeClass typeClass) {
    switch (typeClass) {
#define ZN_CLASS_NAME(Name, DefaultId, Bits, Bytes, Bayer) \
    case PixelTypeClass::Name:                             \
        return #Name;
        ZN_PIXEL_TYPE_CLASSES(ZN_CLASS_NAME)
#undef ZN_CLASS_NAME
    }
    return "";
}

}  // namespace ZnConvertersLib
