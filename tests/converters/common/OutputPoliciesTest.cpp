#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
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
// 0xFF, per output. 5:6:5: 10 & 0xF8 -> 0x0800, 20 & 0xFC -> 0x00A0, 30 >> 3 -> 0x03.
struct Images {
    Bytes colour, gray80, grayFF;
};
template <class Output>
Images Expected() {
    using std::is_same_v;
    if constexpr (is_same_v<Output, OutputRGB16>) return {{0xA3, 0x08}, {0x10, 0x84}, {0xFF, 0xFF}};
    if constexpr (is_same_v<Output, OutputRGB24>)
        return {{10, 20, 30}, Bytes(3, 0x80), Bytes(3, 0xFF)};
    if constexpr (is_same_v<Output, OutputBGR24>)
        return {{30, 20, 10}, Bytes(3, 0x80), Bytes(3, 0xFF)};
    if constexpr (is_same_v<Output, OutputRGB32>)
        return {{10, 20, 30, 0xFF}, {0x80, 0x80, 0x80, 0xFF}, Bytes(4, 0xFF)};
    if constexpr (is_same_v<Output, OutputBGR32>)
        return {{30, 20, 10, 0xFF}, {0x80, 0x80, 0x80, 0xFF}, Bytes(4, 0xFF)};
    if constexpr (is_same_v<Output, OutputGrayscale8>) return {{}, {0x80}, {0xFF}};
    if constexpr (is_same_v<Output, OutputGrayscale10>) return {{}, {0x00, 0x02}, {0xFC, 0x03}};
    if constexpr (is_same_v<Output, OutputGrayscale12>) return {{}, {0x00, 0x08}, {0xF0, 0x0F}};
    if constexpr (is_same_v<Output, OutputGrayscale14>) return {{}, {0x00, 0x20}, {0xC0, 0x3F}};
    return {{}, {0x00, 0x80}, {0x00, 0xFF}};  // 16-bit gray
}

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

// Each value lands at its pixel only, in the output's byte order; a filtered store looks
// each channel up in its own table (red scaled to 0, green kept, blue + 5: (10, 20, 30) is
// stored as (0, 20, 35)).
TYPED_TEST(PackedOutputs, ValuesLandAtTheirPixelInTheOutputsByteOrder) {
    using Output = TypeParam;
    const Images expected = Expected<Output>();
    EXPECT_EQ(StoreAtPixel2<Output>([](unsigned char* l) { Output::StoreGray(l, 0, 2, 0x80); }),
              ExpectAtPixel2<Output>(expected.gray80));
    EXPECT_EQ(StoreAtPixel2<Output>([](unsigned char* l) { Output::StoreGray(l, 0, 2, 0xFF); }),
              ExpectAtPixel2<Output>(expected.grayFF));
    if constexpr (Output::kIsColour) {
        EXPECT_EQ(
            StoreAtPixel2<Output>([](unsigned char* l) { Output::Store(l, 0, 2, 10, 20, 30); }),
            ExpectAtPixel2<Output>(expected.colour));
        RGBFilter filter(8);
        filter.SetMultipliers(0.0, 1.0, 1.0, 0, 0, 5);
        ConversionContextScope context;
        context->filter = &filter;
        const FilterTables8& tables = ActiveFilterTables(*context);
        Bytes filtered(5 * Output::kPixelSize, kSentinel);
        LineWriter<Output>(filtered.data(), *context).StoreFiltered(2, tables, 10, 20, 30);
        context->filter = nullptr;
        EXPECT_EQ(filtered, StoreAtPixel2<Output>(
                                [](unsigned char* l) { Output::Store(l, 0, 2, 0, 20, 35); }));
    }
}

TEST(FilterTables8, IdentityWhenTheContextHasNoFilter) {
    ConversionContextScope context;
    ASSERT_EQ(context->filter, nullptr);
    const FilterTables8& tables = ActiveFilterTables(*context);
    for (int i = 0; i < 256; ++i) {
        ASSERT_TRUE(tables.red[i] == i && tables.green[i] == i && tables.blue[i] == i) << i;
    }
}

}  // namespace
