#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/gray/GrayscaleConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

// Converts hand-written source lines (padding included) into a destination with the given
// padding, and checks that it holds the gray values (rows longer than the width are pixels
// written into the padding) and nothing else.
template <class Output>
void ExpectGray(const PixelConverter& converter, const std::vector<Bytes>& sourceLines,
                uint32_t width, uint32_t sourcePadding, uint32_t destinationPadding,
                const std::vector<Bytes>& grays, const RGBFilter* filter = nullptr) {
    Rows expected;
    for (const Bytes& row : grays) {
        expected.emplace_back();
        for (const uint8_t v : row) expected.back().push_back({v, v, v});
    }
    const auto height = static_cast<uint32_t>(sourceLines.size());
    EXPECT_TRUE(Convert(converter, JoinLines(converter, width, sourcePadding, sourceLines), width,
                        height, sourcePadding, Image<Output>(width, height, destinationPadding),
                        filter)
                    .Holds(expected));
}

// Gray paths never look at the filter: one that blanks red and halves green must change
// nothing.
const RGBFilter& HostileFilter() {
    static const RGBFilter filter = [] {
        RGBFilter f(8);
        f.SetMultipliers(0.0, 0.5, 1.0, 0, 0, 7);
        return f;
    }();
    return filter;
}

using AllOutputs = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32,
                                    OutputPlanar24, OutputGrayscale8, OutputGrayscale10,
                                    OutputGrayscale12, OutputGrayscale14, OutputGrayscale16>;

template <class Output>
class GrayscaleOutputs : public ::testing::Test {};
TYPED_TEST_SUITE(GrayscaleOutputs, AllOutputs, OutputNames);

// Source and destination identifiers no built-in converter uses.
constexpr int64 kSource = 0x70101;
constexpr int64 kDestination = 0x70102;

TYPED_TEST(GrayscaleOutputs, SixteenBitWordsAreShiftedAndCutToEightBits) {
    using Output = TypeParam;
    const GrayscaleTo<unsigned short, Output> converter(kSource, kDestination, 2,
                                                        Output::kPixelSize, 4);
    // 0x1234 >> 4 is 0x123: only its low byte survives.
    ExpectGray<Output>(converter,
                       {Words({0x0ABC, 0x0FFF, 0x1234}, 2), Words({0x0000, 0x0010, 0x0801}, 2)}, 3,
                       2, 3, {{0xAB, 0xFF, 0x23}, {0x00, 0x01, 0x80}}, &HostileFilter());
}

TYPED_TEST(GrayscaleOutputs, EightBitSamplesPassUnchanged) {
    using Output = TypeParam;
    const GrayscaleTo<unsigned char, Output> converter(kSource, kDestination, 1, Output::kPixelSize,
                                                       0);
    ExpectGray<Output>(converter, {{0x00, 0x7F, 0xFF, 0xEE}, {0x01, 0x80, 0xFE, 0xEE}}, 3, 1, 2,
                       {{0x00, 0x7F, 0xFF}, {0x01, 0x80, 0xFE}}, &HostileFilter());
}

TYPED_TEST(GrayscaleOutputs, SignedSamplesAreOffsetByHalfTheRange) {
    using Output = TypeParam;
    const Grayscale8SignedTo<Output> converter(kSource, kDestination, 1, Output::kPixelSize);
    // -128, 0, 127 / -1, 1, -127
    ExpectGray<Output>(converter, {{0x80, 0x00, 0x7F}, {0xFF, 0x01, 0x81}}, 3, 0, 1,
                       {{0x00, 0x80, 0xFF}, {0x7F, 0x81, 0x01}}, &HostileFilter());
}

