#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <type_traits>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/YUVConverters.h"
#include "converters/YUVRowsSSE2.h"

using namespace ZnConvertersLib;

namespace {

constexpr unsigned char kSentinel = 0xCD;

struct Rgb {
    int r, g, b;
    bool operator==(const Rgb& o) const { return r == o.r && g == o.g && b == o.b; }
};
std::ostream& operator<<(std::ostream& os, const Rgb& c) {
    return os << "(" << c.r << ", " << c.g << ", " << c.b << ")";
}

// Reads pixels back from each output format; 5:6:5 keeps only the high bits, so
// expectations are cut the same way before comparing.
template <class Output>
struct Format {
    static Rgb Read(const unsigned char* line, size_t plane, size_t i) {
        if constexpr (std::is_same_v<Output, OutputRGB16>) {
            const int w = line[2 * i] | (line[2 * i + 1] << 8);
            return {(w >> 11) << 3, ((w >> 5) & 63) << 2, (w & 31) << 3};
        } else if constexpr (std::is_same_v<Output, OutputRGB24>) {
            return {line[3 * i], line[3 * i + 1], line[3 * i + 2]};
        } else if constexpr (std::is_same_v<Output, OutputBGR24>) {
            return {line[3 * i + 2], line[3 * i + 1], line[3 * i]};
        } else if constexpr (std::is_same_v<Output, OutputRGB32>) {
            if (line[4 * i + 3] != 0xFF) return {-1, -1, -1};
            return {line[4 * i], line[4 * i + 1], line[4 * i + 2]};
        } else if constexpr (std::is_same_v<Output, OutputBGR32>) {
            if (line[4 * i + 3] != 0xFF) return {-1, -1, -1};
            return {line[4 * i + 2], line[4 * i + 1], line[4 * i]};
        } else {
            return {line[i], line[plane + i], line[2 * plane + i]};
        }
    }
    static Rgb Cut(Rgb c) {
        if constexpr (std::is_same_v<Output, OutputRGB16>)
            return {c.r & 0xF8, c.g & 0xFC, c.b & 0xF8};
        return c;
    }
};

// One sentinel-filled destination line of `width` pixels.
template <class Output>
struct Line {
    explicit Line(uint32_t width)
        : width(width),
          bytes(static_cast<size_t>(width) * Output::kPixelSize * (Output::kIsPlanar ? 3 : 1),
                kSentinel) {}
    size_t Plane() const { return static_cast<size_t>(width) * Output::kPixelSize; }
    Rgb At(uint32_t x) const { return Format<Output>::Read(bytes.data(), Plane(), x); }
    bool Untouched(uint32_t x) const {
        for (size_t p = 0; p < (Output::kIsPlanar ? 3u : 1u); ++p) {
            for (uint32_t k = 0; k < Output::kPixelSize; ++k) {
                if (bytes[p * Plane() + x * Output::kPixelSize + k] != kSentinel) return false;
            }
        }
        return true;
    }
    uint32_t width;
    std::vector<unsigned char> bytes;
};

template <class Output>
constexpr uint32_t OutputIndex() {
    if constexpr (std::is_same_v<Output, OutputRGB16>) return 0;
    if constexpr (std::is_same_v<Output, OutputRGB24>) return 1;
    if constexpr (std::is_same_v<Output, OutputBGR24>) return 2;
    if constexpr (std::is_same_v<Output, OutputRGB32>) return 3;
    if constexpr (std::is_same_v<Output, OutputBGR32>) return 4;
    return 5;
}

// One converter object per class for the whole run (the registry keeps references to
// what it registered); identifiers outside every built-in colour space.
template <class Converter, int64 kSource, class... Extra>
const Converter& Get(uint32_t sourcePixelSize, Extra... extra) {
    constexpr int64 source = kSource;
    using Output = typename Converter::OutputType;
    static const Converter converter(source, 0x70C00 + OutputIndex<Output>(), sourcePixelSize,
                                     Output::kPixelSize, extra...);
    return converter;
}

// The converter templates do not name their output; the tests need it.
template <template <class> class Family, class Output>
struct Named : Family<Output> {
    using Family<Output>::Family;
    using OutputType = Output;
};

template <class Output>
using YUV8 = Named<YUV8To, Output>;
template <class Output>
using YUV8GEV = Named<YUV8422GEVTo, Output>;
template <class Output>
using YUV411 = Named<YUV8411To, Output>;
template <class Output>
using YUV444 = Named<YUV8444To, Output>;
template <class Output>
using YUV444GEV = Named<YUV8444GEVTo, Output>;
template <class Output>
using YCrCb = Named<YCrCbTo, Output>;
template <class Output>
using YUV10 = Named<YUV10To, Output>;

template <class Output>
const YUV8<Output>& Yuv8() {
    return Get<YUV8<Output>, 0x70A01>(2);
}
template <class Output>
const YUV8GEV<Output>& Yuv8Gev() {
    return Get<YUV8GEV<Output>, 0x70A02>(2);
}
template <class Output>
const YUV411<Output>& Yuv411() {
    return Get<YUV411<Output>, 0x70A03>(4);
}
template <class Output>
const YUV444<Output>& Yuv444() {
    return Get<YUV444<Output>, 0x70A04>(3);
}
template <class Output>
const YUV444GEV<Output>& Yuv444Gev() {
    return Get<YUV444GEV<Output>, 0x70A05>(3);
}
template <class Output>
const YCrCb<Output>& YCrCbConverter() {
    return Get<YCrCb<Output>, 0x70A06>(3);
}
template <class Output>
const YUV10<Output>& Yuv10() {
    return Get<YUV10<Output>, 0x70A07>(4, 2u);
}
template <class Output>
const YUV10<Output>& Yuv10Normalized() {
    return Get<YUV10<Output>, 0x70A08>(4, 8u);
}

// Converts one line of `width` pixels into a destination line of `room` pixels.
template <class Output>
Line<Output> ConvertLine(const PixelConverter& converter, const std::vector<unsigned char>& source,
                         uint32_t width, uint32_t room, const RGBFilter* filter = nullptr) {
    Line<Output> line(room);
    converter.ConvertFiltered(filter, source.data(), width, 1, line.bytes.data(), room, 1, width, 1,
                              0, 0, nullptr, nullptr, 0);
    return line;
}

std::vector<unsigned char> Words(const std::vector<uint32_t>& samples) {
    std::vector<unsigned char> bytes;
    for (uint32_t s : samples) {
        bytes.push_back(static_cast<unsigned char>(s));
        bytes.push_back(static_cast<unsigned char>(s >> 8));
    }
    return bytes;
}

std::vector<unsigned char> RandomBytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<unsigned char> bytes(n);
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
using ColourOutputs = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32,
                                       OutputBGR32, OutputPlanar24>;
TYPED_TEST_SUITE(YUVOutputs, ColourOutputs);

TYPED_TEST(YUVOutputs, MatrixRoundsAndSaturates) {
    std::vector<unsigned char> source;
    for (const Case& c : kMatrixCases) {
        source.insert(source.end(),
                      {static_cast<unsigned char>(c.y), static_cast<unsigned char>(c.u),
                       static_cast<unsigned char>(c.v)});
    }
    const uint32_t n = static_cast<uint32_t>(std::size(kMatrixCases));
    const Line<TypeParam> line = ConvertLine<TypeParam>(Yuv444<TypeParam>(), source, n, n);
    for (uint32_t i = 0; i < n; ++i) {
        EXPECT_EQ(line.At(i), Format<TypeParam>::Cut(kMatrixCases[i].rgb)) << "case " << i;
    }
}

// Each group's pixels use that group's chroma and no other: two groups with different
// chroma side by side, for every subsampled layout.
TYPED_TEST(YUVOutputs, ChromaIsSharedWithinTheGroupOnly) {
    // (Y, 40, 60) for Y = 200, 60, 120, 30 and (Y, 100, 180) for Y = 81, 16, 235, 255.
    const Rgb a[4] = {{106, 255, 38}, {0, 141, 0}, {12, 211, 0}, {0, 106, 0}};
    const Rgb b[4] = {{159, 45, 19}, {83, 0, 0}, {255, 224, 199}, {255, 248, 223}};
    const Rgb pairs[4] = {a[0], a[1], b[0], b[1]};

    const std::vector<unsigned char> yuyv = {200, 40, 60, 60, 81, 100, 16, 180};
    const std::vector<unsigned char> uyvy = {40, 200, 60, 60, 100, 81, 180, 16};
    const std::vector<unsigned char> words =
        Words({200 << 2, 40 << 2, 60 << 2, 60 << 2, 81 << 2, 100 << 2, 16 << 2, 180 << 2});
    const Line<TypeParam> lines[3] = {ConvertLine<TypeParam>(Yuv8<TypeParam>(), yuyv, 4, 4),
                                      ConvertLine<TypeParam>(Yuv8Gev<TypeParam>(), uyvy, 4, 4),
                                      ConvertLine<TypeParam>(Yuv10<TypeParam>(), words, 4, 4)};
    for (const auto& line : lines) {
        for (uint32_t i = 0; i < 4; ++i)
            EXPECT_EQ(line.At(i), Format<TypeParam>::Cut(pairs[i])) << i;
    }

    const std::vector<unsigned char> quads = {40, 200, 60, 60, 120, 30, 100, 81, 16, 180, 235, 255};
    const Line<TypeParam> line = ConvertLine<TypeParam>(Yuv411<TypeParam>(), quads, 8, 8);
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(line.At(i), Format<TypeParam>::Cut(i < 4 ? a[i] : b[i - 4])) << i;
    }
}

