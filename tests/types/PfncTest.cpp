// The camera pixel format table against a list written out by hand, against the registry
// as loaded, and its lookups in both directions.
#include <gtest/gtest.h>

#include <cctype>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"
#include "types/BuiltinPixelTypes.h"

using namespace ZnConvertersLib;

namespace {

constexpr uint32_t GR = kBayerTileGRBG, RG = kBayerTileRGGB, GB = kBayerTileGBRG,
                   BG = kBayerTileBGGR;

struct Expected {
    uint32_t code;
    const char* name;
    uint32_t bits;
    int64 type;
    uint32_t flags;
    bool convertible;
};

// Codes copied from Aravis' arvenums.h (ARV_PIXEL_FORMAT_*) where it has them; Mono10p,
// Mono12p, RGB10V1Packed, RGB10p32, RGB12V1Packed and the YCbCr names from the GenICam
// list itself.
const Expected kExpected[] = {
    {0x01080001, "Mono8", 8, 0x10001, 0, true},
    {0x01080002, "Mono8s", 8, 0x10401, 0, true},
    {0x01100003, "Mono10", 16, 0x10002, 0, true},
    {0x01100005, "Mono12", 16, 0x10003, 0, true},
    {0x01100025, "Mono14", 16, 0x10004, 0, true},
    {0x01100007, "Mono16", 16, 0x10005, 0, true},
    {0x010C0004, "Mono10Packed", 12, 0x10008, 0, true},
    {0x010C0006, "Mono12Packed", 12, 0x10009, 0, true},
    {0x010A0046, "Mono10p", 10, kPixelTypeMono10p, 0, true},
    {0x010C0047, "Mono12p", 12, 0x410003, 0, true},
    {0x01080008, "BayerGR8", 8, 0x20010, GR, true},
    {0x01080009, "BayerRG8", 8, 0x20010, RG, true},
    {0x0108000A, "BayerGB8", 8, 0x20010, GB, true},
    {0x0108000B, "BayerBG8", 8, 0x20010, BG, true},
    {0x0110000C, "BayerGR10", 16, 0x20011, GR, true},
    {0x0110000D, "BayerRG10", 16, 0x20011, RG, true},
    {0x0110000E, "BayerGB10", 16, 0x20011, GB, true},
    {0x0110000F, "BayerBG10", 16, 0x20011, BG, true},
    {0x01100010, "BayerGR12", 16, 0x20012, GR, true},
    {0x01100011, "BayerRG12", 16, 0x20012, RG, true},
    {0x01100012, "BayerGB12", 16, 0x20012, GB, true},
    {0x01100013, "BayerBG12", 16, 0x20012, BG, true},
    {0x0110002E, "BayerGR16", 16, 0x20020, GR, true},
    {0x0110002F, "BayerRG16", 16, 0x20020, RG, true},
    {0x01100030, "BayerGB16", 16, 0x20020, GB, true},
    {0x01100031, "BayerBG16", 16, 0x20020, BG, true},
    {0x010A0056, "BayerGR10p", 10, kPixelTypeBayer10p, GR, true},
    {0x010A0058, "BayerRG10p", 10, kPixelTypeBayer10p, RG, true},
    {0x010A0054, "BayerGB10p", 10, kPixelTypeBayer10p, GB, true},
    {0x010A0052, "BayerBG10p", 10, kPixelTypeBayer10p, BG, true},
    {0x010C0057, "BayerGR12p", 12, 0x420012, GR, true},
    {0x010C0059, "BayerRG12p", 12, 0x420012, RG, true},
    {0x010C0055, "BayerGB12p", 12, 0x420012, GB, true},
    {0x010C0053, "BayerBG12p", 12, 0x420012, BG, true},
    {0x010C0026, "BayerGR10Packed", 12, 0x20041, GR, true},
    {0x010C0027, "BayerRG10Packed", 12, 0x20041, RG, true},
    {0x010C0028, "BayerGB10Packed", 12, 0x20041, GB, true},
    {0x010C0029, "BayerBG10Packed", 12, 0x20041, BG, true},
    {0x010C002A, "BayerGR12Packed", 12, 0x20040, GR, true},
    {0x010C002B, "BayerRG12Packed", 12, 0x20040, RG, true},
    {0x010C002C, "BayerGB12Packed", 12, 0x20040, GB, true},
    {0x010C002D, "BayerBG12Packed", 12, 0x20040, BG, true},
    {0x02180014, "RGB8", 24, 0x420002, 0, true},
    {0x02180015, "BGR8", 24, 0x420006, 0, true},
    {0x02200016, "RGBa8", 32, 0x20003, 0, true},
    {0x02200017, "BGRa8", 32, 0x20007, 0, true},
    {0x02300018, "RGB10", 48, 0x20008, 0, true},
    {0x02300019, "BGR10", 48, 0x20042, 0, true},
    {0x0230001A, "RGB12", 48, 0x2000C, 0, true},
    {0x0230001B, "BGR12", 48, 0x20043, 0, true},
    {0x02300033, "RGB16", 48, 0x20004, 0, false},
    {0x0220001C, "RGB10V1Packed", 32, 0x20044, 0, true},
    {0x0220001D, "RGB10p32", 32, kPixelTypeRGB10p32, 0, true},
    {0x02240034, "RGB12V1Packed", 36, 0x20046, 0, true},
    {0x02100036, "BGR565p", 16, 0x20001, 0, true},
    {0x02180021, "RGB8_Planar", 24, 0x820002, 0, true},
    {0x02300022, "RGB10_Planar", 48, 0x820008, 0, true},
    {0x02300023, "RGB12_Planar", 48, 0x82000C, 0, true},
    {0x02300024, "RGB16_Planar", 48, 0x820004, 0, true},
    {0x020C001E, "YUV411_8_UYYVYY", 12, 0x440006, 0, true},
    {0x020C003C, "YCbCr411_8_CbYYCrYY", 12, 0x440006, 0, true},
    {0x020C003F, "YCbCr601_411_8_CbYYCrYY", 12, 0x440006, 0, true},
    {0x02100032, "YUV422_8", 16, 0x40001, 0, true},
    {0x0210003B, "YCbCr422_8", 16, 0x40001, 0, true},
    {0x0210003E, "YCbCr601_422_8", 16, 0x40001, 0, true},
    {0x0210001F, "YUV422_8_UYVY", 16, 0x40008, 0, true},
    {0x02100043, "YCbCr422_8_CbYCrY", 16, 0x40008, 0, true},
    {0x02100044, "YCbCr601_422_8_CbYCrY", 16, 0x40008, 0, true},
    {0x02180020, "YUV8_UYV", 24, 0x440007, 0, true},
    {0x0218003A, "YCbCr8_CbYCr", 24, 0x440007, 0, true},
    {0x0218003D, "YCbCr601_8_CbYCr", 24, 0x440007, 0, true},
    {0x0218005B, "YCbCr8", 24, 0x440003, 0, true},
};

// GigE Vision 1.x names of renamed formats.
const std::pair<const char*, uint32_t> kLegacy[] = {
    {"Mono8Signed", 0x01080002},  {"RGB8Packed", 0x02180014},    {"BGR8Packed", 0x02180015},
    {"RGBA8Packed", 0x02200016},  {"BGRA8Packed", 0x02200017},   {"RGB10Packed", 0x02300018},
    {"BGR10Packed", 0x02300019},  {"RGB12Packed", 0x0230001A},   {"BGR12Packed", 0x0230001B},
    {"RGB16Packed", 0x02300033},  {"RGB10V2Packed", 0x0220001D}, {"YUV411Packed", 0x020C001E},
    {"YUV422Packed", 0x0210001F}, {"YUV444Packed", 0x02180020},  {"YUYVPacked", 0x02100032},
    {"RGB8Planar", 0x02180021},   {"RGB10Planar", 0x02300022},   {"RGB12Planar", 0x02300023},
    {"RGB16Planar", 0x02300024},  {"BGR565Packed", 0x02100036},
};

std::string Lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// "BaYeRgR8": every other letter's case flipped.
std::string MixedCase(const char* name) {
    std::string s(name);
    for (size_t i = 0; i < s.size(); i += 2) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        s[i] = char(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    }
    return s;
}

}  // namespace

