#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/OutputPolicies.h"
#include "converters/PackedRGBConverters.h"

using namespace ZnConvertersLib;

namespace {

using Bytes = std::vector<uint8_t>;
struct Rgb {
    uint8_t r, g, b;
};
using Rows = std::vector<std::vector<Rgb>>;

constexpr uint8_t kSentinel = 0x5A;
constexpr uint32_t kSlack = 16;

// One colour as each output lays it out in memory, written from the documented byte
// layouts rather than through the policies.
template <class Output>
Bytes ColourBytes(Rgb c);
template <>
Bytes ColourBytes<OutputRGB16>(Rgb c) {
    const uint32_t word = ((c.r >> 3) << 11) | ((c.g >> 2) << 5) | (c.b >> 3);
    return {uint8_t(word), uint8_t(word >> 8)};
}
template <>
Bytes ColourBytes<OutputRGB24>(Rgb c) {
    return {c.r, c.g, c.b};
}
template <>
Bytes ColourBytes<OutputBGR24>(Rgb c) {
    return {c.b, c.g, c.r};
}
template <>
Bytes ColourBytes<OutputRGB32>(Rgb c) {
    return {c.r, c.g, c.b, 0xFF};
}
template <>
Bytes ColourBytes<OutputBGR32>(Rgb c) {
    return {c.b, c.g, c.r, 0xFF};
}

// Destination image filled with the sentinel, with the expected pixels painted in.
template <class Output>
struct Image {
    Image(uint32_t width, uint32_t height, uint32_t padding)
        : height(height),
          stride(width * Output::kPixelSize + padding),
          bytes(stride * height * (Output::kIsPlanar ? 3 : 1) + kSlack, kSentinel) {}
    void Paint(uint32_t x, uint32_t y, Rgb c) {
        if (Output::kIsPlanar) {
            const uint32_t plane = stride * height;
            bytes[y * stride + x] = c.r;
            bytes[plane + y * stride + x] = c.g;
            bytes[2 * plane + y * stride + x] = c.b;
            return;
        }
        const Bytes pixel = ColourBytes<Output>(c);
        for (size_t b = 0; b < pixel.size(); ++b)
            bytes[y * stride + x * pixel.size() + b] = pixel[b];
    }
    uint32_t height, stride;
    Bytes bytes;
};

// Blanks red and halves blue (truncating), green unchanged: shows which table each
// channel went through.
const RGBFilter& RoutingFilter() {
    static const RGBFilter filter = [] {
        RGBFilter f(8);
        f.SetMultipliers(0.0, 1.0, 0.5);
        return f;
    }();
    return filter;
}

template <class Output>
Bytes Convert(const PixelConverter& converter, const std::vector<Bytes>& sourceRows, uint32_t width,
              uint32_t sourcePadding, uint32_t destinationPadding, const RGBFilter* filter) {
    Bytes source;
    for (const Bytes& row : sourceRows) {
        EXPECT_EQ(row.size(), converter.GetSourceLineSize(width) + sourcePadding);
        source.insert(source.end(), row.begin(), row.end());
    }
    const uint32_t height = static_cast<uint32_t>(sourceRows.size());
    Image<Output> destination(width, height, destinationPadding);
    converter.ConvertFiltered(filter, source.data(), width, height, destination.bytes.data(), width,
                              height, width, height, 0, destinationPadding, nullptr, nullptr,
                              sourcePadding);
    return destination.bytes;
}

// Converts the rows without a filter and with the routing filter, with padding on both
// sides, and checks every byte of the destination against the decoded channels.
template <class Output>
void ExpectConverts(const PixelConverter& converter, const std::vector<Bytes>& sourceRows,
                    uint32_t width, uint32_t sourcePadding, const Rows& decoded) {
    const uint32_t destinationPadding = 3;
    const uint32_t height = static_cast<uint32_t>(decoded.size());
    Image<Output> plain(width, height, destinationPadding);
    Image<Output> routed(width, height, destinationPadding);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < decoded[y].size(); ++x) {
            const Rgb c = decoded[y][x];
            plain.Paint(x, y, c);
            routed.Paint(x, y, Rgb{0, c.g, uint8_t(c.b / 2)});
        }
    }
    EXPECT_EQ(
        Convert<Output>(converter, sourceRows, width, sourcePadding, destinationPadding, nullptr),
        plain.bytes)
        << "without filter";
    EXPECT_EQ(Convert<Output>(converter, sourceRows, width, sourcePadding, destinationPadding,
                              &RoutingFilter()),
              routed.bytes)
        << "with filter";
}

Bytes Words(std::initializer_list<uint16_t> words, uint32_t paddingBytes) {
    Bytes bytes;
    for (uint16_t w : words) {
        bytes.push_back(uint8_t(w));
        bytes.push_back(uint8_t(w >> 8));
    }
    bytes.resize(bytes.size() + paddingBytes, 0xEE);
    return bytes;
}