// Pixels written per width: 4:2:2 layouts whole pairs only; 4:4:4 every pixel; 4:1:1 one
// pixel less than the width when it is not a multiple of 4, rounded up to whole groups,
// so widths 2, 3, 6, 7 write past the line width. The rest of the line keeps its
// sentinels.
TYPED_TEST(YUVOutputs, GroupCountsPerWidth) {
    const std::vector<unsigned char> source(64, 128);  // mid grey: (128 - 16) * 1196 -> 131
    const Rgb grey = Format<TypeParam>::Cut({131, 131, 131});
    const uint32_t room = 12;
    const uint32_t written411[10] = {0, 0, 4, 4, 4, 4, 8, 8, 8, 8};
    for (uint32_t width = 0; width < 10; ++width) {
        const struct {
            const PixelConverter& converter;
            uint32_t written;
        } cases[] = {{Yuv8<TypeParam>(), width & ~1u},    {Yuv8Gev<TypeParam>(), width & ~1u},
                     {Yuv10<TypeParam>(), width & ~1u},   {Yuv411<TypeParam>(), written411[width]},
                     {Yuv444<TypeParam>(), width},        {Yuv444Gev<TypeParam>(), width},
                     {YCrCbConverter<TypeParam>(), width}};
        for (const auto& c : cases) {
            const bool words = &c.converter == &Yuv10<TypeParam>();
            const Line<TypeParam> line = ConvertLine<TypeParam>(
                c.converter, words ? Words(std::vector<uint32_t>(32, 128 << 2)) : source, width,
                room);
            for (uint32_t x = 0; x < room; ++x) {
                if (x < c.written) {
                    EXPECT_EQ(line.At(x), grey) << "width " << width << " pixel " << x;
                } else {
                    EXPECT_TRUE(line.Untouched(x)) << "width " << width << " pixel " << x << " of "
                                                   << std::hex << c.converter.GetSourceTypeID();
                }
            }
        }
    }
}