TYPED_TEST(GrayscaleOutputs, GevPackingTakesOuterBytesAndOddWidthsWriteOneExtraPixel) {
    using Output = TypeParam;
    const GrayscalePackedGEVTo<Output> converter(kSource, kDestination, 2, Output::kPixelSize);
    // Width 5: 7 bytes a line, but the last group is read whole (the 2 padding bytes).
    const uint32_t padding = Output::kPixelSize + 1;
    ExpectGray<Output>(converter,
                       {{0xAB, 0xCD, 0xEF, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC},
                        {0x00, 0xFF, 0x01, 0x02, 0xFF, 0x03, 0x04, 0xFF, 0x05}},
                       5, 2, padding,
                       {{0xAB, 0xEF, 0x12, 0x56, 0x78, 0xBC}, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05}},
                       &HostileFilter());
}

TYPED_TEST(GrayscaleOutputs, Packed12UnpacksNibblesAndOddWidthsDropTheLastPixel) {
    using Output = TypeParam;
    const Grayscale12PackedTo<Output> converter(kSource, kDestination, 2, Output::kPixelSize, 4);
    // p0 = b0 | (b1 & 0x0F) << 8, p1 = b1 >> 4 | b2 << 4, then >> 4:
    // 21 43 65 -> 0x321, 0x654; FF 0F 00 -> 0xFFF, 0x000; 10 32 54 -> 0x210, 0x543;
    // 80 00 08 -> 0x080, 0x080. The fifth pixel of each line is never written.
    ExpectGray<Output>(
        converter,
        {{0x21, 0x43, 0x65, 0xFF, 0x0F, 0x00, 0x99}, {0x10, 0x32, 0x54, 0x80, 0x00, 0x08, 0x99}}, 5,
        0, 1, {{0x32, 0x65, 0xFF, 0x00}, {0x21, 0x54, 0x08, 0x08}}, &HostileFilter());
}

TYPED_TEST(GrayscaleOutputs, DualTapPlacementUsesTheSameIndicesOnEveryOutput) {
    using Output = TypeParam;
    // Bit 27: both taps inverted. W = 4: taps (a, c) fill 1, 0 and (b, d) fill 3, 2.
    const GrayscaleTo<unsigned short, Output> converter(0x8070101, kDestination, 2,
                                                        Output::kPixelSize, 8);
    ExpectGray<Output>(converter, {Words({0x1100, 0x2200, 0x3300, 0x4400})}, 4, 0, 2,
                       {{0x33, 0x11, 0x44, 0x22}});
}

TYPED_TEST(GrayscaleOutputs, ZeroWidthWritesNothing) {
    using Output = TypeParam;
    const GrayscalePackedGEVTo<Output> gev(kSource, kDestination, 2, Output::kPixelSize);
    const Grayscale12PackedTo<Output> packed(kSource, kDestination, 2, Output::kPixelSize, 4);
    const GrayscaleTo<unsigned char, Output> plain(0x1070101, kDestination, 1, Output::kPixelSize,
                                                   0);
    const PixelConverter* converters[] = {&gev, &packed, &plain};
    for (const PixelConverter* converter : converters) {
        ExpectGray<Output>(*converter, {Bytes(4, 1), Bytes(4, 2)}, 0, 4, 4, {{}, {}});
    }
}

// Dual-tap placement of all four tap layouts, with an odd width whose last pixel is
// dropped: seven source pixels 10..16, destination pixel 6 stays untouched.
struct TapCase {
    const char* name;
    int64 sourceID;
    int32_t left, right;
    Bytes line;  // expected destination pixels 0..5
};

class DualTapLayouts : public ::testing::TestWithParam<TapCase> {};

TEST_P(DualTapLayouts, TapsFillTheirHalvesInTheirOwnDirection) {
    const TapCase& c = GetParam();
    const GrayscaleTo<unsigned char, OutputGrayscale8> converter(c.sourceID, kDestination, 1, 1, 0);
    EXPECT_EQ(converter.GetLeftStep(), c.left);
    EXPECT_EQ(converter.GetRightStep(), c.right);
    Bytes second = c.line;
    for (uint8_t& v : second) v += 10;
    ExpectGray<OutputGrayscale8>(
        converter, {{10, 11, 12, 13, 14, 15, 16, 0xEE}, {20, 21, 22, 23, 24, 25, 26, 0xEE}}, 7, 1,
        2, {c.line, second});
}