// Every row equals the hand-written one, is found by its code and by its name in any case,
// and its convertible flag says what the registry says once a lookup has registered the
// camera packings: a colour converter, Bayer exactly for the registered types with a tile.
TEST(Pfnc, TableMatchesHandWrittenListAndLoadedRegistry) {
    ASSERT_EQ(CountPfncFormats(), std::size(kExpected));
    for (const Expected& e : kExpected) {
        SCOPED_TRACE(e.name);
        const PfncFormat* format = FindPfncFormat(e.code);
        ASSERT_NE(format, nullptr);
        EXPECT_STREQ(format->name, e.name);
        EXPECT_EQ(format->bitsPerPixel, e.bits);
        EXPECT_EQ(format->bitsPerPixel, (e.code >> 16) & 0xFF);
        EXPECT_EQ(format->pixelType, e.type);
        EXPECT_EQ(format->flags, e.flags);
        EXPECT_EQ(format->convertible, e.convertible);
        EXPECT_EQ(FindPfncFormat(e.name), format);
        EXPECT_EQ(FindPfncFormat(MixedCase(e.name).c_str()), format);
        EXPECT_EQ(FindPfncFormat(Lower(e.name).c_str()), format);

        const bool registered = PixelTypeFactory::HasPixelType(e.type);
        EXPECT_EQ(e.convertible, PixelTypeFactory::HasConverter(e.type, 0x420002));
        if (registered) {
            EXPECT_EQ(PixelTypeFactory::GetPixelType(e.type).IsBayerPattern(), e.flags != 0);
        }
    }
}

