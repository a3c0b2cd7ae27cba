#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/bayer/BayerConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

constexpr uint32_t kNeighbourhood = 0x100;

struct Mosaic {
    Mosaic(uint32_t w, uint32_t h, uint32_t value = 0)
        : width(w), height(h), samples(w * h, value) {}
    uint32_t& operator()(uint32_t y, uint32_t x) { return samples[y * width + x]; }

    // Source bytes, little-endian samples; `padding` bytes after each line, byte k of line
    // y holding 10 (y + 1) + k + 1 so that each tells where it was read.
    template <class Sample>
    Bytes SourceBytes(uint32_t padding) const {
        Bytes out;
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t v = samples[y * width + x];
                out.push_back(static_cast<unsigned char>(v));
                if (sizeof(Sample) == 2) out.push_back(static_cast<unsigned char>(v >> 8));
            }
            for (uint32_t k = 0; k < padding; ++k) {
                out.push_back(static_cast<unsigned char>(10 * (y + 1) + k + 1));
            }
        }
        return out;
    }

    uint32_t width, height;
    std::vector<uint32_t> samples;
};

Mosaic RandomMosaic(uint32_t w, uint32_t h, uint32_t maxValue, unsigned seed) {
    std::mt19937 rng(seed);
    Mosaic m(w, h);
    for (auto& s : m.samples) s = rng() % (maxValue + 1);
    return m;
}

// One converter per (sample type, output, shift), alive for the whole run because the
// registry keeps references to the objects it registered.
template <class Sample, class Output>
const BayerTo<Sample, Output>& Converter(uint32_t shift) {
    constexpr int64 kSource = 0x70000 + 0x100 * static_cast<int64>(sizeof(Sample));
    constexpr int64 kDestination = 0x70800 + OutputIndex<Output>();
    static const BayerTo<Sample, Output> byShift[5] = {
        {kSource + 0, kDestination, sizeof(Sample), Output::kPixelSize, 0},
        {kSource + 2, kDestination, sizeof(Sample), Output::kPixelSize, 2},
        {kSource + 4, kDestination, sizeof(Sample), Output::kPixelSize, 4},
        {kSource + 6, kDestination, sizeof(Sample), Output::kPixelSize, 6},
        {kSource + 8, kDestination, sizeof(Sample), Output::kPixelSize, 8},
    };
    return byShift[shift / 2];
}

struct Options {
    uint32_t shift = 0;
    uint32_t extraLines = 0;  // destination lines beyond the source height
    uint32_t height = 0;      // lines to convert; 0 = the source height
    uint32_t sourcePadding = 0;
    uint32_t destinationPadding = 0;
    const RGBFilter* filter = nullptr;
};

template <class Output, class Sample = unsigned char>
Image<Output> Demosaic(const Mosaic& m, uint32_t flags, const Options& o = {}) {
    return Convert(Converter<Sample, Output>(o.shift), m.SourceBytes<Sample>(o.sourcePadding),
                   m.width, m.height, o.sourcePadding,
                   Image<Output>(m.width, m.height + o.extraLines, o.destinationPadding), o.filter,
                   flags, o.height);
}

// Reference demosaicer written from the colour of each position rather than from block
// layouts: a block's red and blue are its red and blue samples, its green the mean of its
// two greens; interior pixels take the bilinear rule of their own colour.
class Model {
public:
    Model(const Mosaic& m, uint32_t pattern, uint32_t shift)
        : m(m), pattern(pattern), shift(shift) {}

