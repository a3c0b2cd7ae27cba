#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/common/KernelSupport.h"
#include "converters/common/OutputPolicies.h"

using namespace ZnConvertersLib;

namespace {

using Bytes = std::vector<uint8_t>;
constexpr uint8_t kSentinel = 0xA5;

// Hand-written memory images of the colour (10, 20, 30) and of the gray values 0x80 and
// 0xFF, per output.
template <class Output>
struct Expected;
template <>
struct Expected<OutputRGB16> {
    // 10 & 0xF8 = 0x08 -> 0x0800, 20 & 0xFC = 0x14 -> 0x00A0, 30 >> 3 = 0x03
    static Bytes Colour() { return {0xA3, 0x08}; }
    static Bytes Gray80() { return {0x10, 0x84}; }
    static Bytes GrayFF() { return {0xFF, 0xFF}; }
};
template <>
struct Expected<OutputRGB24> {
    static Bytes Colour() { return {10, 20, 30}; }
    static Bytes Gray80() { return {0x80, 0x80, 0x80}; }
    static Bytes GrayFF() { return {0xFF, 0xFF, 0xFF}; }
};
template <>
struct Expected<OutputBGR24> {
    static Bytes Colour() { return {30, 20, 10}; }
    static Bytes Gray80() { return {0x80, 0x80, 0x80}; }
    static Bytes GrayFF() { return {0xFF, 0xFF, 0xFF}; }
};
template <>
struct Expected<OutputRGB32> {
    static Bytes Colour() { return {10, 20, 30, 0xFF}; }
    static Bytes Gray80() { return {0x80, 0x80, 0x80, 0xFF}; }
    static Bytes GrayFF() { return {0xFF, 0xFF, 0xFF, 0xFF}; }
};
template <>
struct Expected<OutputBGR32> {
    static Bytes Colour() { return {30, 20, 10, 0xFF}; }
    static Bytes Gray80() { return {0x80, 0x80, 0x80, 0xFF}; }
    static Bytes GrayFF() { return {0xFF, 0xFF, 0xFF, 0xFF}; }
};
template <>
struct Expected<OutputGrayscale8> {
    static Bytes Gray80() { return {0x80}; }
    static Bytes GrayFF() { return {0xFF}; }
};
template <>
struct Expected<OutputGrayscale10> {
    static Bytes Gray80() { return {0x00, 0x02}; }
    static Bytes GrayFF() { return {0xFC, 0x03}; }
};
template <>
struct Expected<OutputGrayscale12> {
    static Bytes Gray80() { return {0x00, 0x08}; }
    static Bytes GrayFF() { return {0xF0, 0x0F}; }
};
template <>
struct Expected<OutputGrayscale14> {
    static Bytes Gray80() { return {0x00, 0x20}; }
    static Bytes GrayFF() { return {0xC0, 0x3F}; }
};
template <>
struct Expected<OutputGrayscale16> {
    static Bytes Gray80() { return {0x00, 0x80}; }
    static Bytes GrayFF() { return {0x00, 0xFF}; }
};

// A line of four pixels plus a pixel of slack, pixel 2 stored; everything else must keep
// the sentinel.
template <class Output, class Store>
Bytes StoreAtPixel2(Store store) {
    Bytes line(5 * Output::kPixelSize, kSentinel);
    store(line.data());
    return line;
}

template <class Output>
Bytes ExpectAtPixel2(const Bytes& pixel) {
    Bytes line(5 * Output::kPixelSize, kSentinel);
    for (size_t b = 0; b < pixel.size(); ++b) line[2 * Output::kPixelSize + b] = pixel[b];
    return line;
}

template <class Output>
class PackedOutputs : public ::testing::Test {};
using PackedOutputTypes = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32,
                                           OutputBGR32, OutputGrayscale8, OutputGrayscale10,
                                           OutputGrayscale12, OutputGrayscale14, OutputGrayscale16>;
TYPED_TEST_SUITE(PackedOutputs, PackedOutputTypes);

TYPED_TEST(PackedOutputs, GrayValuesLandAtTheirPixelOnly) {
    using Output = TypeParam;
    ASSERT_EQ(Expected<Output>::GrayFF().size(), Output::kPixelSize);
    EXPECT_EQ(StoreAtPixel2<Output>([](unsigned char* l) { Output::StoreGray(l, 0, 2, 0x80); }),
              ExpectAtPixel2<Output>(Expected<Output>::Gray80()));
    EXPECT_EQ(StoreAtPixel2<Output>([](unsigned char* l) { Output::StoreGray(l, 0, 2, 0xFF); }),
              ExpectAtPixel2<Output>(Expected<Output>::GrayFF()));
}

template <class Output>
class ColourOutputs : public ::testing::Test {};
using ColourOutputTypes =
    ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32>;
TYPED_TEST_SUITE(ColourOutputs, ColourOutputTypes);

TYPED_TEST(ColourOutputs, ChannelsLandInTheOutputsByteOrder) {
    using Output = TypeParam;
    EXPECT_EQ(StoreAtPixel2<Output>([](unsigned char* l) { Output::Store(l, 0, 2, 10, 20, 30); }),
              ExpectAtPixel2<Output>(Expected<Output>::Colour()));
}

TYPED_TEST(ColourOutputs, FilteredStoresLookEachChannelUpInItsOwnTable) {
    using Output = TypeParam;
    // Red scaled to 0, green kept, blue + 5: (10, 20, 30) is stored as (0, 20, 35) — the
    // same memory image as an unfiltered store of those values.
    RGBFilter filter(8);
    filter.SetMultipliers(0.0, 1.0, 1.0, 0, 0, 5);
    ConversionContextScope context;
    context->filter = &filter;
    const FilterTables8& tables = ActiveFilterTables(*context);
    Bytes filtered(5 * Output::kPixelSize, kSentinel);
    LineWriter<Output>(filtered.data(), *context).StoreFiltered(2, tables, 10, 20, 30);
    context->filter = nullptr;
    EXPECT_EQ(filtered,
              StoreAtPixel2<Output>([](unsigned char* l) { Output::Store(l, 0, 2, 0, 20, 35); }));
}

TEST(OutputRGB16, DropsLowBitsWithoutRounding) {
    Bytes word(2);
    OutputRGB16::Store(word.data(), 0, 0, 0x07, 0x03, 0x07);
    EXPECT_EQ(word, (Bytes{0x00, 0x00}));
    OutputRGB16::Store(word.data(), 0, 0, 0xFF, 0x00, 0x00);
    EXPECT_EQ(word, (Bytes{0x00, 0xF8}));
    OutputRGB16::Store(word.data(), 0, 0, 0x00, 0xFF, 0x00);
    EXPECT_EQ(word, (Bytes{0xE0, 0x07}));
}

TEST(OutputPlanar24, PixelsGoToTheSameIndexOfThreeWholeImagePlanes) {
    // A 4 x 2 image without padding: planes of 8 bytes, line 1 starts at byte 4.
    Bytes image(3 * 8 + 4, kSentinel);
    OutputPlanar24::Store(image.data() + 4, 8, 0, 10, 20, 30);
    OutputPlanar24::StoreGray(image.data(), 8, 3, 0x80);
    Bytes expected(3 * 8 + 4, kSentinel);
    expected[4] = 10, expected[12] = 20, expected[20] = 30;
    expected[3] = expected[11] = expected[19] = 0x80;
    EXPECT_EQ(image, expected);
}

TEST(LineWriter, PlaneSizeIsDestinationStrideTimesDestinationHeight) {
    ConversionContextScope context;
    context->destinationStride = 6;  // 4 pixels + 2 bytes padding
    context->destinationHeight = 3;
    Bytes image(3 * 18, kSentinel);
    LineWriter<OutputPlanar24>(image.data() + 6, *context).Store(1, 1, 2, 3);
    Bytes expected(3 * 18, kSentinel);
    expected[7] = 1, expected[25] = 2, expected[43] = 3;
    EXPECT_EQ(image, expected);
    EXPECT_EQ(LineWriter<OutputRGB24>(image.data(), *context).PlaneSize(), 0u);
}

TEST(FilterTables8, IdentityWhenTheContextHasNoFilter) {
    ConversionContextScope context;
    ASSERT_EQ(context->filter, nullptr);
    const FilterTables8& tables = ActiveFilterTables(*context);
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(tables.red[i], i);
        ASSERT_EQ(tables.green[i], i);
        ASSERT_EQ(tables.blue[i], i);
    }
}

}  // namespace
