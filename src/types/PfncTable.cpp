// Camera pixel formats and the library types that read their bytes. A format is mapped to
// a built-in type only when that type's converters read exactly the bytes the camera
// sends; near misses (another bit order, another container) get an extension identifier
// instead, so that a wrong picture is never one lookup away.
#include <cstddef>

#include "ZnConvertersLib/Pfnc.h"

namespace ZnConvertersLib {

namespace {

constexpr uint32_t kGR = kBayerTileGRBG;
constexpr uint32_t kRG = kBayerTileRGGB;
constexpr uint32_t kGB = kBayerTileGBRG;
constexpr uint32_t kBG = kBayerTileBGGR;

// The wire size is part of the code, so it is written once.
constexpr PfncFormat Row(uint32_t code, const char* name, int64 pixelType, uint32_t flags,
                         bool convertible) {
    return {code, name, (code >> 16) & 0xFF, pixelType, flags, convertible};
}

// Where several names share one layout the canonical name comes first: reverse lookups
// return the first row of a type.
constexpr PfncFormat kFormats[] = {
    Row(0x01080001, "Mono8", 0x10001, 0, true),
    // Two's complement; the converters exist, the type is not registered at load.
    Row(0x01080002, "Mono8s", 0x10401, 0, true),
    // 10 to 16 bits in the low bits of a little-endian 16-bit word.
    Row(0x01100003, "Mono10", 0x10002, 0, true),
    Row(0x01100005, "Mono12", 0x10003, 0, true),
    Row(0x01100025, "Mono14", 0x10004, 0, true),
    Row(0x01100007, "Mono16", 0x10005, 0, true),
    // Two pixels in three bytes: both high bytes and a shared byte of low bits between.
    Row(0x010C0004, "Mono10Packed", 0x10008, 0, true),
    Row(0x010C0006, "Mono12Packed", 0x10009, 0, true),
    // Bit streams, least significant bit first. The 12-bit one is the packed Grayscale12
    // layout; the packed Grayscale10 keeps 12-bit slots, so 10p needs its own decoder.
    Row(0x010C0047, "Mono12p", 0x410003, 0, true),
    Row(0x010A0046, "Mono10p", kPixelTypeMono10p, 0, true),

    Row(0x01080008, "BayerGR8", 0x20010, kGR, true),
    Row(0x01080009, "BayerRG8", 0x20010, kRG, true),
    Row(0x0108000A, "BayerGB8", 0x20010, kGB, true),
    Row(0x0108000B, "BayerBG8", 0x20010, kBG, true),
    Row(0x0110000C, "BayerGR10", 0x20011, kGR, true),
    Row(0x0110000D, "BayerRG10", 0x20011, kRG, true),
    Row(0x0110000E, "BayerGB10", 0x20011, kGB, true),
    Row(0x0110000F, "BayerBG10", 0x20011, kBG, true),
    Row(0x01100010, "BayerGR12", 0x20012, kGR, true),
    Row(0x01100011, "BayerRG12", 0x20012, kRG, true),
    Row(0x01100012, "BayerGB12", 0x20012, kGB, true),
    Row(0x01100013, "BayerBG12", 0x20012, kBG, true),
    // Full 16-bit samples; the mosaic's converters exist, its type is not registered.
    Row(0x0110002E, "BayerGR16", 0x20020, kGR, true),
    Row(0x0110002F, "BayerRG16", 0x20020, kRG, true),
    Row(0x01100030, "BayerGB16", 0x20020, kGB, true),
    Row(0x01100031, "BayerBG16", 0x20020, kBG, true),
    Row(0x010C0026, "BayerGR10Packed", 0x20041, kGR, true),
    Row(0x010C0027, "BayerRG10Packed", 0x20041, kRG, true),
    Row(0x010C0028, "BayerGB10Packed", 0x20041, kGB, true),
    Row(0x010C0029, "BayerBG10Packed", 0x20041, kBG, true),
    Row(0x010C002A, "BayerGR12Packed", 0x20040, kGR, true),
    Row(0x010C002B, "BayerRG12Packed", 0x20040, kRG, true),
    Row(0x010C002C, "BayerGB12Packed", 0x20040, kGB, true),
    Row(0x010C002D, "BayerBG12Packed", 0x20040, kBG, true),
    Row(0x010C0057, "BayerGR12p", 0x420012, kGR, true),
    Row(0x010C0059, "BayerRG12p", 0x420012, kRG, true),
    Row(0x010C0055, "BayerGB12p", 0x420012, kGB, true),
    Row(0x010C0053, "BayerBG12p", 0x420012, kBG, true),
    Row(0x010A0056, "BayerGR10p", kPixelTypeBayer10p, kGR, true),
    Row(0x010A0058, "BayerRG10p", kPixelTypeBayer10p, kRG, true),
    Row(0x010A0054, "BayerGB10p", kPixelTypeBayer10p, kGB, true),
    Row(0x010A0052, "BayerBG10p", kPixelTypeBayer10p, kBG, true),

    // Three bytes a pixel: the packed identifiers, since the unpacked 24-bit ones are
    // sized at four bytes a pixel.
    Row(0x02180014, "RGB8", 0x420002, 0, true),
    Row(0x02180015, "BGR8", 0x420006, 0, true),
    // The fourth byte is never read, so alpha and padding are alike.
    Row(0x02200016, "RGBa8", 0x20003, 0, true),
    Row(0x02200017, "BGRa8", 0x20007, 0, true),
    // Three little-endian 16-bit words, samples in the low bits.
    Row(0x02300018, "RGB10", 0x20008, 0, true),
    Row(0x02300019, "BGR10", 0x20042, 0, true),
    Row(0x0230001A, "RGB12", 0x2000C, 0, true),
    Row(0x0230001B, "BGR12", 0x20043, 0, true),
    // RGB48 is registered but nothing converts from it yet.
    Row(0x02300033, "RGB16", 0x20004, 0, false),
    // Byte 0 the low bits of all three, then the high bytes of B, G and R.
    Row(0x0220001C, "RGB10V1Packed", 0x20044, 0, true),
    // R in the low bits of the word: the built-in 32-bit 10-bit type has B there.
    Row(0x0220001D, "RGB10p32", kPixelTypeRGB10p32, 0, true),
    // R0 G0 B0 R1 G1 B1 packed two samples in three bytes, high bytes first.
    Row(0x02240034, "RGB12V1Packed", 0x20046, 0, true),
    // One little-endian 16-bit word: B in bits 0-4, G in 5-10, R in 11-15.
    Row(0x02100036, "BGR565p", 0x20001, 0, true),
    // Three planes R, G, B one after the other in one buffer.
    Row(0x02180021, "RGB8_Planar", 0x820002, 0, true),
    Row(0x02300022, "RGB10_Planar", 0x820008, 0, true),
    Row(0x02300023, "RGB12_Planar", 0x82000C, 0, true),
    Row(0x02300024, "RGB16_Planar", 0x820004, 0, true),

    // One matrix serves every YUV type (studio-range BT.601). The YCbCr601 names are
    // exactly that; the plain YCbCr names are full-range and come out with slightly more
    // contrast and saturation than the camera meant.
    Row(0x02100032, "YUV422_8", 0x40001, 0, true),
    Row(0x0210003B, "YCbCr422_8", 0x40001, 0, true),
    Row(0x0210003E, "YCbCr601_422_8", 0x40001, 0, true),
    Row(0x0210001F, "YUV422_8_UYVY", 0x40008, 0, true),
    Row(0x02100043, "YCbCr422_8_CbYCrY", 0x40008, 0, true),
    Row(0x02100044, "YCbCr601_422_8_CbYCrY", 0x40008, 0, true),
    Row(0x020C001E, "YUV411_8_UYYVYY", 0x440006, 0, true),
    Row(0x020C003C, "YCbCr411_8_CbYYCrYY", 0x440006, 0, true),
    Row(0x020C003F, "YCbCr601_411_8_CbYYCrYY", 0x440006, 0, true),
    Row(0x02180020, "YUV8_UYV", 0x440007, 0, true),
    Row(0x0218003A, "YCbCr8_CbYCr", 0x440007, 0, true),
    Row(0x0218003D, "YCbCr601_8_CbYCr", 0x440007, 0, true),
    Row(0x0218005B, "YCbCr8", 0x440003, 0, true),
};

constexpr uint32_t kFormatCount = sizeof kFormats / sizeof kFormats[0];

// Names older GigE Vision cameras still report for formats renamed since.
struct LegacyName {
    const char* name;
    uint32_t code;
};
constexpr LegacyName kLegacyNames[] = {
    {"Mono8Signed", 0x01080002},  {"RGB8Packed", 0x02180014},    {"BGR8Packed", 0x02180015},
    {"RGBA8Packed", 0x02200016},  {"BGRA8Packed", 0x02200017},   {"RGB10Packed", 0x02300018},
    {"BGR10Packed", 0x02300019},  {"RGB12Packed", 0x0230001A},   {"BGR12Packed", 0x0230001B},
    {"RGB16Packed", 0x02300033},  {"RGB10V2Packed", 0x0220001D}, {"YUV411Packed", 0x020C001E},
    {"YUV422Packed", 0x0210001F}, {"YUV444Packed", 0x02180020},  {"YUYVPacked", 0x02100032},
    {"RGB8Planar", 0x02180021},   {"RGB10Planar", 0x02300022},   {"RGB12Planar", 0x02300023},
    {"RGB16Planar", 0x02300024},  {"BGR565Packed", 0x02100036},
};

// ASCII only: the names are, and a locale must not change what matches.
bool SameName(const char* a, const char* b) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
    for (; *a != '\0' && lower(*a) == lower(*b); ++a, ++b) {
    }
    return *a == '\0' && *b == '\0';
}

// The tile a conversion would use: the highest flag set, GRBG when none is.
uint32_t EffectiveTile(uint32_t flags) {
    for (uint32_t tile = kBayerTileBGGR; tile >= kBayerTileGRBG; tile >>= 1) {
        if (flags & tile) return tile;
    }
    return kBayerTileGRBG;
}

}  // namespace

const PfncFormat* FindPfncFormat(uint32_t code) {
    RegisterCameraFormats();
    for (const PfncFormat& format : kFormats) {
        if (format.code == code) return &format;
    }
    return nullptr;
}

const PfncFormat* FindPfncFormat(const char* name) {
    RegisterCameraFormats();
    if (name == nullptr) return nullptr;
    for (const PfncFormat& format : kFormats) {
        if (SameName(format.name, name)) return &format;
    }
    for (const LegacyName& legacy : kLegacyNames) {
        if (SameName(legacy.name, name)) return FindPfncFormat(legacy.code);
    }
    return nullptr;
}

const char* GetPfncName(const int64& pixelType, uint32_t flags) {
    const uint32_t tile = EffectiveTile(flags);
    for (const PfncFormat& format : kFormats) {
        if (format.pixelType == pixelType && (format.flags == 0 || format.flags == tile)) {
            return format.name;
        }
    }
    return nullptr;
}

uint32_t CountPfncFormats() {
    return kFormatCount;
}

const PfncFormat& GetPfncFormat(uint32_t index) {
    return kFormats[index];
}

}  // namespace ZnConvertersLib
