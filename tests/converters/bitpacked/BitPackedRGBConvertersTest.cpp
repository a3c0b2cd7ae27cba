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

// Every bit-packed and planar layout, hand-written.
TYPED_TEST(BitPackedRGB, EveryLayoutReadsItsChannels) {
    using Output = TypeParam;
    constexpr uint32_t size = Output::kPixelSize;
    const auto expect = [](const char* name, const PixelConverter& converter, const Bytes& source,
                           uint32_t width, uint32_t sourcePadding, uint32_t destinationPadding,
                           const Rows& expected) {
        SCOPED_TRACE(name);
        ExpectColourConversion<Output>(converter, source, width, sourcePadding, destinationPadding,
                                       expected);
    };
    // 10-bit v1: the upper three bytes, blue first; the first byte is ignored.
    expect("10-bit v1", BGR10PackedV1To<Output>(kSource, kDestination, 4, size),
           {0xFF, 0x10, 0x20, 0x30, 0x00, 0xAA, 0xBB, 0xCC, 0x55, 0x01, 0x02, 0x03, 0xEE,
            0xEE, 0x3F, 0x80, 0xC0, 0xFF, 0x00, 0x00, 0x00, 0x12, 0xFE, 0x7F, 0x01, 0xEE},
           3, 1, 3,
           {{{0x30, 0x20, 0x10}, {0xCC, 0xBB, 0xAA}, {0x03, 0x02, 0x01}},
            {{0xC0, 0x80, 0x3F}, {0x00, 0x00, 0x00}, {0x01, 0x7F, 0xFE}}});
    // 10-bit v2: the top eight bits of each field; bits 30 and 31 are unused. 0x12345678:
    // B = 0x9E, G = 0x45, R = 0x48.
    expect("10-bit v2", BGR10PackedV2To<Output>(kSource, kDestination, 4, size),
           Words32({0x3FF00000, 0x000003FF, 0x000FFC00, 0xC0000000, 0x12345678, 0x20080200}), 3, 0,
           2,
           {{{0xFF, 0x00, 0x00}, {0x00, 0x00, 0xFF}, {0x00, 0xFF, 0x00}},
            {{0x00, 0x00, 0x00}, {0x48, 0x45, 0x9E}, {0x80, 0x80, 0x80}}});
    // 12-bit v1, width 3: 13 bytes a line, but two whole 9-byte groups are read (5 padding
    // bytes) and the odd width writes one extra pixel. Bytes 1, 4 and 7 of each group hold
    // low bits and are never read.
    const RGB12PackedV1To<Output> rgb12(kSource, kDestination, 5, size);
    expect("12-bit v1", rgb12,
           {0x10, 0xEE, 0x20, 0x30, 0xEE, 0x40, 0x50, 0xEE, 0x60, 0xA1, 0xEE, 0xA2,
            0xA3, 0xEE, 0xA4, 0xA5, 0xEE, 0xA6, 0xFF, 0x00, 0x80, 0x01, 0x00, 0x02,
            0x03, 0x00, 0x04, 0x05, 0x00, 0x06, 0x07, 0x00, 0x08, 0x09, 0x00, 0x0A},
           3, 5, size + 1,
           {{{0x10, 0x20, 0x30}, {0x40, 0x50, 0x60}, {0xA1, 0xA2, 0xA3}, {0xA4, 0xA5, 0xA6}},
            {{0xFF, 0x80, 0x01}, {0x02, 0x03, 0x04}, {0x05, 0x06, 0x07}, {0x08, 0x09, 0x0A}}});
    expect("12-bit v1 zero width", rgb12, Bytes(18, 0x33), 0, 9, 4, {{}, {}});
    // Planar, 3 x 2 pixels, 1 padding byte: planes of 8 bytes, R then G then B.
    expect("planar 8-bit", RGBPlanarTo<unsigned char, Output>(kSource, kDestination, 1, size, 0),
           {1,  2,  3,  0xEE, 4,    5,    6,    0xEE, 10,   20,   30,   0xEE,
            40, 50, 60, 0xEE, 0xF0, 0xF1, 0xF2, 0xEE, 0xF3, 0xF4, 0xF5, 0xEE},
           3, 1, 3,
           {{{1, 10, 0xF0}, {2, 20, 0xF1}, {3, 30, 0xF2}},
            {{4, 40, 0xF3}, {5, 50, 0xF4}, {6, 60, 0xF5}}});
    // Planar 16-bit, 2 x 2 pixels, 2 padding bytes: lines of 6 bytes, planes of 12; each
    // sample shifted.
    expect("planar 16-bit", RGBPlanarTo<unsigned short, Output>(kSource, kDestination, 2, size, 4),
           Words({0x0FFF, 0x0010, 0xEEEE, 0x0800, 0xF123, 0xEEEE, 0x0000, 0x0020, 0xEEEE, 0x0400,
                  0x0AB0, 0xEEEE, 0x0800, 0x0030, 0xEEEE, 0x0200, 0x0556, 0xEEEE}),
           2, 2, 1,
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