TYPED_TEST(YUVOutputs, ByteOrdersOfOneLayoutGiveTheSameColours) {
    const uint32_t width = 38;
    // 4:4:4: Y U V, U Y V and Y Cr Cb hold the same samples in other places.
    const std::vector<unsigned char> yuv = RandomBytes(3 * width, 1);
    std::vector<unsigned char> uyv = yuv, ycrcb = yuv;
    for (uint32_t i = 0; i < width; ++i) {
        std::swap(uyv[3 * i], uyv[3 * i + 1]);
        std::swap(ycrcb[3 * i + 1], ycrcb[3 * i + 2]);
    }
    const Line<TypeParam> reference =
        ConvertLine<TypeParam>(Yuv444<TypeParam>(), yuv, width, width);
    EXPECT_EQ(ConvertLine<TypeParam>(Yuv444Gev<TypeParam>(), uyv, width, width).bytes,
              reference.bytes);
    EXPECT_EQ(ConvertLine<TypeParam>(YCrCbConverter<TypeParam>(), ycrcb, width, width).bytes,
              reference.bytes);
    // The worked example: (Y, Cr, Cb) = (81, 240, 90) is (Y, U, V) = (81, 90, 240).
    EXPECT_EQ(ConvertLine<TypeParam>(YCrCbConverter<TypeParam>(), {81, 240, 90}, 1, 1).bytes,
              ConvertLine<TypeParam>(Yuv444<TypeParam>(), {81, 90, 240}, 1, 1).bytes);

    // 4:2:2: Y0 U Y1 V against U Y0 V Y1.
    const std::vector<unsigned char> yuyv = RandomBytes(2 * width, 2);
    std::vector<unsigned char> uyvy = yuyv;
    for (uint32_t i = 0; i < 2 * width; i += 2) std::swap(uyvy[i], uyvy[i + 1]);
    EXPECT_EQ(ConvertLine<TypeParam>(Yuv8Gev<TypeParam>(), uyvy, width, width).bytes,
              ConvertLine<TypeParam>(Yuv8<TypeParam>(), yuyv, width, width).bytes);
}

