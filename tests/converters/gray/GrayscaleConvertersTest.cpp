#include <gtest/gtest.h>

#include <cstdint>
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

using AllOutputs = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32,
                                    OutputPlanar24, OutputGrayscale8, OutputGrayscale10,
                                    OutputGrayscale12, OutputGrayscale14, OutputGrayscale16>;

template <class Output>
class GrayscaleOutputs : public ::testing::Test {};
TYPED_TEST_SUITE(GrayscaleOutputs, AllOutputs, OutputNames);

// Source and destination identifiers no built-in converter uses.
constexpr int64 kSource = 0x70101;
constexpr int64 kDestination = 0x70102;

// Every gray layout, hand-written, through a filter that would blank red and halve green
// if the gray paths looked at it (they must not).
TYPED_TEST(GrayscaleOutputs, EveryLayoutStoresItsGrayValues) {
    using Output = TypeParam;
    RGBFilter hostile(8);
    hostile.SetMultipliers(0.0, 0.5, 1.0, 0, 0, 7);
    constexpr uint32_t size = Output::kPixelSize;
    const auto expect = [&](const char* name, const PixelConverter& converter,
                            const std::vector<Bytes>& lines, uint32_t width, uint32_t sourcePadding,
                            uint32_t destinationPadding, const std::vector<Bytes>& grays) {
        SCOPED_TRACE(name);
        ExpectGray<Output>(converter, lines, width, sourcePadding, destinationPadding, grays,
                           &hostile);
    };
    const GrayscaleTo<unsigned char, Output> eight(kSource, kDestination, 1, size, 0);
    expect("8-bit", eight, {{0x00, 0x7F, 0xFF, 0xEE}, {0x01, 0x80, 0xFE, 0xEE}}, 3, 1, 2,
           {{0x00, 0x7F, 0xFF}, {0x01, 0x80, 0xFE}});
    // 0x1234 >> 4 is 0x123: only its low byte survives.
    const GrayscaleTo<unsigned short, Output> sixteen(kSource, kDestination, 2, size, 4);
    expect("16-bit", sixteen,
           {Words({0x0ABC, 0x0FFF, 0x1234}, 2), Words({0x0000, 0x0010, 0x0801}, 2)}, 3, 2, 3,
           {{0xAB, 0xFF, 0x23}, {0x00, 0x01, 0x80}});
    // -128, 0, 127 / -1, 1, -127, offset by half the range.
    const Grayscale8SignedTo<Output> signed8(kSource, kDestination, 1, size);
    expect("signed", signed8, {{0x80, 0x00, 0x7F}, {0xFF, 0x01, 0x81}}, 3, 0, 1,
           {{0x00, 0x80, 0xFF}, {0x7F, 0x81, 0x01}});
    // The outer bytes of each group; width 5 is 7 bytes a line, but the last group is read
    // whole (the 2 padding bytes) and writes one pixel past the width.
    const GrayscalePackedGEVTo<Output> gev(kSource, kDestination, 2, size);
    expect("GEV packed", gev,
           {{0xAB, 0xCD, 0xEF, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC},
            {0x00, 0xFF, 0x01, 0x02, 0xFF, 0x03, 0x04, 0xFF, 0x05}},
           5, 2, size + 1,
           {{0xAB, 0xEF, 0x12, 0x56, 0x78, 0xBC}, {0x00, 0x01, 0x02, 0x03, 0x04, 0x05}});
    // p0 = b0 | (b1 & 0x0F) << 8, p1 = b1 >> 4 | b2 << 4, then >> 4:
    // 21 43 65 -> 0x321, 0x654; FF 0F 00 -> 0xFFF, 0x000; 10 32 54 -> 0x210, 0x543;
    // 80 00 08 -> 0x080, 0x080. The fifth pixel of each line is never written.
    const Grayscale12PackedTo<Output> packed(kSource, kDestination, 2, size, 4);
    expect("12-bit packed", packed,
           {{0x21, 0x43, 0x65, 0xFF, 0x0F, 0x00, 0x99}, {0x10, 0x32, 0x54, 0x80, 0x00, 0x08, 0x99}},
           5, 0, 1, {{0x32, 0x65, 0xFF, 0x00}, {0x21, 0x54, 0x08, 0x08}});
    // Bit 27: both taps inverted. W = 4: taps (a, c) fill 1, 0 and (b, d) fill 3, 2.
    const GrayscaleTo<unsigned short, Output> dualTap(0x8070101, kDestination, 2, size, 8);
    expect("dual tap", dualTap, {Words({0x1100, 0x2200, 0x3300, 0x4400})}, 4, 0, 2,
           {{0x33, 0x11, 0x44, 0x22}});
    // Bit 25 on packed pairs: first tap forwards from 0, second backwards from W - 1 (width
    // 5 -> W = 4). Pixels 0x010, 0x020 | 0x030, 0x040 -> 0x01, 0x02, 0x03, 0x04.
    const Grayscale12PackedTo<Output> packedTaps(0x2470103, kDestination, 2, size, 4);
    expect("12-bit packed dual tap", packedTaps, {{0x10, 0x00, 0x02, 0x30, 0x00, 0x04, 0x77}}, 5, 0,
           0, {{0x01, 0x03, 0x04, 0x02}});
    const GrayscaleTo<unsigned char, Output> dualTap8(0x1070101, kDestination, 1, size, 0);
    for (const PixelConverter* zeroWidth :
         {static_cast<const PixelConverter*>(&gev), static_cast<const PixelConverter*>(&packed),
          static_cast<const PixelConverter*>(&dualTap8)}) {
        expect("zero width", *zeroWidth, {Bytes(4, 1), Bytes(4, 2)}, 0, 4, 4, {{}, {}});
    }
}

