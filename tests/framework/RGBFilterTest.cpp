#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"

using ZnConvertersLib::RGBFilter;
namespace ResultCode = ZnConvertersLib::ResultCode;

namespace {

struct Channel {
    const char* name;
    ZnUtilsLib::Result (RGBFilter::*set)(uint32_t, unsigned short, bool);
    uint8_t (RGBFilter::*get8)(uint32_t) const;
    unsigned short (RGBFilter::*get16)(uint32_t) const;
};

const Channel kChannels[] = {
    {"red", &RGBFilter::SetRedValue, &RGBFilter::GetRedValue8, &RGBFilter::GetRedValue16},
    {"green", &RGBFilter::SetGreenValue, &RGBFilter::GetGreenValue8, &RGBFilter::GetGreenValue16},
    {"blue", &RGBFilter::SetBlueValue, &RGBFilter::GetBlueValue8, &RGBFilter::GetBlueValue16},
};

class RGBFilterBits : public ::testing::TestWithParam<uint32_t> {};

}  // namespace

TEST_P(RGBFilterBits, StartsAsIdentityWithSizesFromTheBitCount) {
    const uint32_t bits = GetParam();
    RGBFilter filter(bits);
    EXPECT_EQ(filter.GetBitSize(), bits);
    EXPECT_EQ(filter.GetEntryCount(), 1u << bits);
    EXPECT_EQ(filter.GetMaximumValue(), (1u << bits) - 1);
    EXPECT_TRUE(filter.IsIdentity());
    for (const Channel& c : kChannels) {
        for (uint32_t i = 0; i < filter.GetEntryCount(); ++i) {
            ASSERT_EQ((filter.*c.get16)(i), i) << c.name << " " << i;
            if (i < 256) {
                ASSERT_EQ((filter.*c.get8)(i), i) << c.name << " " << i;
            }
        }
    }
}

// Green and blue are checked through their 8-bit tables, which can never hold 256, so
// only filters of at most 256 entries report identity after a recomputation.
TEST_P(RGBFilterBits, UnitMultipliersReportIdentityOnlyUpToEightBits) {
    const uint32_t bits = GetParam();
    RGBFilter filter(bits);
    ASSERT_EQ(filter.SetMultipliers(1.0, 1.0, 1.0).GetCode(), ResultCode::kSuccess);
    EXPECT_EQ(filter.IsIdentity(), bits <= 8);
    EXPECT_EQ(filter.GetGreenValue16(filter.GetMaximumValue()), filter.GetMaximumValue());
    filter.SetIdentity();
    EXPECT_TRUE(filter.IsIdentity());
}

INSTANTIATE_TEST_SUITE_P(BitSizes, RGBFilterBits,
                         ::testing::Values(1u, 4u, 8u, 10u, 12u, 14u, 16u));

TEST(RGBFilter, SetValueClampsTheEightBitViewAndRejectsOutOfRange) {
    for (const Channel& c : kChannels) {
        RGBFilter filter(12);
        EXPECT_EQ((filter.*c.set)(10, 4095, true).GetCode(), ResultCode::kSuccess) << c.name;
        EXPECT_EQ((filter.*c.get16)(10), 4095);
        EXPECT_EQ((filter.*c.get8)(10), 255);
        EXPECT_FALSE(filter.IsIdentity());

        // Out of range: index or value not below the entry count; nothing changes.
        EXPECT_EQ((filter.*c.set)(11, 4096, true).GetCode(), ResultCode::kInvalidRequest);
        EXPECT_EQ((filter.*c.set)(4096, 1, true).GetCode(), ResultCode::kInvalidRequest);
        EXPECT_EQ((filter.*c.get16)(11), 11);

        // Above 255 only the 16-bit table changes.
        EXPECT_EQ((filter.*c.set)(300, 7, false).GetCode(), ResultCode::kSuccess);
        EXPECT_EQ((filter.*c.get16)(300), 7);
    }
}

TEST(RGBFilter, RestoringTheLastChangedEntryOfAnEightBitFilterRecomputesIdentity) {
    RGBFilter filter(8);
    filter.SetBlueValue(5, 9, true);
    EXPECT_FALSE(filter.IsIdentity());
    filter.SetBlueValue(5, 5, true);
    EXPECT_TRUE(filter.IsIdentity());
    // Without the update flag the identity flag is left alone.
    filter.SetRedValue(3, 4, false);
    EXPECT_TRUE(filter.IsIdentity());
}

TEST(RGBFilter, MultipliersTruncateAndClampPerChannel) {
    RGBFilter filter(8);
    ASSERT_EQ(filter.SetMultipliers(2.0, 1.5, 0.5).GetCode(), ResultCode::kSuccess);
    EXPECT_EQ(filter.GetRedValue8(127), 254);
    EXPECT_EQ(filter.GetRedValue8(128), 255);
    EXPECT_EQ(filter.GetRedValue8(200), 255);
    EXPECT_EQ(filter.GetGreenValue8(3), 4);  // 4.5 truncated
    EXPECT_EQ(filter.GetBlueValue8(255), 127);
    EXPECT_FALSE(filter.IsIdentity());
}

TEST(RGBFilter, OffsetsAddBeforeClamping) {
    RGBFilter filter(8);
    filter.SetMultipliers(1.0, 1.0, 1.0, 10, 0, 3);
    EXPECT_EQ(filter.GetRedValue8(0), 10);
    EXPECT_EQ(filter.GetRedValue8(250), 255);
    EXPECT_EQ(filter.GetGreenValue8(250), 250);
    EXPECT_EQ(filter.GetBlueValue8(1), 4);

    RGBFilter wide(10);
    wide.SetMultipliers(1.0, 1.0, 1.0, 0, 0, 600);
    EXPECT_EQ(wide.GetBlueValue16(100), 700);
    EXPECT_EQ(wide.GetBlueValue8(100), 255);
    EXPECT_EQ(wide.GetBlueValue16(1000), 1023);
}

TEST(RGBFilter, NegativeMultiplierIsRejectedWithoutChangingTables) {
    RGBFilter filter(8);
    filter.SetMultipliers(2.0, 2.0, 2.0);
    EXPECT_EQ(filter.SetMultipliers(1.0, -0.5, 1.0).GetCode(), ResultCode::kInvalidRequest);
    EXPECT_EQ(filter.GetRedValue8(10), 20);
    EXPECT_EQ(filter.GetGreenValue8(10), 20);
}

TEST(RGBFilter, CopiesShareTablesAndSurviveAnyDestructionOrder) {
    auto original = std::make_unique<RGBFilter>(10);
    RGBFilter copy(*original);
    RGBFilter assigned(8);
    assigned = copy;
    original->SetRedValue(7, 70, false);
    EXPECT_EQ(copy.GetRedValue8(7), 70);
    EXPECT_EQ(assigned.GetRedValue16(7), 70);
    EXPECT_EQ(assigned.GetBitSize(), 10u);
    original.reset();  // the copies keep the shared tables alive
    EXPECT_EQ(copy.GetRedValue16(7), 70);
    assigned = assigned;
    std::vector<RGBFilter> many(4, copy);
    many.clear();
    EXPECT_EQ(assigned.GetRedValue8(7), 70);
}
