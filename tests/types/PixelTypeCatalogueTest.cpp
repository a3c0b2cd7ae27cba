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

// The table lists each identifier once, families one after the other in order; every row
// is registered with its class's sizes, its name and its copy converters.
TEST(PixelTypeCatalogue, Holds151BuiltinsRegisteredWithClassSizesNamesAndCopyConverters) {
    const std::vector<BuiltinPixelType> table = Table();
    ASSERT_EQ(table.size(), 151u);
    std::map<std::string, int> perKind;
    std::set<int64> ids;
    int interlaced = 0;
    for (size_t i = 0; i < table.size(); ++i) {
        const BuiltinPixelType& row = table[i];
        SCOPED_TRACE(testing::Message()
                     << std::hex << "0x" << row.id << " " << GetPixelTypeClassName(row.typeClass));
        EXPECT_TRUE(ids.insert(row.id).second) << "listed twice";
        EXPECT_LE(int(table[i > 0 ? i - 1 : 0].family), int(row.family)) << "family order";
        const ClassTraits traits = TraitsOf(row.typeClass);
        const bool bayerFamily = row.family == BuiltinTypeFamily::BayerRGB8 ||
                                 row.family == BuiltinTypeFamily::BayerRGB10 ||
                                 row.family == BuiltinTypeFamily::BayerRGB12;
        const uint32_t space = PixelTypeBits::Low32(row.id) & PixelTypeBits::kColorSpaceMask;
        if (bayerFamily || space == PixelTypeBits::kRGB) {
            EXPECT_EQ(traits.bayer, bayerFamily) << "Bayer class";
        }
        EXPECT_TRUE(space != PixelTypeBits::kYUV || row.name) << "YUV names are fixed";
        ++perKind[bayerFamily                          ? "Bayer"
                  : space == PixelTypeBits::kGrayscale ? "gray"
                  : space == PixelTypeBits::kRGB       ? "RGB"
                                                       : "YUV"];

        ASSERT_TRUE(PixelTypeFactory::HasPixelType(row.id));
        const PixelType& type = PixelTypeFactory::GetPixelType(row.id);
        EXPECT_EQ(type.GetTypeID(), row.id);
        EXPECT_EQ(type.GetPixelBitSize(), traits.bits);
        EXPECT_EQ(type.GetPixelByteSize(), traits.bytes);
        EXPECT_EQ(type.IsBayerPattern(), traits.bayer);
        EXPECT_EQ(PixelTypeFactory::GetPixelTypeName(row.id),
                  row.name ? row.name : ComposePixelTypeName(row.id, type, traits.bayer));
        EXPECT_TRUE(PixelTypeFactory::HasConverter(row.id, row.id));
        if (PixelTypeBits::Has(row.id, PixelTypeBits::kInterlaced)) {
            ++interlaced;
            EXPECT_TRUE(PixelTypeFactory::HasConverter(
                row.id, row.id & ~static_cast<int64>(PixelTypeBits::kInterlaced)));
        }
    }
    EXPECT_EQ(perKind,
              (std::map<std::string, int>{{"Bayer", 39}, {"gray", 64}, {"RGB", 34}, {"YUV", 14}}));
    EXPECT_EQ(interlaced, 27);
    EXPECT_EQ(PixelTypeFactory::CountRegisteredPixelTypes() - gRegisteredHere, 151u);
    for (int64 leftOut : {0x10400, 0x10401, 0x20016, 0x20020}) {
        EXPECT_FALSE(PixelTypeFactory::HasPixelType(leftOut)) << std::hex << leftOut;
    }
}

TEST(PixelTypeCatalogue, RepresentativeTypesCarryTheirDisplayNamesAndSizes) {
    const struct {
        int64 id;
        unsigned short bits, bytes;
        const char* name;
    } cases[] = {
        {0x10001, 8, 1, "Grayscale8-bits"},
        {0x610002, 10, 2, "Grayscale10-bits, Interlaced, Packed"},
        {0x2110002, 10, 2, "Grayscale10-bits, Normalized, Dual Left+Right Inverted output"},
        {0x8610003, 12, 2,
         "Grayscale12-bits, Interlaced, Packed, Dual Left Inverted+Right Inverted output"},
        {0x10010001, 8, 1, "Grayscale8-bits, Dual Lines output"},
        {0x20010, 8, 1, "Bayer RGB8-bits"},
        {0x1020010, 8, 1, "Bayer RGB8-bits, Dual Left+Right output"},
        {0x4420012, 12, 2, "Bayer RGB12-bits, Packed, Dual Left Inverted+Right output"},
        {0x20041, 10, 2, "Bayer RGB10-bits"},  // the packed GEV class has no attribute bits
        {0x420002, 24, 3, "RGB24-bits, Packed"},
        // Deep planar RGB: the bit count is per channel.
        {0x820004, 48, 6, "RGB48-bits, Planar"},
        {0x820008, 10, 6, "RGB10-bits, Planar"},
        {0x82000C, 12, 6, "RGB12-bits, Planar"},
        {0x20007, 32, 4, "RGB32-bits"},  // BGR32's composed name says RGB
        {0x20046, 36, 5, "RGB36-bits"},
        {0x10006, 8, 1, "Grayscale, 8-bits, Inverted Quad taps multiplexed on dual taps"},
        {0x110007, 10, 2, "Grayscale, 10-bits, Normalized, Inverted Quad taps"},
        {0x420006, 24, 3, "BGR 24-bits, Packed"},
        {0x82000B, 8, 4, "RGB 32-bits (4 X 8-bits), Planar"},
        {0x12000D, 12, 8, "RGB 64-bits (4 x 12 bits), Normalized"},
        {0x640006, 12, 2, "YUV 8-bits 4:1:1, Packed, Interlaced"},
        {0x340002, 20, 4, "YUV 10-bits 4:2:2, Normalized, Interlaced"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "0x" << c.id);
        EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(c.id), c.name);
        EXPECT_EQ(PixelTypeFactory::GetPixelType(c.id).GetPixelBitSize(), c.bits);
        EXPECT_EQ(PixelTypeFactory::GetPixelType(c.id).GetPixelByteSize(), c.bytes);
    }
}

