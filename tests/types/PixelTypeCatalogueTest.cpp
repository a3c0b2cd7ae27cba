// The built-in pixel types as the registry holds them after load, their display names and
// the attribute queries over them.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"
#include "types/BuiltinPixelTypes.h"

using namespace ZnConvertersLib;

namespace {

// Types this file registers itself, so that counts of the whole registry stay exact in
// whatever order the tests run.
uint32_t gRegisteredHere = 0;

std::vector<BuiltinPixelType> Table() {
    size_t count = 0;
    const BuiltinPixelType* rows = GetBuiltinPixelTypes(count);
    return std::vector<BuiltinPixelType>(rows, rows + count);
}

struct ClassTraits {
    unsigned short bits;
    unsigned short bytes;
    bool bayer;
};

ClassTraits TraitsOf(PixelTypeClass typeClass) {
    switch (typeClass) {
#define ZN_TRAITS(Name, DefaultId, Bits, Bytes, Bayer) \
    case PixelTypeClass::Name:                         \
        return {Bits, Bytes, Bayer};
        ZN_PIXEL_TYPE_CLASSES(ZN_TRAITS)
#undef ZN_TRAITS
    }
    return {0, 0, false};
}

bool IsBayerFamily(BuiltinTypeFamily family) {
    return family == BuiltinTypeFamily::BayerRGB8 || family == BuiltinTypeFamily::BayerRGB10 ||
           family == BuiltinTypeFamily::BayerRGB12;
}

TEST(PixelTypeCatalogue, TableHolds151UniqueIdentifiersGroupedByFamilyInOrder) {
    const std::vector<BuiltinPixelType> table = Table();
    ASSERT_EQ(table.size(), 151u);

    std::map<std::string, int> perKind;
    std::set<int64> ids;
    for (size_t i = 0; i < table.size(); ++i) {
        const BuiltinPixelType& row = table[i];
        EXPECT_TRUE(ids.insert(row.id).second) << std::hex << row.id << " listed twice";
        if (i > 0) {
            EXPECT_LE(static_cast<int>(table[i - 1].family), static_cast<int>(row.family))
                << "families are registered one after the other, in order";
        }
        const uint32_t space = PixelTypeBits::Low32(row.id) & PixelTypeBits::kColorSpaceMask;
        if (IsBayerFamily(row.family)) {
            ++perKind["Bayer"];
            EXPECT_TRUE(TraitsOf(row.typeClass).bayer) << std::hex << row.id;
        } else if (space == PixelTypeBits::kGrayscale) {
            ++perKind["gray"];
        } else if (space == PixelTypeBits::kRGB) {
            ++perKind["RGB"];
            EXPECT_FALSE(TraitsOf(row.typeClass).bayer) << std::hex << row.id;
        } else if (space == PixelTypeBits::kYUV) {
            ++perKind["YUV"];
            EXPECT_NE(row.name, nullptr) << "every YUV type has a fixed name";
        }
    }
    EXPECT_EQ(perKind["Bayer"], 39);
    EXPECT_EQ(perKind["gray"], 64);
    EXPECT_EQ(perKind["RGB"], 34);
    EXPECT_EQ(perKind["YUV"], 14);
}

TEST(PixelTypeCatalogue, EveryBuiltinIsRegisteredWithItsClassSizesNameAndCopyConverters) {
    int interlaced = 0;
    for (const BuiltinPixelType& row : Table()) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << "0x" << row.id << " " << GetPixelTypeClassName(row.typeClass));
        ASSERT_TRUE(PixelTypeFactory::HasPixelType(row.id));
        const PixelType& type = PixelTypeFactory::GetPixelType(row.id);
        const ClassTraits traits = TraitsOf(row.typeClass);
        EXPECT_EQ(type.GetTypeID(), row.id);
        EXPECT_EQ(type.GetPixelBitSize(), traits.bits);
        EXPECT_EQ(type.GetPixelByteSize(), traits.bytes);
        EXPECT_EQ(type.IsBayerPattern(), traits.bayer);

        const std::string expectedName =
            row.name ? row.name : ComposePixelTypeName(row.id, type, type.IsBayerPattern());
        EXPECT_EQ(PixelTypeFactory::GetPixelTypeName(row.id), expectedName);

        EXPECT_TRUE(PixelTypeFactory::HasConverter(row.id, row.id));
        if (PixelTypeBits::Has(row.id, PixelTypeBits::kInterlaced)) {
            ++interlaced;
            EXPECT_TRUE(PixelTypeFactory::HasConverter(
                row.id, row.id & ~static_cast<int64>(PixelTypeBits::kInterlaced)));
        }
    }
    EXPECT_EQ(interlaced, 27);
    EXPECT_EQ(PixelTypeFactory::CountRegisteredPixelTypes() - gRegisteredHere, 151u);
}

