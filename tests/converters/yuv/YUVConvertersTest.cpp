#include <gtest/gtest.h>

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

// The matrix cases as one line of each 4:4:4 byte order, without a filter and through one
// that sees the saturated values: white (R 279 before the clamp) reads red entry 255.
TYPED_TEST(YUVOutputs, MatrixRoundsAndSaturatesInEveryByteOrder) {
    const auto& from = Converters<TypeParam>::Get();
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) filter.SetGreenValue(i, 0, false);
    filter.SetRedValue(255, 9, false);
    filter.SetBlueValue(0, 77, false);
    const struct {
        const PixelConverter& converter;
        int y, u, v;  // byte index of each sample within a pixel
    } layouts[] = {{from.yuv444, 0, 1, 2}, {from.yuv444Gev, 1, 0, 2}, {from.yCrCb, 0, 2, 1}};
    for (const auto& layout : layouts) {
        Bytes source;
        std::vector<Rgb> plain, filtered;
        for (const Case& c : kMatrixCases) {
            source.resize(source.size() + 3);
            uint8_t* pixel = &source[source.size() - 3];
            pixel[layout.y] = uint8_t(c.y), pixel[layout.u] = uint8_t(c.u);
            pixel[layout.v] = uint8_t(c.v);
            plain.push_back(c.rgb);
            filtered.push_back({c.rgb.r == 255 ? 9 : c.rgb.r, 0, c.rgb.b == 0 ? 77 : c.rgb.b});
        }
        const auto n = static_cast<uint32_t>(std::size(kMatrixCases));
        SCOPED_TRACE(testing::Message() << std::hex << layout.converter.GetSourceTypeID());
        EXPECT_TRUE(ConvertLine<TypeParam>(layout.converter, source, n, n).Holds({plain}));
        EXPECT_TRUE(
            ConvertLine<TypeParam>(layout.converter, source, n, n, &filter).Holds({filtered}));
    }
}

// Each group's pixels use that group's chroma and no other: two groups with different
// chroma side by side, for every subsampled layout. Deep samples are shifted to 8 bits
// first, so bits below the shift are ignored, and one above its depth counts as full scale.
TYPED_TEST(YUVOutputs, ChromaIsSharedWithinTheGroupOnly) {
    const auto& from = Converters<TypeParam>::Get();
    // (Y, 40, 60) for Y = 200, 60, 120, 30 and (Y, 100, 180) for Y = 81, 16, 235, 255.
    const Rgb a[4] = {{106, 255, 38}, {0, 141, 0}, {12, 211, 0}, {0, 106, 0}};
    const Rgb b[4] = {{159, 45, 19}, {83, 0, 0}, {255, 224, 199}, {255, 248, 223}};
    const std::vector<uint32_t> yuyv = {200, 40, 60, 60, 81, 100, 16, 180};
    std::vector<uint32_t> tenBits, sixteenBits;
    for (size_t i = 0; i < yuyv.size(); ++i) {
        tenBits.push_back((yuyv[i] << 2) | (i % 4));
        sixteenBits.push_back((yuyv[i] << 8) | (i * 37 % 256));
    }
    const Rows pairs = {{a[0], a[1], b[0], b[1]}};
    // Y 255, U = V = 255: L = 239 * 1196, G = (L - 400 * 127 - 832 * 127 + 512) >> 10.
    const Rgb full{255, 126, 255};
    const struct {
        const PixelConverter& converter;
        Bytes source;
        Rows expected;
    } cases[] = {
        {from.yuv8, {200, 40, 60, 60, 81, 100, 16, 180}, pairs},
        {from.yuv8Gev, {40, 200, 60, 60, 100, 81, 180, 16}, pairs},
        {from.yuv10, Words(tenBits), pairs},
        {from.yuv10Normalized, Words(sixteenBits), pairs},
        {from.yuv10, Words({0xFFFF, 0xFFFF, 1020, 0xFFFF}), {{full, full}}},
        {from.yuv411,
         {40, 200, 60, 60, 120, 30, 100, 81, 16, 180, 235, 255},
         {{a[0], a[1], a[2], a[3], b[0], b[1], b[2], b[3]}}},
    };
    for (const auto& c : cases) {
        const auto width = static_cast<uint32_t>(c.expected[0].size());
        EXPECT_TRUE(ConvertLine<TypeParam>(c.converter, c.source, width, width).Holds(c.expected))
            << std::hex << c.converter.GetSourceTypeID() << " " << int(c.source[0]);
    }
}
// Pixels written per width: 4:2:2 layouts whole pairs only; 4:4:4 every pixel; 4:1:1 one
// pixel less than the width when it is not a multiple of 4, rounded up to whole groups,
// so widths 2, 3, 6, 7 write past the line width. The rest of the line keeps its
// sentinels.
TYPED_TEST(YUVOutputs, GroupCountsPerWidth) {
    const auto& from = Converters<TypeParam>::Get();
    const Bytes source(64, 128);  // mid grey: (128 - 16) * 1196 -> 131
    const uint32_t written411[10] = {0, 0, 4, 4, 4, 4, 8, 8, 8, 8};
    const Bytes words = Words(std::vector<uint32_t>(32, 128 << 2));
    for (uint32_t width = 0; width < 10; ++width) {
        const struct {
            const PixelConverter& converter;
            uint32_t written;
            const Bytes& source;
        } cases[] = {{from.yuv8, width & ~1u, source}, {from.yuv8Gev, width & ~1u, source},
                     {from.yuv10, width & ~1u, words}, {from.yuv411, written411[width], source},
                     {from.yuv444, width, source},     {from.yuv444Gev, width, source},
                     {from.yCrCb, width, source}};
        for (const auto& c : cases) {
            EXPECT_TRUE(ConvertLine<TypeParam>(c.converter, c.source, width, 12)
                            .Holds({std::vector<Rgb>(c.written, {131, 131, 131})}))
                << "width " << width << " of " << std::hex << c.converter.GetSourceTypeID();
        }
    }
}

TEST(YUVConverter, SaturationTableClampsEveryIndex) {
    Converters<OutputRGB24>::Get();  // any construction builds the table
    const uint8_t* table = YUVTo::GetSaturationTable();
    for (int i = 0; i < 1280; ++i) {
        const int expected = i < 512 ? 0 : i < 768 ? i - 512 : 255;
        ASSERT_EQ(table[i], expected) << i;
    }
}

TEST(YUVConverter, LineSizesAndSinglePixels) {
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

}  // namespace