TEST(PixelTypeCatalogue, ComposedNamesFollowTheNamingRules) {
    const struct {
        int64 id;
        PixelTypeClass typeClass;
        const char* name;
    } cases[] = {
        // The attributes in a fixed order; the tap layouts are among the registered names.
        {0xF10002, PixelTypeClass::Grayscale10,
         "Grayscale10-bits, Normalized, Interlaced, Packed, Planar"},
        // Several tap bits name no layout at all.
        {0x3310001, PixelTypeClass::Grayscale8, "Grayscale8-bits, Normalized, Interlaced"},
        {0x1F010001, PixelTypeClass::Grayscale8, "Grayscale8-bits"},
        // A Bayer class under another colour space loses its Bayer flag and word.
        {0x10010, PixelTypeClass::BayerRGB8, "Grayscale8-bits"},
        {0x20010, PixelTypeClass::Grayscale8, "RGB8-bits"},
        {0x40001, PixelTypeClass::YUV8, "YUV16-bits"},
        {0x70001, PixelTypeClass::Grayscale8, "Unknown Colorspace8-bits"},
        {0x1, PixelTypeClass::Grayscale8, "Unknown Colorspace8-bits"},
        // Only the low 32 bits are read.
        {0x7F00000000010001, PixelTypeClass::Grayscale8, "Grayscale8-bits"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "0x" << c.id);
        const ClassTraits traits = TraitsOf(c.typeClass);
        const PixelType type(c.id, traits.bits, traits.bytes, traits.bayer);
        EXPECT_EQ(ComposePixelTypeName(c.id, type, type.IsBayerPattern()), c.name);
    }
}

TEST(PixelTypeCatalogue, RegisteringWithoutANameComposesOne) {
    ASSERT_TRUE(RegisterPixelTypeAs(PixelTypeClass::Grayscale16, 0x10310005, nullptr).IsSuccess());
    ++gRegisteredHere;
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(0x10310005),
                 "Grayscale16-bits, Normalized, Interlaced, Dual Lines output");
    // The temporary object registered was of the named class.
    EXPECT_EQ(PixelTypeFactory::GetPixelType(0x10310005).GetPixelBitSize(), 16);
}

// The types an attribute query hands out, in order (never more than the catalogue holds).
std::vector<int64> Query(uint32_t bits, int64 space, bool normalized, bool packed, bool interlaced,
                         bool planar, int64 taps, bool bayer) {
    std::vector<int64> ids;
    for (uint32_t i = 0; i <= 151; ++i) {
        const std::unique_ptr<PixelType> type(PixelTypeFactory::CreatePixelType(
            bits, space, normalized, packed, interlaced, planar, taps, bayer, i));
        if (!type) break;
        ids.push_back(type->GetTypeID());
    }
    EXPECT_EQ(PixelTypeFactory::CountPixelTypes(bits, space, normalized, packed, interlaced, planar,
                                                taps, bayer),
              ids.size())
        << "count and hand-out agree";
    return ids;
}

TEST(PixelTypeCatalogue, AttributeQueriesFindTheDocumentedTypesInIdentifierOrder) {
    EXPECT_EQ(Query(10, 0x10000, false, false, false, false, 0, false),
              (std::vector<int64>{0x10002, 0x10007, 0x10008}));
    // The colour space is given in its identifier bits, not as 1, 2 or 4.
    EXPECT_EQ(Query(10, 1, false, false, false, false, 0, false).size(), 0u);
    EXPECT_EQ(Query(8, 0x20000, false, false, false, false, 0x1000000, true),
              (std::vector<int64>{0x1020010}));
    EXPECT_EQ(Query(8, 0x20000, false, false, false, false, 0x1000000, false).size(), 0u)
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
        expected[Key{traits.bits, bits & PixelTypeBits::kColorSpaceMask,
                     (bits & PixelTypeBits::kNormalized) != 0, (bits & PixelTypeBits::kPacked) != 0,
                     (bits & PixelTypeBits::kInterlaced) != 0, (bits & PixelTypeBits::kPlanar) != 0,
                     bits & PixelTypeBits::kTapLayoutMask, traits.bayer}]
            .push_back(row.id);
    }
    for (auto& [key, ids] : expected) {
        std::sort(ids.begin(), ids.end());
        SCOPED_TRACE(testing::Message() << "first id 0x" << std::hex << ids.front());
        EXPECT_EQ(std::apply(Query, key), ids);
    }
}

}  // namespace