    // Lines of output, including the extra line an odd height writes.
    Rows Convert(bool neighbourhood) const {
        const int w = static_cast<int>(m.width), h = static_cast<int>(m.height);
        Rows out(h + (h % 2), std::vector<Rgb>(w, kUntouched));
        for (int y = 0; y + 1 < h; y += 2) {
            if (neighbourhood && y != 0 && y != h - 2 && w >= 3) {
                for (int line : {y, y + 1}) Interior(line, out[line]);
            } else {
                Blocks(y, out[y], out[y + 1]);
            }
        }
        if (h % 2 == 1 && h >= 2) Blocks(h - 2, out[h - 1], out[h]);
        return out;
    }

private:
    char ColourAt(int y, int x) const {
        static const char* tiles[4][2] = {{"GR", "BG"}, {"GB", "RG"}, {"RG", "GB"}, {"BG", "GR"}};
        return tiles[pattern][y & 1][x & 1];
    }
    // Flat addressing, so negative columns reach the end of the line above.
    int S(int y, int x) const {
        return static_cast<uint8_t>(m.samples[static_cast<size_t>(y) * m.width + x] >> shift);
    }
    // Block with top row `y` at columns x, x+1 and bottom row read from line `bottom`
    // (whose colours are taken to be those of line y+1).
    Rgb Block(int y, int bottom, int x) const {
        int r = 0, b = 0, g = 0;
        for (int dx = 0; dx < 2; ++dx) {
            for (int row = 0; row < 2; ++row) {
                const int v = S(row ? bottom : y, x + dx);
                const char colour = ColourAt(y + row, x + dx);
                (colour == 'R' ? r : colour == 'B' ? b : g) += v;
            }
        }
        return {r, g >> 1, b};
    }
    void Blocks(int y, std::vector<Rgb>& top, std::vector<Rgb>& bottom) const {
        const int w = static_cast<int>(m.width);
        for (int x = 0; x < w; ++x) {
            int start = x & ~1;
            if (w % 2 == 1 && x == w - 1) {
                if (w < 3) continue;
                start = w - 2;
            }
            top[x] = bottom[x] = Block(y, y + 1, start);
        }
    }
    void Interior(int y, std::vector<Rgb>& out) const {
        const int w = static_cast<int>(m.width);
        const int last = 2 * ((w - 2) / 2);
        out[0] = Block(y, y - 1, -2);
        for (int x = 1; x <= last; ++x) {
            const int p = S(y, x), u = S(y - 1, x), d = S(y + 1, x), l = S(y, x - 1),
                      r = S(y, x + 1);
            const int cross = (u + d + l + r) >> 2;
            const int diag =
                (S(y - 1, x - 1) + S(y - 1, x + 1) + S(y + 1, x - 1) + S(y + 1, x + 1)) >> 2;
            const char colour = ColourAt(y, x);
            if (colour == 'R') {
                out[x] = {p, cross, diag};
            } else if (colour == 'B') {
                out[x] = {diag, cross, p};
            } else {
                out[x] = ColourAt(y, x + 1) == 'R' ? Rgb{(l + r) >> 1, p, (u + d) >> 1}
                                                   : Rgb{(u + d) >> 1, p, (l + r) >> 1};
            }
        }
        for (int x = last + 1; x < w; ++x) out[x] = Block(y, y - 1, x - 1);
    }

    const Mosaic& m;
    uint32_t pattern, shift;
};

template <class Output>
class BayerOutputs : public ::testing::Test {};
TYPED_TEST_SUITE(BayerOutputs, ColourOutputs, OutputNames);

// Sizes cover width 1 and 2 (nothing, one block), width 3 (no interpolated step), odd
// widths and heights (the last column and the last line by the block rule, the extra
// line past the end), and interior pairs. The destination has padding, which must stay
// untouched, and exactly one extra line for odd heights. Deep samples carry bits below the
// shift and above the depth, which the shift must drop and the cut to 8 bits must wrap.
TYPED_TEST(BayerOutputs, MatchesTheReferenceForEveryPatternFlagMethodDepthAndSize) {
    // The highest pattern bit wins; no bit is the first pattern.
    const struct {
        uint32_t flags, pattern;
    } patterns[] = {{0, 0},    {0x10, 0}, {0x20, 1}, {0x30, 1},
                    {0x40, 2}, {0x60, 2}, {0x80, 3}, {0xF0, 3}};
    const uint32_t sizes[][2] = {{1, 2}, {2, 2}, {2, 7}, {3, 6},   {3, 5},  {4, 4},
                                 {5, 7}, {8, 6}, {9, 9}, {16, 10}, {11, 3}, {67, 7}};
    unsigned seed = 1;
    for (const auto& size : sizes) {
        for (const uint32_t shift : {0u, 2u, 4u, 6u, 8u}) {
            const Mosaic m = RandomMosaic(size[0], size[1], shift ? 0xFFFF : 0xFF, seed++);
            for (const auto& p : patterns) {
                for (const bool neighbourhood : {false, true}) {
                    Options options;
                    options.shift = shift;
                    options.extraLines = size[1] % 2;
                    options.destinationPadding = 3;
                    const Rows expected = Model(m, p.pattern, shift).Convert(neighbourhood);
                    Rows routed = expected;
                    for (auto& row : routed) {
                        for (Rgb& c : row) c = c == kUntouched ? c : Rgb{0, c.g, c.b / 2};
                    }
                    const uint32_t flags = p.flags | (neighbourhood ? kNeighbourhood : 0);
                    SCOPED_TRACE(testing::Message() << size[0] << "x" << size[1] << " shift "
                                                    << shift << " flags " << std::hex << flags);
                    for (const RGBFilter* filter :
                         {static_cast<const RGBFilter*>(nullptr), &RoutingFilter()}) {
                        options.filter = filter;
                        const Image<TypeParam> image =
                            shift ? Demosaic<TypeParam, unsigned short>(m, flags, options)
                                  : Demosaic<TypeParam>(m, flags, options);
                        EXPECT_TRUE(image.Holds(filter ? routed : expected))
                            << (filter ? "with filter" : "without filter");
                    }
                }
            }
        }
    }
}

