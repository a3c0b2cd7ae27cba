#include <gtest/gtest.h>

#include <cstring>
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
constexpr uint32_t kPatternFlag[4] = {0x10, 0x20, 0x40, 0x80};

struct Mosaic {
    Mosaic(uint32_t w, uint32_t h, uint32_t value = 0)
        : width(w), height(h), samples(w * h, value) {}
    uint32_t& operator()(uint32_t y, uint32_t x) { return samples[y * width + x]; }
    uint32_t operator()(uint32_t y, uint32_t x) const { return samples[y * width + x]; }

    // Source bytes, little-endian samples; `padding` bytes after each line, taken from
    // padBytes (zero when it is empty).
    template <class Sample>
    Bytes SourceBytes(uint32_t padding = 0, const Bytes& padBytes = {}) const {
        Bytes out;
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t v = (*this)(y, x);
                out.push_back(static_cast<unsigned char>(v));
                if (sizeof(Sample) == 2) out.push_back(static_cast<unsigned char>(v >> 8));
            }
            for (uint32_t k = 0; k < padding; ++k) {
                out.push_back(padBytes.empty() ? 0 : padBytes[y * padding + k]);
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
    Bytes padBytes;
    uint32_t destinationPadding = 0;
    const RGBFilter* filter = nullptr;
};

template <class Output, class Sample = unsigned char>
Image<Output> Demosaic(const Mosaic& m, uint32_t flags, const Options& o = {}) {
    return Convert(Converter<Sample, Output>(o.shift),
                   m.SourceBytes<Sample>(o.sourcePadding, o.padBytes), m.width, m.height,
                   o.sourcePadding,
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
                switch (ColourAt(y + row, x + dx)) {
                    case 'R':
                        r = v;
                        break;
                    case 'B':
                        b = v;
                        break;
                    default:
                        g += v;
                        break;
                }
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
            switch (ColourAt(y, x)) {
                case 'R':
                    out[x] = {p, cross, diag};
                    break;
                case 'B':
                    out[x] = {diag, cross, p};
                    break;
                default:
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

TYPED_TEST(BayerOutputs, UniformGreyStaysGreyInEveryPatternAndMethod) {
    for (uint32_t pattern = 0; pattern < 4; ++pattern) {
        for (uint32_t method : {0u, kNeighbourhood}) {
            EXPECT_TRUE(Demosaic<TypeParam>(Mosaic(7, 8, 77), kPatternFlag[pattern] | method)
                            .Holds(Rows(8, std::vector<Rgb>(7, {77, 77, 77}))))
                << "pattern " << pattern << " method " << method;
        }
    }
}

// One bright sample in a dark 10x10 mosaic, inside the interior pairs: the neighbourhood
// method spreads it by the bilinear rules (half to the four direct neighbours of a red or
// blue site, a quarter to its diagonals; a quarter to the four direct neighbours of a
// green), the block method paints its one block.
TYPED_TEST(BayerOutputs, SingleBrightSiteSpreadsByTheRulesOfItsColour) {
    static const char* tiles[4][2] = {{"GR", "BG"}, {"GB", "RG"}, {"RG", "GB"}, {"BG", "GR"}};
    struct Site {
        char colour;
        char rowOther;  // the other colour on the site's row
    };
    for (uint32_t pattern = 0; pattern < 4; ++pattern) {
        for (const Site site : {Site{'R', 'G'}, Site{'B', 'G'}, Site{'G', 'R'}, Site{'G', 'B'}}) {
            uint32_t sy = 0, sx = 0;
            for (uint32_t y = 4; y < 6; ++y) {
                for (uint32_t x = 4; x < 6; ++x) {
                    if (tiles[pattern][y & 1][x & 1] == site.colour &&
                        tiles[pattern][y & 1][(x + 1) & 1] == site.rowOther) {
                        sy = y, sx = x;
                    }
                }
            }
            Mosaic m(10, 10);
            m(sy, sx) = 200;
            auto channel = [&](int v) {
                return site.colour == 'R'   ? Rgb{v, 0, 0}
                       : site.colour == 'B' ? Rgb{0, 0, v}
                                            : Rgb{0, v, 0};
            };
            Rows bilinear(10, std::vector<Rgb>(10, Rgb{0, 0, 0}));
            Rows block = bilinear;
            bilinear[sy][sx] = channel(200);
            for (int d : {-1, 1}) {
                const int straight = site.colour == 'G' ? 50 : 100;
                bilinear[sy + d][sx] = bilinear[sy][sx + d] = channel(straight);
                if (site.colour != 'G')
                    bilinear[sy + d][sx - 1] = bilinear[sy + d][sx + 1] = channel(50);
            }
            for (uint32_t y = sy & ~1u; y < (sy & ~1u) + 2; ++y) {
                for (uint32_t x = sx & ~1u; x < (sx & ~1u) + 2; ++x) {
                    block[y][x] = channel(site.colour == 'G' ? 100 : 200);
                }
            }
            SCOPED_TRACE(testing::Message()
                         << "pattern " << pattern << " site " << site.colour << " on "
                         << site.rowOther << " row at " << sx << ", " << sy);
            EXPECT_TRUE(
                Demosaic<TypeParam>(m, kPatternFlag[pattern] | kNeighbourhood).Holds(bilinear))
                << "bilinear";
            EXPECT_TRUE(Demosaic<TypeParam>(m, kPatternFlag[pattern]).Holds(block)) << "block";
        }
    }
}

// Lines 2 and 3 of a 6x6 mosaic (the only interior pair), worked out by hand: pixel 0 from
// the block of the two samples before each line start, pixels 1-4 by the rule of their
// site, pixel 5 from the block of the last two columns paired with the line above.
const Mosaic& HandMosaic() {
    static const Mosaic m = [] {
        const uint32_t v[6][6] = {{165, 77, 202, 24, 37, 48},  {187, 29, 109, 19, 44, 222},
                                  {214, 35, 123, 46, 217, 30}, {63, 114, 31, 203, 25, 113},
                                  {23, 68, 148, 214, 73, 60},  {157, 92, 52, 96, 190, 49}};
        Mosaic mosaic(6, 6);
        for (uint32_t y = 0; y < 6; ++y) {
            for (uint32_t x = 0; x < 6; ++x) mosaic(y, x) = v[y][x];
        }
        return mosaic;
    }();
    return m;
}

TYPED_TEST(BayerOutputs, BilinearRulesAtEverySiteOfAnInteriorPair) {
    // Pattern G R / B G: line 2 is G R G R G R, line 3 is B G B G B G.
    // Line 2, pixel 1 (red 35): green (29 + 114 + 214 + 123) / 4 = 120,
    //   blue (187 + 109 + 63 + 31) / 4 = 97. Pixel 2 (green 123 on a red row):
    //   red (35 + 46) / 2 = 40, blue (109 + 31) / 2 = 70. Line 3, pixel 1 (green 114 on a
    //   blue row): red (35 + 68) / 2 = 51, blue (63 + 31) / 2 = 47. Pixel 2 (blue 31):
    //   red (35 + 46 + 68 + 214) / 4 = 90, green (123 + 148 + 114 + 203) / 4 = 147.
    //   Pixel 0 of line 2: top 44 222 (end of line 1), bottom 37 48 (end of line 0).
    const std::vector<Rgb> pattern0[2] = {
        {{222, 46, 37}, {35, 120, 97}, {40, 123, 70}, {46, 140, 52}, {38, 217, 34}, {30, 219, 44}},
        {{222, 37, 217},
         {51, 114, 47},
         {90, 147, 31},
         {130, 203, 28},
         {87, 151, 25},
         {30, 165, 25}}};
    // Pattern R G / G B: line 2 is R G R G R G, line 3 is G B G B G B.
    const std::vector<Rgb> pattern2[2] = {{{44, 129, 48},
                                           {168, 35, 71},
                                           {123, 55, 91},
                                           {170, 46, 111},
                                           {217, 36, 139},
                                           {217, 37, 222}},
                                          {{44, 219, 30},
                                           {127, 49, 114},
                                           {135, 31, 158},
                                           {140, 79, 203},
                                           {145, 25, 158},
                                           {217, 27, 113}}};
    const Image<TypeParam> image0 = Demosaic<TypeParam>(HandMosaic(), 0x10 | kNeighbourhood);
    const Image<TypeParam> image2 = Demosaic<TypeParam>(HandMosaic(), 0x40 | kNeighbourhood);
    for (uint32_t line = 0; line < 2; ++line) {
        for (uint32_t x = 0; x < 6; ++x) {
            EXPECT_EQ(image0.At(x, 2 + line), Cut<TypeParam>(pattern0[line][x]))
                << x << ", " << 2 + line;
            EXPECT_EQ(image2.At(x, 2 + line), Cut<TypeParam>(pattern2[line][x]))
                << x << ", " << 2 + line;
        }
    }
    // The block method on the same lines: blocks (35 | 214 123 / 63 114) and so on.
    const Image<TypeParam> block = Demosaic<TypeParam>(HandMosaic(), 0x10);
    const Rgb blocks[3] = {{35, 164, 63}, {46, 163, 31}, {30, 165, 25}};
    for (uint32_t y = 2; y < 4; ++y) {
        for (uint32_t x = 0; x < 6; ++x) {
            EXPECT_EQ(block.At(x, y), Cut<TypeParam>(blocks[x / 2])) << x << ", " << y;
        }
    }
}

// Sizes cover width 1 and 2 (nothing, one block), width 3 (no interpolated step), odd
// widths and heights (the last column and the last line by the block rule, the extra
// line past the end), and interior pairs. The destination has padding, which must stay
// untouched, and exactly one extra line for odd heights.
TYPED_TEST(BayerOutputs, MatchesTheReferenceForEveryPatternMethodAndSize) {
    const uint32_t sizes[][2] = {{1, 2}, {2, 2}, {2, 7}, {3, 6},   {3, 5},  {4, 4},
                                 {5, 7}, {8, 6}, {9, 9}, {16, 10}, {11, 3}, {67, 7}};
    unsigned seed = 1;
    for (const auto& size : sizes) {
        const Mosaic m = RandomMosaic(size[0], size[1], 255, seed++);
        for (uint32_t pattern = 0; pattern < 4; ++pattern) {
            for (const bool neighbourhood : {false, true}) {
                Options options;
                options.extraLines = size[1] % 2;
                options.destinationPadding = 3;
                const Image<TypeParam> image = Demosaic<TypeParam>(
                    m, kPatternFlag[pattern] | (neighbourhood ? kNeighbourhood : 0), options);
                SCOPED_TRACE(testing::Message()
                             << size[0] << "x" << size[1] << " pattern " << pattern
                             << (neighbourhood ? " neighbourhood" : " block"));
                EXPECT_TRUE(image.Holds(Model(m, pattern, 0).Convert(neighbourhood)));
            }
        }
    }
}

// An odd last line is converted with the line before it, which writes one line past the
// last destination line; the line after that stays untouched.
TYPED_TEST(BayerOutputs, OddHeightRepeatsTheLastPairIntoOneExtraLine) {
    Mosaic m(4, 5);
    for (uint32_t x = 0; x < 4; ++x) {
        m(3, x) = 10 + x;  // G R G R on line 3 (odd line: B G B G for pattern 0)
        m(4, x) = 50 + x;
    }
    Options options;
    options.extraLines = 2;
    for (const uint32_t method : {0u, kNeighbourhood}) {
        const Image<TypeParam> image = Demosaic<TypeParam>(m, 0x10 | method, options);
        // Lines 3, 4 have the parity of line 3: B G / G R, so blocks (10 11 / 50 51) and
        // (12 13 / 52 53) give red 51, green (11 + 50) / 2 = 30, blue 10, and 53, 32, 12.
        for (uint32_t y : {4u, 5u}) {
            for (uint32_t x = 0; x < 4; ++x) {
                EXPECT_EQ(image.At(x, y), Cut<TypeParam>(x < 2 ? Rgb{51, 30, 10} : Rgb{53, 32, 12}))
                    << x << ", " << y;
            }
        }
        for (uint32_t x = 0; x < 4; ++x) EXPECT_TRUE(image.Untouched(x, 6));
    }
}

TYPED_TEST(BayerOutputs, NarrowImagesUseTheBlockRule) {
    Mosaic m(5, 2);
    const uint32_t v[2][5] = {{1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}};
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x < 5; ++x) m(y, x) = v[y][x] * 10;
    }
    // Width 5, G R / B G: blocks at columns 0 and 2; the last pixel takes the block of
    // columns 3, 4, which is R G / G B: red 40, green (50 + 90) / 2 = 70, blue 100.
    const Image<TypeParam> image = Demosaic<TypeParam>(m, 0x10);
    const std::vector<Rgb> line = {
        {20, 40, 60}, {20, 40, 60}, {40, 60, 80}, {40, 60, 80}, {40, 70, 100}};
    EXPECT_TRUE(image.Holds({line, line}));

    // Width 1 has no block at all; width 2 is one block, four identical pixels. Both with
    // the neighbourhood flag on an interior pair too.
    for (const uint32_t method : {0u, kNeighbourhood}) {
        EXPECT_TRUE(Demosaic<TypeParam>(RandomMosaic(1, 6, 255, 3), 0x10 | method).Holds({}));
        Mosaic two(2, 6);
        for (uint32_t y = 0; y < 6; ++y) two(y, 0) = 20, two(y, 1) = 40;  // G R / B G
        // green (20 + 40) / 2 from t0 and b1, red t1 = 40, blue b0 = 20
        EXPECT_TRUE(Demosaic<TypeParam>(two, 0x10 | method)
                        .Holds(Rows(6, std::vector<Rgb>(2, {40, 30, 20}))));
    }
}

TYPED_TEST(BayerOutputs, FirstAndLastPairsOfTheImageAreAlwaysBlockConverted) {
    const Mosaic m = RandomMosaic(8, 8, 255, 42);
    const Image<TypeParam> block = Demosaic<TypeParam>(m, 0x10);
    const Image<TypeParam> bilinear = Demosaic<TypeParam>(m, 0x10 | kNeighbourhood);
    for (uint32_t y : {0u, 1u, 6u, 7u}) {
        for (uint32_t x = 0; x < 8; ++x)
            EXPECT_EQ(bilinear.At(x, y), block.At(x, y)) << x << ", " << y;
    }
    EXPECT_NE(std::memcmp(bilinear.bytes.data(), block.bytes.data(), bilinear.bytes.size()), 0);
}

// The last pair is the one at the end of the source image, not of the lines converted:
// converting 6 of 8 lines interpolates lines 4, 5 exactly as the whole conversion does.
TYPED_TEST(BayerOutputs, LastPairIsFoundFromTheSourceHeight) {
    const Mosaic m = RandomMosaic(6, 8, 255, 9);
    const Image<TypeParam> whole = Demosaic<TypeParam>(m, 0x10 | kNeighbourhood);
    Options options;
    options.height = 6;
    const Image<TypeParam> part = Demosaic<TypeParam>(m, 0x10 | kNeighbourhood, options);
    const auto expected = Model(m, 0, 0).Convert(true);
    for (uint32_t y = 0; y < 8; ++y) {
        for (uint32_t x = 0; x < 6; ++x) {
            if (y < 6) {
                EXPECT_EQ(part.At(x, y), whole.At(x, y)) << x << ", " << y;
            } else {
                EXPECT_TRUE(part.Untouched(x, y));
            }
        }
    }
    EXPECT_EQ(whole.At(1, 4), Cut<TypeParam>(expected[4][1]));
}

// Pixel 0 of an interior line is built from the two samples just before the line start:
// with source line padding those are the padding bytes of the line above.
TYPED_TEST(BayerOutputs, NeighbourhoodPixelZeroReadsTheTwoSamplesBeforeTheLine) {
    Options options;
    options.sourcePadding = 2;
    options.padBytes = {11, 12, 21, 22, 31, 32, 41, 42, 51, 52, 61, 62};
    const Image<TypeParam> image =
        Demosaic<TypeParam>(Mosaic(6, 6, 100), 0x10 | kNeighbourhood, options);
    // Line 2 (G R): top 21 22 (padding of line 1), bottom 11 12 (padding of line 0):
    // red 22, green (21 + 12) / 2 = 16, blue 11.
    EXPECT_EQ(image.At(0, 2), Cut<TypeParam>({22, 16, 11}));
    // Line 3 (B G): top 31 32, bottom 21 22: red 22, green (32 + 21) / 2 = 26, blue 31.
    EXPECT_EQ(image.At(0, 3), Cut<TypeParam>({22, 26, 31}));
    EXPECT_EQ(image.At(1, 2), Cut<TypeParam>({100, 100, 100}));
}

TYPED_TEST(BayerOutputs, HighestPatternBitWins) {
    const Mosaic m = RandomMosaic(6, 6, 255, 5);
    const struct {
        uint32_t flags, pattern;
    } cases[] = {{0x10 | 0x80, 3}, {0x20 | 0x40, 2}, {0x10 | 0x20, 1}, {0xF0, 3}, {0, 0}};
    for (const auto& c : cases) {
        for (const uint32_t method : {0u, kNeighbourhood}) {
            const Image<TypeParam> mixed = Demosaic<TypeParam>(m, c.flags | method);
            const Image<TypeParam> single =
                Demosaic<TypeParam>(m, kPatternFlag[c.pattern] | method);
            EXPECT_EQ(mixed.bytes, single.bytes) << std::hex << c.flags;
        }
    }
}

// Deep samples are shifted to 8 bits and cut to their low 8 bits before any mean, so
// bits below the shift are ignored and samples above the depth wrap.
TYPED_TEST(BayerOutputs, DeepSamplesAreShiftedOnceAndCutToEightBits) {
    const Mosaic base = RandomMosaic(41, 8, 255, 77);
    for (const uint32_t shift : {2u, 4u, 6u, 8u}) {
        Mosaic deep = base;
        for (size_t i = 0; i < deep.samples.size(); ++i) {
            deep.samples[i] = (deep.samples[i] << shift) | (i % (1u << shift));
        }
        Options options;
        options.shift = shift;
        for (const uint32_t method : {0u, kNeighbourhood}) {
            EXPECT_EQ((Demosaic<TypeParam, unsigned short>(deep, 0x40 | method, options).bytes),
                      (Demosaic<TypeParam>(base, 0x40 | method).bytes))
                << "shift " << shift;
        }
    }

    // 12-bit, G R / B G blocks: two full-scale greens stay 255; a red of 4096 (one above
    // the depth) wraps to 0; greens 4256 and 320 become 10 and 20 before their mean (15),
    // not (266 + 20) / 2 = 143 cut afterwards.
    Mosaic m(4, 2);
    m(0, 0) = 4095, m(0, 1) = 4096, m(1, 0) = 16 * 7, m(1, 1) = 4095;
    m(0, 2) = 4256, m(0, 3) = 16 * 9, m(1, 2) = 16 * 3, m(1, 3) = 320;
    Options options;
    options.shift = 4;
    const Image<TypeParam> image = Demosaic<TypeParam, unsigned short>(m, 0x10, options);
    EXPECT_EQ(image.At(0, 0), Cut<TypeParam>({0, 255, 7}));
    EXPECT_EQ(image.At(2, 1), Cut<TypeParam>({9, 15, 3}));
}

// Each channel goes through its own table of the filter; both methods.
TYPED_TEST(BayerOutputs, FilterTablesApplyPerChannel) {
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) {
        filter.SetRedValue(i, static_cast<unsigned short>(255 - i), false);
        filter.SetGreenValue(i, static_cast<unsigned short>(i / 2), false);
        filter.SetBlueValue(i, static_cast<unsigned short>(i < 100 ? 0 : i), false);
    }
    const Mosaic m = RandomMosaic(7, 7, 255, 11);
    Options options;
    options.filter = &filter;
    options.extraLines = 1;
    for (const bool neighbourhood : {false, true}) {
        auto expected = Model(m, 1, 0).Convert(neighbourhood);
        for (auto& line : expected) {
            for (auto& c : line) {
                if (c.r >= 0) c = {255 - c.r, c.g / 2, c.b < 100 ? 0 : c.b};
            }
        }
        EXPECT_TRUE(Demosaic<TypeParam>(m, 0x20 | (neighbourhood ? kNeighbourhood : 0), options)
                        .Holds(expected))
            << (neighbourhood ? "neighbourhood" : "block");
    }
}

TEST(BayerConverter, ReportsTwoLinesPerCallAndKeepsItsShift) {
    const BayerTo<unsigned short, OutputRGB24> converter(0x70F01, 0x70F02, 2, 3, 4);
    EXPECT_EQ(converter.GetLineGranularity(), 2u);
    EXPECT_EQ(converter.GetDescriptor().lineGranularity, 1u);
    EXPECT_EQ(converter.GetSourceShift(), 4u);
    EXPECT_EQ(converter.GetSourcePixelSize(), 2u);
    EXPECT_EQ(converter.GetDestinationPixelSize(), 3u);
}

TEST(BayerConverter, RemainderLineNeedsTwoSourceLines) {
    const BayerTo<unsigned char, OutputRGB24> converter(0x70F03, 0x70F04, 1, 3, 0);
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

// Row parity comes from the absolute line index: the same two lines converted as lines
// 1, 2 use the layout of an odd row.
TEST(BayerConverter, RowParityFollowsTheCurrentLine) {
    const BayerTo<unsigned char, OutputRGB24> converter(0x70F05, 0x70F06, 1, 3, 0);
    const Bytes source = {10, 20, 30, 40};  // 2x2
    Bytes destination(12);
    ConversionContextScope context;
    context->sourceStride = 2;
    context->destinationStride = 6;
    context->sourceHeight = 4;
    context->flags = 0x10;
    context->currentLine = 1;  // B G / G R
    converter.ConvertBlockPair(source.data(), destination.data(), 2);
    EXPECT_EQ(Bytes(destination.begin(), destination.begin() + 3), (Bytes{40, 25, 10}));
}

}  // namespace
