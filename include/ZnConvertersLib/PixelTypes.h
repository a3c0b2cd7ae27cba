#pragma once

#include "ZnConvertersLib/PixelType.h"

namespace ZnConvertersLib {

// The concrete pixel formats: class, default identifier, bit size, byte size, Bayer.
// BayerRGB16 reports 14 bits on purpose; applications rely on that value.
#define ZN_PIXEL_TYPE_CLASSES(X)                              \
    X(Grayscale4, 0x10400, 4, 1, false)                       \
    X(Grayscale8, 0x10001, 8, 1, false)                       \
    X(Grayscale8Signed, 0x10401, 8, 1, false)                 \
    X(Grayscale10, 0x10002, 10, 2, false)                     \
    X(Grayscale12, 0x10003, 12, 2, false)                     \
    X(Grayscale14, 0x10004, 14, 2, false)                     \
    X(Grayscale16, 0x10005, 16, 2, false)                     \
    X(Grayscale8_DualQuadMultiplexed, 0x10006, 8, 1, false)   \
    X(Grayscale10_DualQuadMultiplexed, 0x10007, 10, 2, false) \
    X(Grayscale10_Packed_GEV, 0x10008, 10, 2, false)          \
    X(Grayscale12_Packed_GEV, 0x10009, 12, 2, false)          \
    X(RGB16, 0x20001, 16, 2, false)                           \
    X(RGB24, 0x20002, 24, 3, false)                           \
    X(RGB32, 0x20003, 32, 4, false)                           \
    X(RGB48, 0x20004, 48, 6, false)                           \
    X(RGB64, 0x20005, 64, 8, false)                           \
    X(BGR24, 0x20006, 24, 3, false)                           \
    X(BGR32, 0x20007, 32, 4, false)                           \
    X(RGB48_10Bits, 0x20008, 10, 6, false)                    \
    X(RGB64_10Bits, 0x20009, 10, 8, false)                    \
    X(RGB8_3, 0x2000A, 8, 3, false)                           \
    X(RGB8_4, 0x2000B, 8, 4, false)                           \
    X(RGB48_12Bits, 0x2000C, 12, 6, false)                    \
    X(RGB64_12Bits, 0x2000D, 12, 8, false)                    \
    X(BGR48_10Bits, 0x20042, 10, 6, false)                    \
    X(BGR48_12Bits, 0x20043, 12, 6, false)                    \
    X(BGR10PackedV1, 0x20044, 32, 4, false)                   \
    X(BGR10PackedV2, 0x20045, 32, 4, false)                   \
    X(RGB12PackedV1, 0x20046, 36, 5, false)                   \
    X(BayerRGB8, 0x20010, 8, 1, true)                         \
    X(BayerRGB10, 0x20011, 10, 2, true)                       \
    X(BayerRGB12, 0x20012, 12, 2, true)                       \
    X(BayerRGB14, 0x20016, 14, 2, true)                       \
    X(BayerRGB16, 0x20020, 14, 2, true)                       \
    X(BayerRGB12_Packed_GEV, 0x20040, 12, 2, true)            \
    X(BayerRGB10_Packed_GEV, 0x20041, 10, 2, true)            \
    X(YUV8, 0x40001, 16, 2, false)                            \
    X(YUV10, 0x40002, 20, 4, false)                           \
    X(YUV8_444, 0x40003, 24, 3, false)                        \
    X(YCrCb, 0x40005, 24, 3, false)                           \
    X(YUV8_411, 0x40006, 12, 2, false)                        \
    X(YUV8_444_GEV, 0x40007, 24, 3, false)                    \
    X(YUV8_422_GEV, 0x40008, 16, 2, false)

#define ZN_DECLARE_PIXEL_TYPE_CLASS(Name, DefaultId, Bits, Bytes, Bayer) \
    class Name : public PixelType {                                      \
    public:                                                              \
        static constexpr int64 kDefaultID = DefaultId;                   \
        static constexpr unsigned short kBitSize = Bits;                 \
        static constexpr unsigned short kByteSize = Bytes;               \
        Name();                                                          \
        explicit Name(const int64& id);                                  \
        ~Name() override;                                                \
    };

ZN_PIXEL_TYPE_CLASSES(ZN_DECLARE_PIXEL_TYPE_CLASS)

#undef ZN_DECLARE_PIXEL_TYPE_CLASS

}  // namespace ZnConvertersLib