// Lines 2 and 3 of a 6x6 mosaic (the only interior pair), worked out by hand: pixel 0 from
// the block of the two samples before each line start, pixels 1-4 by the rule of their
// site, pixel 5 from the block of the last two columns paired with the line above.
TYPED_TEST(BayerOutputs, BilinearRulesAtEverySiteOfAnInteriorPair) {
    const uint32_t v[6][6] = {{165, 77, 202, 24, 37, 48},  {187, 29, 109, 19, 44, 222},
                              {214, 35, 123, 46, 217, 30}, {63, 114, 31, 203, 25, 113},
                              {23, 68, 148, 214, 73, 60},  {157, 92, 52, 96, 190, 49}};
    Mosaic m(6, 6);
    m.samples.assign(&v[0][0], &v[0][0] + 36);
    // Pattern G R / B G: line 2 is G R G R G R, line 3 is B G B G B G.
    // Line 2, pixel 1 (red 35): green (29 + 114 + 214 + 123) / 4 = 120,
    //   blue (187 + 109 + 63 + 31) / 4 = 97. Pixel 2 (green 123 on a red row):
    //   red (35 + 46) / 2 = 40, blue (109 + 31) / 2 = 70. Line 3, pixel 1 (green 114 on a
    //   blue row): red (35 + 68) / 2 = 51, blue (63 + 31) / 2 = 47. Pixel 2 (blue 31):
    //   red (35 + 46 + 68 + 214) / 4 = 90, green (123 + 148 + 114 + 203) / 4 = 147.
    //   Pixel 0 of line 2: top 44 222 (end of line 1), bottom 37 48 (end of line 0).
    const std::vector<Rgb> bilinear[2] = {
        {{222, 46, 37}, {35, 120, 97}, {40, 123, 70}, {46, 140, 52}, {38, 217, 34}, {30, 219, 44}},
        {{222, 37, 217},
         {51, 114, 47},
         {90, 147, 31},
         {130, 203, 28},
         {87, 151, 25},
         {30, 165, 25}}};
    // The block method on the same lines: blocks (35 | 214 123 / 63 114) and so on.
    const Rgb blocks[3] = {{35, 164, 63}, {46, 163, 31}, {30, 165, 25}};
    const Image<TypeParam> image = Demosaic<TypeParam>(m, 0x10 | kNeighbourhood);
    const Image<TypeParam> block = Demosaic<TypeParam>(m, 0x10);
    for (uint32_t line = 0; line < 2; ++line) {
        for (uint32_t x = 0; x < 6; ++x) {
            SCOPED_TRACE(testing::Message() << x << ", " << 2 + line);
            EXPECT_EQ(image.At(x, 2 + line), Cut<TypeParam>(bilinear[line][x]));
            EXPECT_EQ(block.At(x, 2 + line), Cut<TypeParam>(blocks[x / 2]));
        }
    }
}

TYPED_TEST(BayerOutputs, OddWidthTakesTheLastPixelFromTheLastTwoColumns) {
    Mosaic m(5, 2);
    for (uint32_t i = 0; i < 10; ++i) m.samples[i] = 10 * (i + 1);
    // Width 5, G R / B G: blocks at columns 0 and 2; the last pixel takes the block of
    // columns 3, 4, which is R G / G B: red 40, green (50 + 90) / 2 = 70, blue 100.
    const std::vector<Rgb> line = {
        {20, 40, 60}, {20, 40, 60}, {40, 60, 80}, {40, 60, 80}, {40, 70, 100}};
    EXPECT_TRUE(Demosaic<TypeParam>(m, 0x10).Holds({line, line}));
}

