#include <gtest/gtest.h>

#include <cstdint>

#include "converters/bitpacked/BitPackedRGBConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

template <class Output>
class BitPackedRGB : public ::testing::Test {};
TYPED_TEST_SUITE(BitPackedRGB, ColourOutputs, OutputNames);

constexpr int64 kSource = 0x70401;
constexpr int64 kDestination = 0x70402;

TYPED_TEST(BitPackedRGB, BGR10V1TakesTheUpperThreeBytesAndIgnoresTheFirst) {
    using Output = TypeParam;
    const BGR10PackedV1To<Output> converter(kSource, kDestination, 4, Output::kPixelSize);
    const Bytes source = {0xFF, 0x10, 0x20, 0x30, 0x00, 0xAA, 0xBB, 0xCC, 0x55, 0x01, 0x02, 0x03,
                          0xEE,  // padding
                          0xEE, 0x3F, 0x80, 0xC0, 0xFF, 0x00, 0x00, 0x00, 0x12, 0xFE, 0x7F, 0x01,
                          0xEE};
    ExpectColourConversion<Output>(converter, source, 3, 1, 3,
                                   {{{0x30, 0x20, 0x10}, {0xCC, 0xBB, 0xAA}, {0x03, 0x02, 0x01}},
                                    {{0xC0, 0x80, 0x3F}, {0x00, 0x00, 0x00}, {0x01, 0x7F, 0xFE}}});
}

TYPED_TEST(BitPackedRGB, BGR10V2TakesTheTopEightBitsOfEachTenBitField) {
    using Output = TypeParam;
    const BGR10PackedV2To<Output> converter(kSource, kDestination, 4, Output::kPixelSize);
    // Bits 30 and 31 are unused; 0x12345678: B = 0x9E, G = 0x45, R = 0x48.
    const Bytes source = Words32({0x3FF00000, 0x000003FF, 0x000FFC00,    // line 0
                                  0xC0000000, 0x12345678, 0x20080200});  // line 1
    ExpectColourConversion<Output>(converter, source, 3, 0, 2,
                                   {{{0xFF, 0x00, 0x00}, {0x00, 0x00, 0xFF}, {0x00, 0xFF, 0x00}},
                                    {{0x00, 0x00, 0x00}, {0x48, 0x45, 0x9E}, {0x80, 0x80, 0x80}}});
}

TYPED_TEST(BitPackedRGB, RGB12V1ReadsWholeGroupsAndOddWidthsWriteOneExtraPixel) {
    using Output = TypeParam;
    const RGB12PackedV1To<Output> converter(kSource, kDestination, 5, Output::kPixelSize);
    // Width 3: 13 bytes a line, but two whole 9-byte groups are read (5 padding bytes).
    // Bytes 1, 4 and 7 of each group hold low bits and are never read.
    const Bytes source = {0x10, 0xEE, 0x20, 0x30, 0xEE, 0x40, 0x50, 0xEE, 0x60,  // group 0
                          0xA1, 0xEE, 0xA2, 0xA3, 0xEE, 0xA4, 0xA5, 0xEE, 0xA6,  // group 1
                          0xFF, 0x00, 0x80, 0x01, 0x00, 0x02, 0x03, 0x00, 0x04,  // line 1
                          0x05, 0x00, 0x06, 0x07, 0x00, 0x08, 0x09, 0x00, 0x0A};
    const uint32_t padding = Output::kPixelSize + 1;
    ExpectColourConversion<Output>(
        converter, source, 3, 5, padding,
        {{{0x10, 0x20, 0x30}, {0x40, 0x50, 0x60}, {0xA1, 0xA2, 0xA3}, {0xA4, 0xA5, 0xA6}},
         {{0xFF, 0x80, 0x01}, {0x02, 0x03, 0x04}, {0x05, 0x06, 0x07}, {0x08, 0x09, 0x0A}}});
}

TYPED_TEST(BitPackedRGB, RGB12V1ZeroWidthWritesNothing) {
    using Output = TypeParam;
    const RGB12PackedV1To<Output> converter(kSource, kDestination, 5, Output::kPixelSize);
    ExpectColourConversion<Output>(converter, Bytes(18, 0x33), 0, 9, 4, {{}, {}});
}

TYPED_TEST(BitPackedRGB, Planar8ReadsOnePlanePerChannel) {
    using Output = TypeParam;
    const RGBPlanarTo<unsigned char, Output> converter(kSource, kDestination, 1, Output::kPixelSize,
                                                       0);
    // 3 x 2 pixels, 1 padding byte: planes of 8 bytes, R then G then B.
    const Bytes source = {1,    2,    3,    0xEE, 4,    5,    6,    0xEE,   // R
                          10,   20,   30,   0xEE, 40,   50,   60,   0xEE,   // G
                          0xF0, 0xF1, 0xF2, 0xEE, 0xF3, 0xF4, 0xF5, 0xEE};  // B
    ExpectColourConversion<Output>(converter, source, 3, 1, 3,
                                   {{{1, 10, 0xF0}, {2, 20, 0xF1}, {3, 30, 0xF2}},
                                    {{4, 40, 0xF3}, {5, 50, 0xF4}, {6, 60, 0xF5}}});
}

TYPED_TEST(BitPackedRGB, Planar16ShiftsEachSample) {
    using Output = TypeParam;
    const RGBPlanarTo<unsigned short, Output> converter(kSource, kDestination, 2,
                                                        Output::kPixelSize, 4);
    EXPECT_EQ(converter.GetSourceShift(), 4u);
    // 2 x 2 pixels, 2 padding bytes: lines of 6 bytes, planes of 12.
    const Bytes source = Words({0x0FFF, 0x0010, 0xEEEE, 0x0800, 0xF123, 0xEEEE,    // R
                                0x0000, 0x0020, 0xEEEE, 0x0400, 0x0AB0, 0xEEEE,    // G
                                0x0800, 0x0030, 0xEEEE, 0x0200, 0x0556, 0xEEEE});  // B
    ExpectColourConversion<Output>(
        converter, source, 2, 2, 1,
        {{{0xFF, 0x00, 0x80}, {0x01, 0x02, 0x03}}, {{0x80, 0x40, 0x20}, {0x12, 0xAB, 0x55}}});
}

TEST(BitPackedRGBConstruction, RGB12V1LineSizeIsNineBytesPerPairRoundedDown) {
    const RGB12PackedV1To<OutputRGB24> converter(kSource, kDestination, 5, 3);
    EXPECT_EQ(converter.GetSourceLineSize(3), 13u);
    EXPECT_EQ(converter.GetSourceLineSize(4), 18u);
    // The product wraps in 32 bits before the halving.
    EXPECT_EQ(converter.GetSourceLineSize(0x80000000u), 0x40000000u);
    const RGBPlanarTo<unsigned short, OutputRGB24> planar(kSource, kDestination, 2, 3, 8);
    EXPECT_EQ(planar.GetSourceShift(), 8u);
    EXPECT_EQ(planar.GetSourceLineSize(5), 10u);
}

}  // namespace
