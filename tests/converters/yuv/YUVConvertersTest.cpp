#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/yuv/YUVConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

// One converter object per family and output for the whole run (the registry keeps
// references to what it registered), under identifiers outside every built-in colour space.
template <class Output>
struct Converters {
    static const Converters& Get() {
        static const Converters converters;
        return converters;
    }
    static constexpr int64 kDestination = 0x70C00 + OutputIndex<Output>();
    static constexpr uint32_t kSize = Output::kPixelSize;
    const YUV8To<Output> yuv8{0x70A01, kDestination, 2, kSize};
    const YUV8422GEVTo<Output> yuv8Gev{0x70A02, kDestination, 2, kSize};
    const YUV8411To<Output> yuv411{0x70A03, kDestination, 4, kSize};
    const YUV8444To<Output> yuv444{0x70A04, kDestination, 3, kSize};
    const YUV8444GEVTo<Output> yuv444Gev{0x70A05, kDestination, 3, kSize};
    const YCrCbTo<Output> yCrCb{0x70A06, kDestination, 3, kSize};
    const YUV10To<Output> yuv10{0x70A07, kDestination, 4, kSize, 2};
    const YUV10To<Output> yuv10Normalized{0x70A08, kDestination, 4, kSize, 8};
};

// Converts one line of `width` pixels into a destination line of `room` pixels.
template <class Output>
Image<Output> ConvertLine(const PixelConverter& converter, const Bytes& source, uint32_t width,
                          uint32_t room, const RGBFilter* filter = nullptr) {
    return Convert(converter, source, width, 1, 0, Image<Output>(room, 1), filter);
}

Bytes RandomBytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    Bytes bytes(n);
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    return bytes;
}

// (Y, U, V) and the colour worked out by hand: L = (Y - 16) * 1196,
// R = (L + 1642 (V - 128) + 512) >> 10, G = (L - 400 (U - 128) - 832 (V - 128) + 512) >> 10,
// B = (L + 2064 (U - 128) + 512) >> 10, each clamped to 0 ... 255.
struct Case {
    int y, u, v;
    Rgb rgb;
};
const Case kMatrixCases[] = {
    {16, 128, 128, {0, 0, 0}},                                        // black
    {235, 128, 128, {255, 255, 255}},                                 // 256 before the clamp
    {255, 128, 128, {255, 255, 255}},                                 // 279
    {0, 128, 128, {0, 0, 0}},                                         // -19
    {19, 128, 128, {4, 4, 4}},                                        // 3.5 rounds up
    {128, 128, 255, {255, 28, 131}},                                  // R 334
    {200, 40, 60, {106, 255, 38}},                                    // G 305
    {60, 200, 30, {0, 103, 197}},                                     // R -106
    {120, 100, 180, {205, 90, 65}},   {30, 250, 250, {212, 0, 255}},  // G -130, B 262
};

template <class Output>
class YUVOutputs : public ::testing::Test {};
TYPED_TEST_SUITE(YUVOutputs, ColourOutputs, OutputNames);

// The matrix cases as one 4:4:4 line converted through `filter`; `effect` is what the
// filter does to each hand-worked colour.
template <class Output, class Effect>
void ExpectMatrixCases(const RGBFilter* filter, Effect effect) {
    Bytes source;
    std::vector<Rgb> expected;
    for (const Case& c : kMatrixCases) {
        source.insert(source.end(), {uint8_t(c.y), uint8_t(c.u), uint8_t(c.v)});
        expected.push_back(effect(c.rgb));
    }
    const auto n = static_cast<uint32_t>(std::size(kMatrixCases));
    EXPECT_TRUE(ConvertLine<Output>(Converters<Output>::Get().yuv444, source, n, n, filter)
                    .Holds({expected}));
}

TYPED_TEST(YUVOutputs, MatrixRoundsAndSaturates) {
    ExpectMatrixCases<TypeParam>(nullptr, [](Rgb c) { return c; });
}