TEST(Pfnc, CodesAndNamesAreUniqueAndEnumerationCoversTheTable) {
    std::set<uint32_t> codes;
    std::set<std::string> names;
    for (uint32_t i = 0; i < CountPfncFormats(); ++i) {
        const PfncFormat& format = GetPfncFormat(i);
        EXPECT_TRUE(codes.insert(format.code).second) << format.name;
        EXPECT_TRUE(names.insert(Lower(format.name)).second) << format.name;
        EXPECT_EQ(FindPfncFormat(format.code), &format);
    }
    for (const auto& [name, code] : kLegacy) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(names.insert(Lower(name)).second);
        EXPECT_EQ(FindPfncFormat(name), FindPfncFormat(code));
        EXPECT_NE(FindPfncFormat(MixedCase(name).c_str()), nullptr);
    }
}

TEST(Pfnc, UnknownCodesAndNamesFindNothing) {
    for (uint32_t code : {0u, 0x01080003u, 0x01100001u, 0x81080001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(FindPfncFormat(code), nullptr) << std::hex << code;
    }
    for (const char* name : {"", "Mono", "Mono8 ", " Mono8", "Mono8x", "Mono9", "BayerGR"}) {
        EXPECT_EQ(FindPfncFormat(name), nullptr) << '"' << name << '"';
    }
    EXPECT_EQ(FindPfncFormat(static_cast<const char*>(nullptr)), nullptr);
    // Built-in layouts no camera format names: quad taps, 4-bit gray, B in the low bits
    // of a 10-bit word, mosaics read out through two taps.
    for (int64 type : {0x10006, 0x10400, 0x20045, 0x1020010}) {
        EXPECT_EQ(GetPfncName(type, 0), nullptr) << std::hex << type;
    }
}

// name -> format -> GetPfncName(type, flags) names a format of the same type and flags,
// and the tile resolves as a conversion resolves it.
TEST(Pfnc, ReverseLookupRoundTripsAndResolvesTheTile) {
    for (const Expected& e : kExpected) {
        SCOPED_TRACE(e.name);
        const PfncFormat* format = FindPfncFormat(e.name);
        ASSERT_NE(format, nullptr);
        const char* back = GetPfncName(format->pixelType, format->flags);
        ASSERT_NE(back, nullptr);
        const PfncFormat* again = FindPfncFormat(back);
        ASSERT_NE(again, nullptr);
        EXPECT_EQ(again->pixelType, e.type);
        EXPECT_EQ(again->flags, e.flags);
    }
    EXPECT_STREQ(GetPfncName(0x20010, 0), "BayerGR8");
    EXPECT_STREQ(GetPfncName(0x20012, RG | GR), "BayerRG12");
    EXPECT_STREQ(GetPfncName(0x20011, BG | GB | kBayerNeighbourhoodMethod), "BayerBG10");
    EXPECT_STREQ(GetPfncName(0x420002, BG), "RGB8");
    EXPECT_STREQ(GetPfncName(0x40001, 0), "YUV422_8");
    EXPECT_STREQ(GetPfncName(0x440007, 0), "YUV8_UYV");
}

// The extension identifiers use format codes no built-in identifier or class default
// uses (so no attribute bits can make them collide), sit in their range and have the
// colour space and attributes their registration will need.
TEST(Pfnc, ExtensionIdentifiersAreFreeAndCarryTheirColourSpace) {
    std::set<uint32_t> takenFormats;
    auto take = [&](int64 id) {
        takenFormats.insert(PixelTypeBits::Low32(id) & PixelTypeBits::kFormatMask);
    };
    size_t count = 0;
    const BuiltinPixelType* builtins = GetBuiltinPixelTypes(count);
    for (size_t i = 0; i < count; ++i) take(builtins[i].id);
#define ZN_DEFAULT_ID(Name, DefaultId, Bits, Bytes, Bayer) take(DefaultId);
    ZN_PIXEL_TYPE_CLASSES(ZN_DEFAULT_ID)
#undef ZN_DEFAULT_ID
    const std::pair<int64, uint32_t> extensions[] = {
        {kPixelTypeMono10p, PixelTypeBits::kGrayscale | PixelTypeBits::kPacked},
        {kPixelTypeBayer10p, PixelTypeBits::kRGB | PixelTypeBits::kPacked},
        {kPixelTypeRGB10p32, PixelTypeBits::kRGB},
    };
    std::set<int64> distinct;
    for (const auto& [id, attributes] : extensions) {
        SCOPED_TRACE(testing::Message() << std::hex << id);
        const uint32_t low = PixelTypeBits::Low32(id);
        EXPECT_EQ(id, int64(low));
        EXPECT_EQ(low & ~PixelTypeBits::kFormatMask, attributes);
        EXPECT_GE(low & PixelTypeBits::kFormatMask, kPixelTypeExtensionFormatFirst);
        EXPECT_LE(low & PixelTypeBits::kFormatMask, kPixelTypeExtensionFormatLast);
        EXPECT_EQ(takenFormats.count(low & PixelTypeBits::kFormatMask), 0u);
        EXPECT_TRUE(distinct.insert(id).second);
    }
}