// 16-bit samples are shifted to 8 bits before the matrix: bits below the shift are
// ignored. 10-bit black with neutral chroma (64, 512) is black.
TYPED_TEST(YUVOutputs, TenBitSamplesAreShiftedBeforeTheMatrix) {
    const uint32_t width = 30;
    const std::vector<unsigned char> yuyv = RandomBytes(2 * width, 3);
    std::vector<uint32_t> tenBits, sixteenBits;
    for (size_t i = 0; i < yuyv.size(); ++i) {
        tenBits.push_back((yuyv[i] << 2) | (i % 4));
        sixteenBits.push_back((yuyv[i] << 8) | (i * 37 % 256));
    }
    const auto reference = ConvertLine<TypeParam>(Yuv8<TypeParam>(), yuyv, width, width).bytes;
    EXPECT_EQ(ConvertLine<TypeParam>(Yuv10<TypeParam>(), Words(tenBits), width, width).bytes,
              reference);
    EXPECT_EQ(ConvertLine<TypeParam>(Yuv10Normalized<TypeParam>(), Words(sixteenBits), width, width)
                  .bytes,
              reference);

    const Line<TypeParam> black =
        ConvertLine<TypeParam>(Yuv10<TypeParam>(), Words({64, 512, 64, 512}), 2, 2);
    EXPECT_EQ(black.At(0), Format<TypeParam>::Cut({0, 0, 0}));
    EXPECT_EQ(black.At(1), Format<TypeParam>::Cut({0, 0, 0}));
}

// The filter sees saturated values: white (R 279 before the clamp) reads red entry 255.
TYPED_TEST(YUVOutputs, FilterAppliesToTheSaturatedColour) {
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) filter.SetGreenValue(i, 0, false);
    filter.SetRedValue(255, 9, false);
    filter.SetBlueValue(0, 77, false);
    std::vector<unsigned char> source;
    for (const Case& c : kMatrixCases) {
        source.insert(source.end(),
                      {static_cast<unsigned char>(c.y), static_cast<unsigned char>(c.u),
                       static_cast<unsigned char>(c.v)});
    }
    const uint32_t n = static_cast<uint32_t>(std::size(kMatrixCases));
    const Line<TypeParam> line = ConvertLine<TypeParam>(Yuv444<TypeParam>(), source, n, n, &filter);
    for (uint32_t i = 0; i < n; ++i) {
        const Rgb c = kMatrixCases[i].rgb;
        EXPECT_EQ(line.At(i),
                  Format<TypeParam>::Cut({c.r == 255 ? 9 : c.r, 0, c.b == 0 ? 77 : c.b}))
            << "case " << i;
    }
}

#if defined(ZN_HAS_SSE2_ROWS)

// The vector rows against the reference row on the same random lines, with and without
// filter look-ups, for group counts with and without a tail.
template <class Output, class Layout, bool kFiltered>
void CompareVectorRows(const RGBFilter& filter) {
    Yuv444<Output>();  // builds the saturation table
    const uint8_t* saturate = YUVTo::GetSaturationTable() + YUVDetail::kSaturationOffset;
    unsigned seed = 10;
    for (const uint32_t groups : {16u, 17u, 40u, 77u}) {
        const uint32_t width = groups * Layout::kPixels;
        const std::vector<unsigned char> source = RandomBytes(groups * Layout::kSamples, ++seed);
        ConversionContext context{};
        context.filter = &filter;
        context.destinationStride = width * Output::kPixelSize;
        context.destinationHeight = 1;
        const FilterTables8 tables(context);
        const size_t size =
            static_cast<size_t>(context.destinationStride) * (Output::kIsPlanar ? 3 : 1);
        std::vector<unsigned char> reference(size, kSentinel), vector(size, kSentinel);
        YUVDetail::ConvertGroupsRow<Layout, kFiltered>(
            source.data(), LineWriter<Output>(reference.data(), context), tables, saturate, 0,
            groups, 0);
        YUVDetail::ConvertGroupsRow_SSE2<Layout, kFiltered>(
            source.data(), LineWriter<Output>(vector.data(), context), tables, saturate, groups, 0);
        EXPECT_EQ(vector, reference) << groups << " groups";
    }
}