// Each group's pixels use that group's chroma and no other: two groups with different
// chroma side by side, for every subsampled layout.
TYPED_TEST(YUVOutputs, ChromaIsSharedWithinTheGroupOnly) {
    const auto& from = Converters<TypeParam>::Get();
    // (Y, 40, 60) for Y = 200, 60, 120, 30 and (Y, 100, 180) for Y = 81, 16, 235, 255.
    const Rgb a[4] = {{106, 255, 38}, {0, 141, 0}, {12, 211, 0}, {0, 106, 0}};
    const Rgb b[4] = {{159, 45, 19}, {83, 0, 0}, {255, 224, 199}, {255, 248, 223}};

    const Bytes yuyv = {200, 40, 60, 60, 81, 100, 16, 180};
    const Bytes uyvy = {40, 200, 60, 60, 100, 81, 180, 16};
    const Bytes words =
        Words({200 << 2, 40 << 2, 60 << 2, 60 << 2, 81 << 2, 100 << 2, 16 << 2, 180 << 2});
    const Rows pairs = {{a[0], a[1], b[0], b[1]}};
    EXPECT_TRUE(ConvertLine<TypeParam>(from.yuv8, yuyv, 4, 4).Holds(pairs));
    EXPECT_TRUE(ConvertLine<TypeParam>(from.yuv8Gev, uyvy, 4, 4).Holds(pairs));
    EXPECT_TRUE(ConvertLine<TypeParam>(from.yuv10, words, 4, 4).Holds(pairs));

    const Bytes quads = {40, 200, 60, 60, 120, 30, 100, 81, 16, 180, 235, 255};
    EXPECT_TRUE(ConvertLine<TypeParam>(from.yuv411, quads, 8, 8)
                    .Holds({{a[0], a[1], a[2], a[3], b[0], b[1], b[2], b[3]}}));
}

// Pixels written per width: 4:2:2 layouts whole pairs only; 4:4:4 every pixel; 4:1:1 one
// pixel less than the width when it is not a multiple of 4, rounded up to whole groups,
// so widths 2, 3, 6, 7 write past the line width. The rest of the line keeps its
// sentinels.
TYPED_TEST(YUVOutputs, GroupCountsPerWidth) {
    const auto& from = Converters<TypeParam>::Get();
    const Bytes source(64, 128);  // mid grey: (128 - 16) * 1196 -> 131
    const uint32_t room = 12;
    const uint32_t written411[10] = {0, 0, 4, 4, 4, 4, 8, 8, 8, 8};
    for (uint32_t width = 0; width < 10; ++width) {
        const struct {
            const PixelConverter& converter;
            uint32_t written;
        } cases[] = {{from.yuv8, width & ~1u},  {from.yuv8Gev, width & ~1u},
                     {from.yuv10, width & ~1u}, {from.yuv411, written411[width]},
                     {from.yuv444, width},      {from.yuv444Gev, width},
                     {from.yCrCb, width}};
        for (const auto& c : cases) {
            const bool words = &c.converter == &from.yuv10;
            EXPECT_TRUE(
                ConvertLine<TypeParam>(c.converter,
                                       words ? Words(std::vector<uint32_t>(32, 128 << 2)) : source,
                                       width, room)
                    .Holds({std::vector<Rgb>(c.written, {131, 131, 131})}))
                << "width " << width << " of " << std::hex << c.converter.GetSourceTypeID();
        }
    }
}

TYPED_TEST(YUVOutputs, ByteOrdersOfOneLayoutGiveTheSameColours) {
    const auto& from = Converters<TypeParam>::Get();
    const uint32_t width = 38;
    // 4:4:4: Y U V, U Y V and Y Cr Cb hold the same samples in other places.
    const Bytes yuv = RandomBytes(3 * width, 1);
    Bytes uyv = yuv, ycrcb = yuv;
    for (uint32_t i = 0; i < width; ++i) {
        std::swap(uyv[3 * i], uyv[3 * i + 1]);
        std::swap(ycrcb[3 * i + 1], ycrcb[3 * i + 2]);
    }
    const Image<TypeParam> reference = ConvertLine<TypeParam>(from.yuv444, yuv, width, width);
    EXPECT_EQ(ConvertLine<TypeParam>(from.yuv444Gev, uyv, width, width).bytes, reference.bytes);
    EXPECT_EQ(ConvertLine<TypeParam>(from.yCrCb, ycrcb, width, width).bytes, reference.bytes);
    // The worked example: (Y, Cr, Cb) = (81, 240, 90) is (Y, U, V) = (81, 90, 240).
    EXPECT_EQ(ConvertLine<TypeParam>(from.yCrCb, {81, 240, 90}, 1, 1).bytes,
              ConvertLine<TypeParam>(from.yuv444, {81, 90, 240}, 1, 1).bytes);

    // 4:2:2: Y0 U Y1 V against U Y0 V Y1.
    const Bytes yuyv = RandomBytes(2 * width, 2);
    Bytes uyvy = yuyv;
    for (uint32_t i = 0; i < 2 * width; i += 2) std::swap(uyvy[i], uyvy[i + 1]);
    EXPECT_EQ(ConvertLine<TypeParam>(from.yuv8Gev, uyvy, width, width).bytes,
              ConvertLine<TypeParam>(from.yuv8, yuyv, width, width).bytes);
}