using ColourOutputs = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32,
                                       OutputBGR32, OutputPlanar24>;
struct OutputNames {
    template <class T>
    static std::string GetName(int i) {
        static const char* names[] = {"RGB16", "RGB24", "BGR24", "RGB32", "BGR32", "Planar24"};
        return names[i];
    }
};

template <class Output>
class PackedRGB : public ::testing::Test {};
TYPED_TEST_SUITE(PackedRGB, ColourOutputs, OutputNames);

constexpr int64 kSource = 0x70301;
constexpr int64 kDestination = 0x70302;

TYPED_TEST(PackedRGB, RGB16ExpandsFieldsWithZeroLowBits) {
    using Output = TypeParam;
    const RGB16To<Output> converter(kSource, kDestination, 2, Output::kPixelSize);
    ExpectConverts<Output>(
        converter, {Words({0xFFFF, 0x07E0, 0xF800}, 1), Words({0x001F, 0x8410, 0x1234}, 1)}, 3, 1,
        {{{0xF8, 0xFC, 0xF8}, {0x00, 0xFC, 0x00}, {0xF8, 0x00, 0x00}},
         {{0x00, 0x00, 0xF8}, {0x80, 0x80, 0x80}, {0x10, 0x44, 0xA0}}});
}

TYPED_TEST(PackedRGB, RGB24ReadsRedGreenBlue) {
    using Output = TypeParam;
    const RGB24PackedTo<Output> converter(kSource, kDestination, 3, Output::kPixelSize);
    ExpectConverts<Output>(converter,
                           {{1, 2, 3, 10, 20, 30, 0xFF, 0x80, 0x00, 0xEE},
                            {0x12, 0x34, 0x56, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0xC8, 0xEE}},
                           3, 1,
                           {{{1, 2, 3}, {10, 20, 30}, {0xFF, 0x80, 0x00}},
                            {{0x12, 0x34, 0x56}, {0xFE, 0x01, 0x7F}, {0x00, 0x00, 0xC8}}});
}

TYPED_TEST(PackedRGB, BGR24ReadsBlueGreenRed) {
    using Output = TypeParam;
    const BGR24PackedTo<Output> converter(kSource, kDestination, 3, Output::kPixelSize);
    ExpectConverts<Output>(converter,
                           {{1, 2, 3, 10, 20, 30, 0xFF, 0x80, 0x00},
                            {0x12, 0x34, 0x56, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0xC8}},
                           3, 0,
                           {{{3, 2, 1}, {30, 20, 10}, {0x00, 0x80, 0xFF}},
                            {{0x56, 0x34, 0x12}, {0x7F, 0x01, 0xFE}, {0xC8, 0x00, 0x00}}});
}

TYPED_TEST(PackedRGB, RGB32IgnoresTheFourthByte) {
    using Output = TypeParam;
    const RGB32To<Output> converter(kSource, kDestination, 4, Output::kPixelSize);
    ExpectConverts<Output>(
        converter,
        {{1, 2, 3, 0x00, 10, 20, 30, 0x77, 0xFF, 0x80, 0x00, 0xFF, 0xEE, 0xEE},
         {0x12, 0x34, 0x56, 0x00, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0x00, 0xC8, 0x00, 0xEE, 0xEE}},
        3, 2,
        {{{1, 2, 3}, {10, 20, 30}, {0xFF, 0x80, 0x00}},
         {{0x12, 0x34, 0x56}, {0xFE, 0x01, 0x7F}, {0x00, 0x00, 0xC8}}});
}

TYPED_TEST(PackedRGB, BGR32ReadsBlueGreenRedAndIgnoresTheFourthByte) {
    using Output = TypeParam;
    const BGR32To<Output> converter(kSource, kDestination, 4, Output::kPixelSize);
    ExpectConverts<Output>(
        converter,
        {{1, 2, 3, 0x00, 10, 20, 30, 0x77, 0xFF, 0x80, 0x00, 0xFF},
         {0x12, 0x34, 0x56, 0x00, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0x00, 0xC8, 0x00}},
        3, 0,
        {{{3, 2, 1}, {30, 20, 10}, {0x00, 0x80, 0xFF}},
         {{0x56, 0x34, 0x12}, {0x7F, 0x01, 0xFE}, {0xC8, 0x00, 0x00}}});
}