template <class Output, bool kFiltered>
void CompareVectorRowsForAllLayouts(const RGBFilter& filter) {
    CompareVectorRows<Output, YUVDetail::Layout422, kFiltered>(filter);
    CompareVectorRows<Output, YUVDetail::Layout422GEV, kFiltered>(filter);
    CompareVectorRows<Output, YUVDetail::Layout444, kFiltered>(filter);
    CompareVectorRows<Output, YUVDetail::Layout444GEV, kFiltered>(filter);
    CompareVectorRows<Output, YUVDetail::LayoutYCrCb, kFiltered>(filter);
}

TYPED_TEST(YUVOutputs, VectorRowsGiveTheReferenceBytes) {
    const RGBFilter identity(8);
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i)
        filter.SetRedValue(i, static_cast<unsigned short>(255 - i), false);
    CompareVectorRowsForAllLayouts<TypeParam, false>(identity);
    CompareVectorRowsForAllLayouts<TypeParam, true>(filter);
}

#endif

TEST(YUVConverter, SaturationTableClampsEveryIndex) {
    Get<YUV444<OutputRGB24>, 0x70A04>(3);  // any construction builds the table
    const uint8_t* table = YUVTo::GetSaturationTable();
    for (int i = 0; i < 1280; ++i) {
        const int expected = i < 512 ? 0 : i < 768 ? i - 512 : 255;
        ASSERT_EQ(table[i], expected) << i;
    }
}

TEST(YUVConverter, ConstructionValuesAndLineSizes) {
    const YUV10<OutputBGR32>& ten = Yuv10Normalized<OutputBGR32>();
    EXPECT_EQ(ten.GetSourceShift(), 8u);
    EXPECT_EQ(ten.GetSourcePixelSize(), 4u);
    EXPECT_EQ(ten.GetDestinationPixelSize(), 4u);
    EXPECT_EQ(ten.GetPixelGranularity(), 1u);
    EXPECT_EQ(ten.GetLineGranularity(), 1u);

    // 4:1:1 lines hold six bytes per four pixels, rounded down, in 32-bit arithmetic.
    const YUV411<OutputRGB24>& quads = Yuv411<OutputRGB24>();
    EXPECT_EQ(quads.GetSourceLineSize(4), 6u);
    EXPECT_EQ(quads.GetSourceLineSize(5), 7u);
    EXPECT_EQ(quads.GetSourceLineSize(0x60000001u), 0x10000001u);  // 3 * w wraps first
    EXPECT_EQ(Yuv8<OutputRGB24>().GetSourceLineSize(5), 10u);

    unsigned char pixel[3] = {16, 128, 128};
    unsigned char out[4] = {};
    EXPECT_EQ(quads.ConvertPixel(pixel, out).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(Yuv444<OutputRGB24>().ConvertPixel(pixel, out).GetCode(), ResultCode::kNotSupported);
}

// A 10-bit sample above its depth cannot push the table index out of range: it counts as
// full scale.
TEST(YUVConverter, SamplesAboveTheDepthCountAsFullScale) {
    const Line<OutputRGB24> line =
        ConvertLine<OutputRGB24>(Yuv10<OutputRGB24>(), Words({0xFFFF, 0xFFFF, 1020, 0xFFFF}), 2, 2);
    // Y 255 with U = V = 255 (1020 >> 2) against the same with real 8-bit samples.
    const Line<OutputRGB24> expected =
        ConvertLine<OutputRGB24>(Yuv8<OutputRGB24>(), {255, 255, 255, 255}, 2, 2);
    EXPECT_EQ(line.bytes, expected.bytes);
}

}  // namespace