TEST(PixelTypeCatalogue, ClassesLeftOutAreUnknownToTheRegistry) {
    for (int64 id : {int64{0x10400}, int64{0x10401}, int64{0x20016}, int64{0x20020}}) {
        EXPECT_FALSE(PixelTypeFactory::HasPixelType(id)) << std::hex << id;
        const char* name = PixelTypeFactory::GetPixelTypeName(id);
        EXPECT_STREQ(name, "Unregistered pixel type");
        EXPECT_EQ(PixelTypeFactory::GetPixelTypeName(id), name) << "the same text every time";
    }
}

struct NameCase {
    int64 id;
    const char* name;
};

void PrintTo(const NameCase& c, std::ostream* os) {
    *os << std::hex << "0x" << c.id;
}

class PixelTypeCatalogueNames : public testing::TestWithParam<NameCase> {};

TEST_P(PixelTypeCatalogueNames, RegisteredTypesCarryTheirDisplayNames) {
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(GetParam().id), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Representative, PixelTypeCatalogueNames,
    testing::Values(
        NameCase{0x10001, "Grayscale8-bits"},
        NameCase{0x610002, "Grayscale10-bits, Interlaced, Packed"},
        NameCase{0x2110002, "Grayscale10-bits, Normalized, Dual Left+Right Inverted output"},
        NameCase{0x8610003,
                 "Grayscale12-bits, Interlaced, Packed, Dual Left Inverted+Right Inverted output"},
        NameCase{0x10010001, "Grayscale8-bits, Dual Lines output"},
        NameCase{0x20010, "Bayer RGB8-bits"},
        NameCase{0x1020010, "Bayer RGB8-bits, Dual Left+Right output"},
        NameCase{0x4420012, "Bayer RGB12-bits, Packed, Dual Left Inverted+Right output"},
        NameCase{0x20041, "Bayer RGB10-bits"},  // the packed GEV class has no attribute bits
        NameCase{0x420002, "RGB24-bits, Packed"}, NameCase{0x820004, "RGB48-bits, Planar"},
        NameCase{0x820008, "RGB10-bits, Planar"},
        NameCase{0x20007, "RGB32-bits"},  // BGR32's composed name says RGB
        NameCase{0x20046, "RGB36-bits"},
        NameCase{0x10006, "Grayscale, 8-bits, Inverted Quad taps multiplexed on dual taps"},
        NameCase{0x110007, "Grayscale, 10-bits, Normalized, Inverted Quad taps"},
        NameCase{0x420006, "BGR 24-bits, Packed"},
        NameCase{0x82000B, "RGB 32-bits (4 X 8-bits), Planar"},
        NameCase{0x12000D, "RGB 64-bits (4 x 12 bits), Normalized"},
        NameCase{0x640006, "YUV 8-bits 4:1:1, Packed, Interlaced"},
        NameCase{0x340002, "YUV 10-bits 4:2:2, Normalized, Interlaced"}));

TEST(PixelTypeCatalogue, SizesOfThePlanarDeepRGBTypesComeFromTheirClasses) {
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x820008).GetPixelBitSize(), 10);
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x820008).GetPixelByteSize(), 6);
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x82000C).GetPixelBitSize(), 12);
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x820004).GetPixelBitSize(), 48);
}

struct ComposeCase {
    const char* label;
    int64 id;
    PixelTypeClass typeClass;
    const char* name;
};

void PrintTo(const ComposeCase& c, std::ostream* os) {
    *os << c.label;
}

class PixelTypeNameComposition : public testing::TestWithParam<ComposeCase> {};