INSTANTIATE_TEST_SUITE_P(
    Grayscale, DualTapLayouts,
    ::testing::Values(TapCase{"LeftRight", 0x1070101, 1, 1, {10, 12, 14, 11, 13, 15}},
                      TapCase{"LeftRightInverted", 0x2070101, 1, -1, {10, 12, 14, 15, 13, 11}},
                      TapCase{"LeftInvertedRight", 0x4070101, -1, 1, {14, 12, 10, 11, 13, 15}},
                      TapCase{"BothInverted", 0x8070101, -1, -1, {14, 12, 10, 15, 13, 11}},
                      // The lowest tap bit wins when several are set.
                      TapCase{"FirstBitWins", 0xC070101, -1, 1, {14, 12, 10, 11, 13, 15}}),
    [](const ::testing::TestParamInfo<TapCase>& info) { return std::string(info.param.name); });

TEST(Grayscale12Packed, DualTapPlacesPairsByTap) {
    // Bit 25: first tap forwards from 0, second tap backwards from W - 1. Width 5 -> W = 4.
    const Grayscale12PackedTo<OutputGrayscale8> converter(0x2470103, kDestination, 2, 1, 4);
    EXPECT_EQ(converter.GetLeftStep(), 1);
    EXPECT_EQ(converter.GetRightStep(), -1);
    // Pixels 0x010, 0x020 | 0x030, 0x040 -> 0x01, 0x02, 0x03, 0x04.
    ExpectGray<OutputGrayscale8>(converter, {{0x10, 0x00, 0x02, 0x30, 0x00, 0x04, 0x77}}, 5, 0, 0,
                                 {{0x01, 0x03, 0x04, 0x02}});
}

TEST(GrayscaleConstruction, StepsComeFromTheIdentifierUnlessGiven) {
    const GrayscaleTo<unsigned short, OutputGrayscale8> plain(0x70102, kDestination, 2, 1, 4);
    EXPECT_EQ(plain.GetLeftStep(), 0);
    EXPECT_EQ(plain.GetRightStep(), 0);
    EXPECT_EQ(plain.GetSourceShift(), 4u);

    const GrayscaleTo<unsigned short, OutputGrayscale8> given(0x1070102, kDestination, 2, 1, -1, 1,
                                                              8);
    EXPECT_EQ(given.GetLeftStep(), -1);
    EXPECT_EQ(given.GetRightStep(), 1);
    EXPECT_EQ(given.GetSourceShift(), 8u);

    const Grayscale12PackedTo<OutputGrayscale16> packed(0x8470102, kDestination, 2, 2, 2);
    EXPECT_EQ(packed.GetLeftStep(), -1);
    EXPECT_EQ(packed.GetRightStep(), -1);
    EXPECT_EQ(packed.GetSourceShift(), 2u);
}

TEST(GrayscaleConstruction, PackedLinesHoldThreeBytesPerPairRoundedDown) {
    const GrayscalePackedGEVTo<OutputGrayscale8> gev(kSource, kDestination, 2, 1);
    const Grayscale12PackedTo<OutputGrayscale8> packed(kSource, kDestination, 2, 1, 4);
    const GrayscaleTo<unsigned short, OutputGrayscale8> plain(kSource, kDestination, 2, 1, 4);
    EXPECT_EQ(gev.GetSourceLineSize(5), 7u);
    EXPECT_EQ(packed.GetSourceLineSize(5), 7u);
    EXPECT_EQ(packed.GetSourceLineSize(4), 6u);
    EXPECT_EQ(plain.GetSourceLineSize(5), 10u);
    // The product wraps in 32 bits before the halving.
    EXPECT_EQ(gev.GetSourceLineSize(0x80000000u), 0x40000000u);
}

}  // namespace