// Dual-tap placement of all four tap layouts, with an odd width whose last pixel is
// dropped: seven source pixels 10..16, destination pixel 6 stays untouched.
struct TapCase {
    const char* name;
    int64 sourceID;
    Bytes line;  // expected destination pixels 0..5
};

class DualTapLayouts : public ::testing::TestWithParam<TapCase> {};

TEST_P(DualTapLayouts, TapsFillTheirHalvesInTheirOwnDirection) {
    const TapCase& c = GetParam();
    const GrayscaleTo<unsigned char, OutputGrayscale8> converter(c.sourceID, kDestination, 1, 1, 0);
    Bytes second = c.line;
    for (uint8_t& v : second) v += 10;
    ExpectGray<OutputGrayscale8>(
        converter, {{10, 11, 12, 13, 14, 15, 16, 0xEE}, {20, 21, 22, 23, 24, 25, 26, 0xEE}}, 7, 1,
        2, {c.line, second});
}

INSTANTIATE_TEST_SUITE_P(
    Grayscale, DualTapLayouts,
    ::testing::Values(TapCase{"LeftRight", 0x1070101, {10, 12, 14, 11, 13, 15}},
                      TapCase{"LeftRightInverted", 0x2070101, {10, 12, 14, 15, 13, 11}},
                      TapCase{"LeftInvertedRight", 0x4070101, {14, 12, 10, 11, 13, 15}},
                      TapCase{"BothInverted", 0x8070101, {14, 12, 10, 15, 13, 11}},
                      // The lowest tap bit wins when several are set.
                      TapCase{"FirstBitWins", 0xC070101, {14, 12, 10, 11, 13, 15}}),
    [](const ::testing::TestParamInfo<TapCase>& info) { return std::string(info.param.name); });

// Steps given to the constructor override the identifier's tap bits; the identifier's
// are checked by the conversions above.
TEST(GrayscaleConstruction, StepsAndLineSizes) {
    const GrayscaleTo<unsigned short, OutputGrayscale8> given(0x1070102, kDestination, 2, 1, -1, 1,
                                                              8);
    EXPECT_EQ(given.GetLeftStep(), -1);
    EXPECT_EQ(given.GetRightStep(), 1);
    EXPECT_EQ(given.GetSourceShift(), 8u);
    const Grayscale12PackedTo<OutputGrayscale16> packedTaps(0x8470102, kDestination, 2, 2, 2);
    EXPECT_EQ(packedTaps.GetLeftStep(), -1);
    EXPECT_EQ(packedTaps.GetRightStep(), -1);

    // Packed lines hold three bytes per pair, rounded down.
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