TEST_P(PixelTypeNameComposition, FollowsTheNamingRules) {
    const ComposeCase c = GetParam();
    const ClassTraits traits = TraitsOf(c.typeClass);
    const PixelType type(c.id, traits.bits, traits.bytes, traits.bayer);
    EXPECT_EQ(ComposePixelTypeName(c.id, type, type.IsBayerPattern()), c.name);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, PixelTypeNameComposition,
    testing::Values(
        // The bit count follows the colour-space word with no separator.
        ComposeCase{"NoSeparator", 0x10005, PixelTypeClass::Grayscale16, "Grayscale16-bits"},
        ComposeCase{"AllAttributesInOrder", 0xF10002, PixelTypeClass::Grayscale10,
                    "Grayscale10-bits, Normalized, Interlaced, Packed, Planar"},
        ComposeCase{"DualLines", 0x10310005, PixelTypeClass::Grayscale16,
                    "Grayscale16-bits, Normalized, Interlaced, Dual Lines output"},
        ComposeCase{"LeftRight", 0x1010001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits, Dual Left+Right output"},
        ComposeCase{"LeftRightInverted", 0x2010001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits, Dual Left+Right Inverted output"},
        ComposeCase{"LeftInvertedRight", 0x4010001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits, Dual Left Inverted+Right output"},
        ComposeCase{"BothInverted", 0x8010001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits, Dual Left Inverted+Right Inverted output"},
        // Several tap bits name no layout at all.
        ComposeCase{"TwoTapBits", 0x3310001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits, Normalized, Interlaced"},
        ComposeCase{"AllTapBits", 0x1F010001, PixelTypeClass::Grayscale8, "Grayscale8-bits"},
        // A Bayer class under another colour space loses its Bayer flag and word.
        ComposeCase{"BayerClassAsGray", 0x10010, PixelTypeClass::BayerRGB8, "Grayscale8-bits"},
        ComposeCase{"NonBayerRGB", 0x20010, PixelTypeClass::Grayscale8, "RGB8-bits"},
        ComposeCase{"YUVComposed", 0x40001, PixelTypeClass::YUV8, "YUV16-bits"},
        ComposeCase{"UnknownSpace", 0x70001, PixelTypeClass::Grayscale8,
                    "Unknown Colorspace8-bits"},
        ComposeCase{"NoSpace", 0x1, PixelTypeClass::Grayscale8, "Unknown Colorspace8-bits"},
        // Only the low 32 bits are read.
        ComposeCase{"HighBitsIgnored", 0x7F00000000010001, PixelTypeClass::Grayscale8,
                    "Grayscale8-bits"}),
    [](const testing::TestParamInfo<ComposeCase>& info) { return info.param.label; });

TEST(PixelTypeCatalogue, RegisteringWithoutANameComposesOne) {
    ASSERT_TRUE(RegisterPixelTypeAs(PixelTypeClass::Grayscale16, 0x10310005, nullptr).IsSuccess());
    ++gRegisteredHere;
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(0x10310005),
                 "Grayscale16-bits, Normalized, Interlaced, Dual Lines output");
    // The temporary object registered was of the named class.
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x10310005).GetPixelBitSize(), 16);
}

TEST(PixelTypeCatalogue, AttributeQueriesFindTheDocumentedTypesInIdentifierOrder) {
    EXPECT_EQ(PixelTypeFactory::CountPixelTypes(10, 0x10000, false, false, false, false, 0, false),
              3u);
    const int64 expected[] = {0x10002, 0x10007, 0x10008};
    for (uint32_t i = 0; i < 3; ++i) {
        const std::unique_ptr<PixelType> type(PixelTypeFactory::CreatePixelType(
            10, 0x10000, false, false, false, false, 0, false, i));
        ASSERT_NE(type, nullptr);
        EXPECT_EQ(type->GetTypeID(), expected[i]);
    }
    EXPECT_EQ(
        PixelTypeFactory::CreatePixelType(10, 0x10000, false, false, false, false, 0, false, 3),
        nullptr);

    // The colour space is given in its identifier bits, not as 1, 2 or 4.
    EXPECT_EQ(PixelTypeFactory::CountPixelTypes(10, 1, false, false, false, false, 0, false), 0u);
    EXPECT_EQ(
        PixelTypeFactory::CountPixelTypes(8, 0x20000, false, false, false, false, 0x1000000, true),
        1u);
    EXPECT_EQ(
        PixelTypeFactory::CountPixelTypes(8, 0x20000, false, false, false, false, 0x1000000, false),
        0u)
        << "the Bayer flag is part of the match";
}

// Every attribute combination present in the catalogue, counted from the table, must be
// what the registry's queries count and hand out.
TEST(PixelTypeCatalogue, AttributeQueriesAgreeWithTheTableForEveryCombination) {
    using Key = std::tuple<uint32_t, int64, bool, bool, bool, bool, int64, bool>;
    std::map<Key, std::vector<int64>> expected;
    for (const BuiltinPixelType& row : Table()) {
        const uint32_t bits = PixelTypeBits::Low32(row.id);
        const ClassTraits traits = TraitsOf(row.typeClass);
        const Key key{traits.bits,
                      static_cast<int64>(bits & PixelTypeBits::kColorSpaceMask),
                      (bits & PixelTypeBits::kNormalized) != 0,
                      (bits & PixelTypeBits::kPacked) != 0,
                      (bits & PixelTypeBits::kInterlaced) != 0,
                      (bits & PixelTypeBits::kPlanar) != 0,
                      static_cast<int64>(bits & PixelTypeBits::kTapLayoutMask),
                      traits.bayer};
        expected[key].push_back(row.id);
    }
    for (auto& [key, ids] : expected) {
        std::sort(ids.begin(), ids.end());
        const auto [bits, space, normalized, packed, interlaced, planar, taps, bayer] = key;
        SCOPED_TRACE(testing::Message() << "first id 0x" << std::hex << ids.front());
        EXPECT_EQ(PixelTypeFactory::CountPixelTypes(bits, space, normalized, packed, interlaced,
                                                    planar, taps, bayer),
                  ids.size());
        for (uint32_t i = 0; i <= ids.size(); ++i) {
            const std::unique_ptr<PixelType> type(PixelTypeFactory::CreatePixelType(
                bits, space, normalized, packed, interlaced, planar, taps, bayer, i));
            if (i == ids.size()) {
                EXPECT_EQ(type, nullptr);
            } else {
                ASSERT_NE(type, nullptr);
                EXPECT_EQ(type->GetTypeID(), ids[i]);
            }
        }
    }
}

}  // namespace
