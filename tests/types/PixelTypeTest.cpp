#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"

using namespace ZnConvertersLib;

namespace {

struct BayerFlagCase {
    int64 id;
    bool isBayer;
    bool expected;
};

void PrintTo(const BayerFlagCase& c, std::ostream* os) {
    *os << std::hex << "0x" << c.id << (c.isBayer ? " Bayer" : "");
}

class PixelTypeBayerFlag : public testing::TestWithParam<BayerFlagCase> {};

TEST_P(PixelTypeBayerFlag, IsKeptOnlyWhenTheRGBColourSpaceBitIsSet) {
    const BayerFlagCase c = GetParam();
    const PixelType type(c.id, 8, 1, c.isBayer);
    EXPECT_EQ(type.IsBayerPattern(), c.expected);
    const std::unique_ptr<PixelType> clone(type.Clone());
    EXPECT_EQ(clone->IsBayerPattern(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Identifiers, PixelTypeBayerFlag,
    testing::Values(BayerFlagCase{0x20010, true, true}, BayerFlagCase{0x20010, false, false},
                    BayerFlagCase{0x10001, true, false}, BayerFlagCase{0x40001, true, false},
                    BayerFlagCase{0x60000, true, true},         // bit 17 among others
                    BayerFlagCase{0x8420011, true, true},       // with attribute and tap bits
                    BayerFlagCase{0x100000010, true, false}));  // bit 32 is not bit 17

TEST(PixelType, SubclassesRegisteredUnderAnotherIdentifierKeepTheirSizes) {
    // The Bayer argument of a Bayer class is dropped under a grayscale identifier.
    const BayerRGB8 grayBayer(0x10010);
    EXPECT_FALSE(grayBayer.IsBayerPattern());
    const BayerRGB16 sixteen;
    EXPECT_EQ(sixteen.GetTypeID(), 0x20020);
    EXPECT_EQ(sixteen.GetPixelBitSize(), 14) << "BayerRGB16 reports 14 bits on purpose";
    const RGB12PackedV1 packed;
    EXPECT_EQ(packed.GetPixelBitSize(), 36);
    EXPECT_EQ(packed.GetPixelByteSize(), 5);
}

TEST(PixelType, CloneIsABaseClassObjectWithTheSameValues) {
    const BayerRGB10 type(0x420011);
    const std::unique_ptr<PixelType> clone(type.Clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(typeid(*clone), typeid(PixelType));
    EXPECT_EQ(clone->GetTypeID(), 0x420011);
    EXPECT_EQ(clone->GetPixelBitSize(), 10);
    EXPECT_EQ(clone->GetPixelByteSize(), 2);
    EXPECT_TRUE(clone->IsBayerPattern());
    EXPECT_EQ(&type.GetTypeID(), &type.GetTypeID()) << "a reference to the object's own field";
}

// Reports attributes through overridden slots that differ from its fields.
class ReportingType : public PixelType {
public:
    ReportingType(int64 reportedID, unsigned short bits, unsigned short bytes, bool bayer)
        : PixelType(0x70000, 1, 1, false),
          mID(reportedID),
          mBits(bits),
          mBytes(bytes),
          mBayer(bayer) {}
    const int64& GetTypeID() const override { return mID; }
    unsigned short GetPixelBitSize() const override { return mBits; }
    unsigned short GetPixelByteSize() const override { return mBytes; }
    bool IsBayerPattern() const override { return mBayer; }

private:
    int64 mID;
    unsigned short mBits, mBytes;
    bool mBayer;
};

TEST(PixelType, CloneAndBufferSizeReadThroughTheVirtualGetters) {
    const ReportingType type(0x420011, 10, 2, true);
    const std::unique_ptr<PixelType> clone(type.Clone());
    EXPECT_EQ(clone->GetTypeID(), 0x420011);
    EXPECT_EQ(clone->GetPixelBitSize(), 10);
    EXPECT_TRUE(clone->IsBayerPattern());
    // Packed Bayer 10-bit: two pixels in three bytes.
    EXPECT_EQ(type.GetBufferSizeFor(3, 3), 15u);

    const ReportingType notBayer(0x420011, 10, 2, false);
    EXPECT_EQ(notBayer.GetBufferSizeFor(3, 3), 18u);
}

struct BufferCase {
    const char* label;
    int64 id;
    unsigned short bits;
    unsigned short bytes;
    bool bayer;
    uint32_t width;
    uint32_t height;
    uint32_t expected;
};

void PrintTo(const BufferCase& c, std::ostream* os) {
    *os << c.label;
}

class PixelTypeBufferSize : public testing::TestWithParam<BufferCase> {};

TEST_P(PixelTypeBufferSize, FollowsThePackedAndFourByteRules) {
    const BufferCase c = GetParam();
    const PixelType type(c.id, c.bits, c.bytes, c.bayer);
    EXPECT_EQ(type.GetBufferSizeFor(c.width, c.height), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, PixelTypeBufferSize,
    testing::Values(
        // Two packed 10- or 12-bit pixels share three bytes; an odd count rounds up.
        BufferCase{"PackedGray10Odd", 0x410002, 10, 2, false, 3, 3, 15},
        BufferCase{"PackedGray12Even", 0x410003, 12, 2, false, 4, 2, 12},
        BufferCase{"PackedBayer10", 0x420011, 10, 2, true, 5, 1, 9},
        BufferCase{"PackedBitOnlyWithGrayOrBayer", 0x420011, 10, 2, false, 5, 1, 10},
        BufferCase{"PackedGray14IsNotPacked", 0x410004, 14, 2, false, 3, 3, 18},
        BufferCase{"Gray10Unpacked", 0x10002, 10, 2, false, 3, 3, 18},
        BufferCase{"GevPackedWithoutPackedBit", 0x10008, 10, 2, false, 3, 3, 18},
        // Unpacked 24-bit types take four bytes per pixel; packed ones three.
        BufferCase{"RGB24Unpacked", 0x20002, 24, 3, false, 640, 480, 1228800},
        BufferCase{"RGB24Packed", 0x420002, 24, 3, false, 640, 480, 921600},
        BufferCase{"YUV444Unpacked", 0x40003, 24, 3, false, 10, 10, 400},
        BufferCase{"RGB8_3IsNot24Bits", 0x2000A, 8, 3, false, 10, 10, 300},
        BufferCase{"ZeroWidth", 0x10001, 8, 1, false, 0, 480, 0},
        // Unsigned 32-bit arithmetic wraps.
        BufferCase{"PlainWraps", 0x10005, 16, 2, false, 0x10000, 0x8000, 0},
        BufferCase{"FourByteRuleWraps", 0x20002, 24, 3, false, 0x10000, 0x4001, 0x40000},
        // 2^31 pixels: 3 × n wraps before the halving.
        BufferCase{"PackedWraps", 0x410002, 10, 2, false, 0x10000, 0x8000, 0x40000000}),
    [](const testing::TestParamInfo<BufferCase>& info) { return info.param.label; });

TEST(PixelType, ConverterLookupsUseTheOwnFieldAndTheTargetsReportedIdentifier) {
    const int64 from = 0x70201, to = 0x70202;
    const IdentityConverter converter(from, to, 1, 1);
    const Grayscale8 source(from);
    const ReportingType target(to, 8, 1, false);

    EXPECT_TRUE(source.HasConverterTo(target));
    EXPECT_EQ(&source.GetConverterTo(target), &converter);
    EXPECT_TRUE(target.HasConverterFrom(source));
    EXPECT_EQ(&target.GetConverterFrom(source), &converter);

    // The own identifier comes from the field (0x70000 here), not from the override.
    const IdentityConverter fromField(0x70000, from, 1, 1);
    EXPECT_TRUE(target.HasConverterTo(source));
    EXPECT_EQ(&target.GetConverterTo(source), &fromField);

    const ReportingType unknown(0x70203, 8, 1, false);
    EXPECT_FALSE(source.HasConverterTo(unknown));
    EXPECT_EQ(&source.GetConverterTo(unknown), &PixelTypeFactory::NullConverter());
}

}  // namespace