TYPED_TEST(PackedRGB, RGB48ShiftsEachWordAndKeepsItsLowByte) {
    using Output = TypeParam;
    const RGB48To<Output> converter(kSource, kDestination, 6, Output::kPixelSize, 4);
    EXPECT_EQ(converter.GetSourceShift(), 4u);
    // 0xF123 >> 4 = 0xF12: bits above the sample are cut off.
    ExpectConverts<Output>(
        converter,
        {Words({0x0FFF, 0x0800, 0x0010, 0x0ABC, 0x0123, 0x0F0F, 0xF123, 0x0000, 0x0FF0}, 2),
         Words({0x0000, 0x0000, 0x0000, 0x0555, 0x0AAA, 0x0FFF, 0x0008, 0x0018, 0x0028}, 2)},
        3, 2,
        {{{0xFF, 0x80, 0x01}, {0xAB, 0x12, 0xF0}, {0x12, 0x00, 0xFF}},
         {{0x00, 0x00, 0x00}, {0x55, 0xAA, 0xFF}, {0x00, 0x01, 0x02}}});
}

TYPED_TEST(PackedRGB, BGR48ReadsBlueFirst) {
    using Output = TypeParam;
    const BGR48To<Output> converter(kSource, kDestination, 6, Output::kPixelSize, 2);
    ExpectConverts<Output>(
        converter,
        {Words({0x03FF, 0x0200, 0x0004, 0x0000, 0x03FC, 0x0100, 0x0010, 0x0020, 0x0030}, 0)}, 3, 0,
        {{{0x01, 0x80, 0xFF}, {0x40, 0xFF, 0x00}, {0x0C, 0x08, 0x04}}});
}

TYPED_TEST(PackedRGB, RGB64TakesTheTopByteOfNormalizedWordsAndIgnoresTheFourth) {
    using Output = TypeParam;
    const RGB64To<Output> converter(kSource, kDestination, 8, Output::kPixelSize, 8);
    ExpectConverts<Output>(converter,
                           {Words({0xAB00, 0xCD12, 0xEF34, 0x9999, 0x00FF, 0xFF00, 0x8080, 0x0000,
                                   0x1234, 0x5678, 0x9ABC, 0xFFFF},
                                  1)},
                           3, 1, {{{0xAB, 0xCD, 0xEF}, {0x00, 0xFF, 0x80}, {0x12, 0x56, 0x9A}}});
}

TYPED_TEST(PackedRGB, ShiftUsesOnlyItsLowFiveBits) {
    using Output = TypeParam;
    // 36 & 31 = 4.
    const RGB48To<Output> converter(kSource, kDestination, 6, Output::kPixelSize, 36);
    ExpectConverts<Output>(converter, {Words({0x0FFF, 0x0800, 0x0010}, 0)}, 1, 0,
                           {{{0xFF, 0x80, 0x01}}});
}

TYPED_TEST(PackedRGB, ZeroWidthWritesNothing) {
    using Output = TypeParam;
    const RGB24PackedTo<Output> converter(kSource, kDestination, 3, Output::kPixelSize);
    ExpectConverts<Output>(converter, {Bytes(4, 1), Bytes(4, 2)}, 0, 4, {{}, {}});
}

// The SIMD rows against the plain rows on random lines, at widths around the 16-pixel block
// and at unaligned source addresses. Buffers are exactly as long as the line, so the
// address sanitizer sees any access past it.
template <class Reader, class Output>
void ExpectSimdRowMatchesPlainRow(uint32_t pixelBytes) {
    std::mt19937 random(7);
    for (uint32_t width : {15u, 16u, 17u, 31u, 32u, 33u, 71u}) {
        for (uint32_t offset : {0u, 1u, 3u}) {
            Bytes source(offset + width * pixelBytes);
            for (uint8_t& b : source) b = uint8_t(random());
            ConversionContext context{};
            const Reader read(source.data() + offset, context, 0);
            Bytes plain(width * Output::kPixelSize), fast(plain.size());
            PackedRGBDetail::StoreColourRow_C(read, LineWriter<Output>(plain.data(), context), 0,
                                              width);
            const uint32_t done =
                Simd::StoreColourRowFast<Reader, Output>(read, fast.data(), width);
            PackedRGBDetail::StoreColourRow_C(read, LineWriter<Output>(fast.data(), context), done,
                                              width);
            if (Simd::HasSsse3()) {
                EXPECT_EQ(done, width / 16 * 16);
            }
            ASSERT_EQ(fast, plain) << "width " << width << " offset " << offset;
        }
    }
}

template <class Output>
class SimdRows : public ::testing::Test {};
using SimdOutputs = ::testing::Types<OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32>;
TYPED_TEST_SUITE(SimdRows, SimdOutputs);

TYPED_TEST(SimdRows, MatchThePlainRows) {
    using Output = TypeParam;
    using namespace PackedRGBDetail;
    ExpectSimdRowMatchesPlainRow<RGB24Reader, Output>(3);
    ExpectSimdRowMatchesPlainRow<BGR24Reader, Output>(3);
    ExpectSimdRowMatchesPlainRow<RGB32Reader, Output>(4);
    ExpectSimdRowMatchesPlainRow<BGR32Reader, Output>(4);
}

}  // namespace
