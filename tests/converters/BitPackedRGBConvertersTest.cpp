#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/BitPackedRGBConverters.h"
#include "converters/OutputPolicies.h"

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

// Blanks red and halves blue (truncating), green unchanged.
const RGBFilter& RoutingFilter() {
    static const RGBFilter filter = [] {
        RGBFilter f(8);
        f.SetMultipliers(0.0, 1.0, 0.5);
        return f;
    }();
    return filter;
}

// Converts width × decoded.size() pixels of a whole source buffer (all its planes), with and
// without the routing filter, and checks every destination byte. decoded rows may be
// longer than the width (documented overruns).
template <class Output>
void ExpectConverts(const PixelConverter& converter, const Bytes& source, uint32_t width,
                    uint32_t sourcePadding, uint32_t destinationPadding, const Rows& decoded) {
    const uint32_t height = static_cast<uint32_t>(decoded.size());
    for (const bool filtered : {false, true}) {
        Image<Output> expected(width, height, destinationPadding);
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < decoded[y].size(); ++x) {
                const Rgb c = decoded[y][x];
                expected.Paint(x, y, filtered ? Rgb{0, c.g, uint8_t(c.b / 2)} : c);
            }
        }
        Image<Output> got(width, height, destinationPadding);
        converter.ConvertFiltered(filtered ? &RoutingFilter() : nullptr, source.data(), width,
                                  height, got.bytes.data(), width, height, width, height, 0,
                                  destinationPadding, nullptr, nullptr, sourcePadding);
        EXPECT_EQ(got.bytes, expected.bytes) << (filtered ? "with filter" : "without filter");
    }
}

void Append(Bytes& bytes, std::initializer_list<uint32_t> values, uint32_t size) {
    for (uint32_t v : values) {
        for (uint32_t b = 0; b < size; ++b) bytes.push_back(uint8_t(v >> (8 * b)));
    }
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
    ExpectConverts<Output>(converter, source, 3, 1, 3,
                           {{{0x30, 0x20, 0x10}, {0xCC, 0xBB, 0xAA}, {0x03, 0x02, 0x01}},
                            {{0xC0, 0x80, 0x3F}, {0x00, 0x00, 0x00}, {0x01, 0x7F, 0xFE}}});
}

TYPED_TEST(BitPackedRGB, BGR10V2TakesTheTopEightBitsOfEachTenBitField) {
    using Output = TypeParam;
    const BGR10PackedV2To<Output> converter(kSource, kDestination, 4, Output::kPixelSize);
    Bytes source;
    Append(source, {0x3FF00000, 0x000003FF, 0x000FFC00}, 4);
    // Bits 30 and 31 are unused; 0x12345678: B = 0x9E, G = 0x45, R = 0x48.
    Append(source, {0xC0000000, 0x12345678, 0x20080200}, 4);
    ExpectConverts<Output>(converter, source, 3, 0, 2,
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
    ExpectConverts<Output>(
        converter, source, 3, 5, padding,
        {{{0x10, 0x20, 0x30}, {0x40, 0x50, 0x60}, {0xA1, 0xA2, 0xA3}, {0xA4, 0xA5, 0xA6}},
         {{0xFF, 0x80, 0x01}, {0x02, 0x03, 0x04}, {0x05, 0x06, 0x07}, {0x08, 0x09, 0x0A}}});
}

TYPED_TEST(BitPackedRGB, RGB12V1ZeroWidthWritesNothing) {
    using Output = TypeParam;
    const RGB12PackedV1To<Output> converter(kSource, kDestination, 5, Output::kPixelSize);
    ExpectConverts<Output>(converter, Bytes(18, 0x33), 0, 9, 4, {{}, {}});
}

TYPED_TEST(BitPackedRGB, Planar8ReadsOnePlanePerChannel) {
    using Output = TypeParam;
    const RGBPlanarTo<unsigned char, Output> converter(kSource, kDestination, 1, Output::kPixelSize,
                                                       0);
    // 3 x 2 pixels, 1 padding byte: planes of 8 bytes, R then G then B.
    const Bytes source = {1,    2,    3,    0xEE, 4,    5,    6,    0xEE,   // R
                          10,   20,   30,   0xEE, 40,   50,   60,   0xEE,   // G
                          0xF0, 0xF1, 0xF2, 0xEE, 0xF3, 0xF4, 0xF5, 0xEE};  // B
    ExpectConverts<Output>(converter, source, 3, 1, 3,
                           {{{1, 10, 0xF0}, {2, 20, 0xF1}, {3, 30, 0xF2}},
                            {{4, 40, 0xF3}, {5, 50, 0xF4}, {6, 60, 0xF5}}});
}

TYPED_TEST(BitPackedRGB, Planar16ShiftsEachSample) {
    using Output = TypeParam;
    const RGBPlanarTo<unsigned short, Output> converter(kSource, kDestination, 2,
                                                        Output::kPixelSize, 4);
    EXPECT_EQ(converter.GetSourceShift(), 4u);
    // 2 x 2 pixels, 2 padding bytes: lines of 6 bytes, planes of 12.
    Bytes source;
    Append(source, {0x0FFF, 0x0010, 0xEEEE, 0x0800, 0xF123, 0xEEEE}, 2);  // R
    Append(source, {0x0000, 0x0020, 0xEEEE, 0x0400, 0x0AB0, 0xEEEE}, 2);  // G
    Append(source, {0x0800, 0x0030, 0xEEEE, 0x0200, 0x0556, 0xEEEE}, 2);  // B
    ExpectConverts<Output>(
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

// The SIMD rows against the plain rows on random lines (all planes of a planar line), at
// widths around the 16-pixel block and at unaligned source addresses. Buffers are exactly
// as long as the line, so the address sanitizer sees any access past it.
template <class Reader, class Output>
void ExpectSimdRowMatchesPlainRow(uint32_t sampleBytes, uint32_t planes, uint32_t shift) {
    std::mt19937 random(11);
    for (uint32_t width : {15u, 16u, 17u, 31u, 32u, 33u, 71u}) {
        for (uint32_t offset : {0u, 1u, 3u}) {
            Bytes source(offset + width * sampleBytes * planes);
            for (uint8_t& b : source) b = uint8_t(random());
            ConversionContext context{};
            context.sourceStride = width * sampleBytes;  // one-line planes
            context.sourceHeight = 1;
            const Reader read(source.data() + offset, context, shift);
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
    using namespace BitPackedRGBDetail;
    ExpectSimdRowMatchesPlainRow<BGR10V1Reader, Output>(4, 1, 0);
    ExpectSimdRowMatchesPlainRow<BGR10V2Reader, Output>(4, 1, 0);
    for (uint32_t shift : {0u, 1u, 3u, 9u}) {
        ExpectSimdRowMatchesPlainRow<PlanarReader<unsigned char>, Output>(1, 3, shift);
    }
    for (uint32_t shift : {2u, 4u, 8u, 17u}) {
        ExpectSimdRowMatchesPlainRow<PlanarReader<unsigned short>, Output>(2, 3, shift);
    }
}

}  // namespace