// The last pair is the one at the end of the source image, not of the lines converted:
// converting 6 of 8 lines interpolates lines 4, 5 and leaves lines 6, 7 alone.
TYPED_TEST(BayerOutputs, LastPairIsFoundFromTheSourceHeight) {
    const Mosaic m = RandomMosaic(6, 8, 255, 9);
    Options options;
    options.height = 6;
    Rows expected = Model(m, 0, 0).Convert(true);
    expected.resize(6);
    EXPECT_TRUE(Demosaic<TypeParam>(m, 0x10 | kNeighbourhood, options).Holds(expected));
}

// Pixel 0 of an interior line is built from the two samples just before the line start:
// with source line padding those are the padding bytes of the line above.
TYPED_TEST(BayerOutputs, NeighbourhoodPixelZeroReadsTheTwoSamplesBeforeTheLine) {
    Options options;
    options.sourcePadding = 2;
    const Image<TypeParam> image =
        Demosaic<TypeParam>(Mosaic(6, 6, 100), 0x10 | kNeighbourhood, options);
    // Line 2 (G R): top 21 22 (padding of line 1), bottom 11 12 (padding of line 0):
    // red 22, green (21 + 12) / 2 = 16, blue 11.
    EXPECT_EQ(image.At(0, 2), Cut<TypeParam>({22, 16, 11}));
    // Line 3 (B G): top 31 32, bottom 21 22: red 22, green (32 + 21) / 2 = 26, blue 31.
    EXPECT_EQ(image.At(0, 3), Cut<TypeParam>({22, 26, 31}));
    EXPECT_EQ(image.At(1, 2), Cut<TypeParam>({100, 100, 100}));
}

// Deep samples are cut to 8 bits before any mean. 12-bit, G R / B G blocks: two
// full-scale greens stay 255; a red of 4096 (one above the depth) wraps to 0; greens 4256
// and 320 become 10 and 20 before their mean (15), not (266 + 20) / 2 = 143 cut afterwards.
TYPED_TEST(BayerOutputs, DeepSamplesAreCutToEightBitsBeforeTheMean) {
    Mosaic m(4, 2);
    m(0, 0) = 4095, m(0, 1) = 4096, m(1, 0) = 16 * 7, m(1, 1) = 4095;
    m(0, 2) = 4256, m(0, 3) = 16 * 9, m(1, 2) = 16 * 3, m(1, 3) = 320;
    Options options;
    options.shift = 4;
    const Rgb a{0, 255, 7}, b{9, 15, 3};
    EXPECT_TRUE((
        Demosaic<TypeParam, unsigned short>(m, 0x10, options).Holds({{a, a, b, b}, {a, a, b, b}})));
}

// Lines go in pairs, and a remainder line needs a line before it.
TEST(BayerConverter, RemainderLineNeedsTwoSourceLines) {
    const BayerTo<unsigned char, OutputRGB24> converter(0x70F03, 0x70F04, 1, 3, 0);
    EXPECT_EQ(converter.GetLineGranularity(), 2u);
    EXPECT_EQ(converter.GetDescriptor().lineGranularity, 1u);
    const Bytes source(8, 50);
    Bytes destination(24, kSentinel);
    ConversionContextScope context;
    context->sourceStride = 4;
    context->destinationStride = 12;
    context->sourceHeight = 1;
    context->flags = 0x10;
    EXPECT_EQ(converter.ConvertRemainderLine(source.data() + 4, destination.data(), 4).GetCode(),
              ResultCode::kNotSupported);
    EXPECT_EQ(destination, Bytes(24, kSentinel));

    // With two lines it converts lines 0, 1 into the line given and the next, and leaves
    // the current line as it found it.
    context->sourceHeight = 2;
    context->currentLine = 1;
    EXPECT_TRUE(
        converter.ConvertRemainderLine(source.data() + 4, destination.data(), 4).IsSuccess());
    EXPECT_EQ(destination, Bytes(24, 50));
    EXPECT_EQ(context->currentLine, 1u);
}

}  // namespace