// 16-bit samples are shifted to 8 bits before the matrix: bits below the shift are
// ignored. 10-bit black with neutral chroma (64, 512) is black.
TYPED_TEST(YUVOutputs, TenBitSamplesAreShiftedBeforeTheMatrix) {
    const auto& from = Converters<TypeParam>::Get();
    const uint32_t width = 30;
    const Bytes yuyv = RandomBytes(2 * width, 3);
    std::vector<uint32_t> tenBits, sixteenBits;
    for (size_t i = 0; i < yuyv.size(); ++i) {
        tenBits.push_back((yuyv[i] << 2) | (i % 4));
        sixteenBits.push_back((yuyv[i] << 8) | (i * 37 % 256));
    }
    const auto reference = ConvertLine<TypeParam>(from.yuv8, yuyv, width, width).bytes;
    EXPECT_EQ(ConvertLine<TypeParam>(from.yuv10, Words(tenBits), width, width).bytes, reference);
    EXPECT_EQ(ConvertLine<TypeParam>(from.yuv10Normalized, Words(sixteenBits), width, width).bytes,
              reference);

    EXPECT_TRUE(ConvertLine<TypeParam>(from.yuv10, Words({64, 512, 64, 512}), 2, 2)
                    .Holds({{{0, 0, 0}, {0, 0, 0}}}));
}

// The filter sees saturated values: white (R 279 before the clamp) reads red entry 255.
TYPED_TEST(YUVOutputs, FilterAppliesToTheSaturatedColour) {
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) filter.SetGreenValue(i, 0, false);
    filter.SetRedValue(255, 9, false);
    filter.SetBlueValue(0, 77, false);
    ExpectMatrixCases<TypeParam>(&filter, [](Rgb c) {
        return Rgb{c.r == 255 ? 9 : c.r, 0, c.b == 0 ? 77 : c.b};
    });
}

TEST(YUVConverter, SaturationTableClampsEveryIndex) {
    Converters<OutputRGB24>::Get();  // any construction builds the table
    const uint8_t* table = YUVTo::GetSaturationTable();
    for (int i = 0; i < 1280; ++i) {
        const int expected = i < 512 ? 0 : i < 768 ? i - 512 : 255;
        ASSERT_EQ(table[i], expected) << i;
    }
}

TEST(YUVConverter, ConstructionValuesAndLineSizes) {
    const auto& ten = Converters<OutputBGR32>::Get().yuv10Normalized;
    EXPECT_EQ(ten.GetSourceShift(), 8u);
    EXPECT_EQ(ten.GetSourcePixelSize(), 4u);
    EXPECT_EQ(ten.GetDestinationPixelSize(), 4u);
    EXPECT_EQ(ten.GetPixelGranularity(), 1u);
    EXPECT_EQ(ten.GetLineGranularity(), 1u);

    // 4:1:1 lines hold six bytes per four pixels, rounded down, in 32-bit arithmetic.
    const auto& from = Converters<OutputRGB24>::Get();
    const auto& quads = from.yuv411;
    EXPECT_EQ(quads.GetSourceLineSize(4), 6u);
    EXPECT_EQ(quads.GetSourceLineSize(5), 7u);
    EXPECT_EQ(quads.GetSourceLineSize(0x60000001u), 0x10000001u);  // 3 * w wraps first
    EXPECT_EQ(from.yuv8.GetSourceLineSize(5), 10u);

    unsigned char pixel[3] = {16, 128, 128};
    unsigned char out[4] = {};
    EXPECT_EQ(quads.ConvertPixel(pixel, out).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(from.yuv444.ConvertPixel(pixel, out).GetCode(), ResultCode::kNotSupported);
}

// A 10-bit sample above its depth cannot push the table index out of range: it counts as
// full scale.
TEST(YUVConverter, SamplesAboveTheDepthCountAsFullScale) {
    const auto& from = Converters<OutputRGB24>::Get();
    const Image<OutputRGB24> line =
        ConvertLine<OutputRGB24>(from.yuv10, Words({0xFFFF, 0xFFFF, 1020, 0xFFFF}), 2, 2);
    // Y 255 with U = V = 255 (1020 >> 2) against the same with real 8-bit samples.
    const Image<OutputRGB24> expected =
        ConvertLine<OutputRGB24>(from.yuv8, {255, 255, 255, 255}, 2, 2);
    EXPECT_EQ(line.bytes, expected.bytes);
}

}  // namespace
