// The gradient-corrected and edge-directed demosaicing methods through the frame API:
// hand-worked bytes of a 2x2 frame in every tile, the published 5x5 filter matrices on a
// mirrored copy of random mosaics and a single bright sample, colours and gray steps that
// must come back exactly, white balance before interpolation, the unpacked layouts, and
// every target's vector lines against the plain lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Demosaic.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/common/KernelChoice.h"
#include "framework/frame/FrameConversion.h"
#include "support/PageEndBuffer.h"

using namespace ZnConvertersLib;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int64 kBayer8 = 0x20010, kBayer10 = 0x20011, kBayer12Normalized = 0x120012,
                kBayer16 = 0x20020, kRGB24 = 0x420002;
constexpr int64 kColourOutputs[] = {0x20001, kRGB24,   0x420006,        0x20003,
                                    0x20007, 0x820002, kPixelTypeRGB48, kPixelTypeBGR48};
constexpr uint32_t kTiles[] = {kBayerTileGRBG, kBayerTileGBRG, kBayerTileRGGB, kBayerTileBGGR};
// Colour of the site (x, y) of each tile: 0 red, 1 green, 2 blue.
constexpr int kColour[4][2][2] = {
    {{1, 0}, {2, 1}}, {{1, 2}, {0, 1}}, {{0, 1}, {1, 2}}, {{2, 1}, {1, 0}}};
constexpr DemosaicMethod kMethods[] = {DemosaicMethod::kGradientCorrected,
                                       DemosaicMethod::kEdgeDirected};

struct Source {
    int64 type;
    uint32_t bits;
    bool normalized;
};
constexpr Source kSources[] = {{kBayer8, 8, false},
                               {kBayer10, 10, false},
                               {kBayer12Normalized, 12, true},
                               {kBayer16, 16, false}};

uint32_t BytesPerSample(const Source& s) {
    return s.bits > 8 ? 2 : 1;
}

// Samples (at their depth) laid out as the source type holds them, lines `stride` apart.
Bytes Hold(const Source& s, const std::vector<uint32_t>& samples, uint32_t width, size_t stride) {
    const size_t lines = samples.size() / width;
    Bytes bytes(lines ? (lines - 1) * stride + width * BytesPerSample(s) : 0);
    for (size_t i = 0; i < samples.size(); ++i) {
        unsigned char* p = bytes.data() + (i / width) * stride + (i % width) * BytesPerSample(s);
        const uint32_t v = samples[i] << (s.normalized ? 16 - s.bits : 0);
        p[0] = static_cast<unsigned char>(v);
        if (BytesPerSample(s) == 2) p[1] = static_cast<unsigned char>(v >> 8);
    }
    return bytes;
}

// A mosaic of an RGB image (channel values at the source depth).
std::vector<uint32_t> Mosaic(const std::vector<uint32_t>& rgb, uint32_t width, int tile) {
    std::vector<uint32_t> samples(rgb.size() / 3);
    for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = rgb[3 * i + kColour[tile][(i / width) & 1][(i % width) & 1]];
    }
    return samples;
}

// Bytes of an output frame with lines `stride` apart (0: the line itself).
size_t OutputBytes(int64 to, uint32_t width, uint32_t height, size_t stride = 0) {
    const size_t pixel = to == 0x20001                      ? 2
                         : to == 0x420002 || to == 0x420006 ? 3
                         : to == 0x20003 || to == 0x20007   ? 4
                         : to == 0x820002                   ? 1
                                                            : 6;
    const size_t line = pixel * width, planes = to == 0x820002 ? 3 : 1;
    return (planes * height - 1) * std::max(stride, line) + line;
}

FrameResult ConvertBytes(int64 from, int64 to, const Bytes& source, Bytes& out, uint32_t width,
                         uint32_t height, const ConvertOptions& options) {
    return ConvertFrame({from, width, height, 0, source.data(), source.size()},
                        {to, width, height, 0, out.data(), out.size()}, options);
}

// RGB24 of an 8-bit mosaic.
Bytes Demosaic8(const std::vector<uint32_t>& samples, uint32_t width, uint32_t height, int tile,
                DemosaicMethod method, const RGBFilter* filter = nullptr) {
    const Source source{kBayer8, 8, false};
    Bytes out(size_t{width} * height * 3);
    ConvertOptions options;
    options.bayerTile = kTiles[tile];
    options.demosaic = method;
    options.filter = filter;
    const FrameResult result = ConvertBytes(kBayer8, kRGB24, Hold(source, samples, width, width),
                                            out, width, height, options);
    EXPECT_TRUE(result) << result.message;
    return out;
}

class DemosaicTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { RegisterCameraFormats(); }
};

// A 2x2 frame mirrors into its own tile repeated: G 100, R 50 / B 200, G 60 in GRBG,
// worked through each method's sums by hand. Other tiles are the same frame shifted.
TEST_F(DemosaicTest, TwoByTwoFrameHandWorked) {
    const std::vector<uint32_t> grbg = {100, 50, 200, 60};
    const uint8_t expected[2][4][3] = {
        {{70, 100, 220}, {50, 80, 200}, {50, 80, 200}, {30, 60, 180}},  // gradient-corrected
        {{70, 100, 220}, {50, 80, 200}, {50, 80, 200}, {30, 60, 180}},  // edge-directed
    };
    // Where the GRBG frame's pixel (x, y) sits in the frame of each tile.
    const int shift[4][2] = {{0, 0}, {1, 1}, {1, 0}, {0, 1}};
    for (int m = 0; m < 2; ++m) {
        for (int tile = 0; tile < 4; ++tile) {
            std::vector<uint32_t> samples(4);
            for (int i = 0; i < 4; ++i) {
                const int x = (i % 2 + shift[tile][0]) % 2, y = (i / 2 + shift[tile][1]) % 2;
                samples[y * 2 + x] = grbg[i];
            }
            const Bytes out = Demosaic8(samples, 2, 2, tile, kMethods[m]);
            for (int i = 0; i < 4; ++i) {
                const int x = (i % 2 + shift[tile][0]) % 2, y = (i / 2 + shift[tile][1]) % 2;
                for (int c = 0; c < 3; ++c) {
                    EXPECT_EQ(out[3 * (y * 2 + x) + c], expected[m][i][c])
                        << "method " << m << " tile " << tile << " pixel " << i << " channel " << c;
                }
            }
        }
    }
}

// The 5x5 filters of the gradient-corrected method, in sixteenths, by the colour at the
// centre and the colour wanted.
struct Filter5 {
    int k[5][5];
};
constexpr Filter5 kGreenAtRedOrBlue = {
    {{0, 0, -2, 0, 0}, {0, 0, 4, 0, 0}, {-2, 4, 8, 4, -2}, {0, 0, 4, 0, 0}, {0, 0, -2, 0, 0}}};
constexpr Filter5 kAlongTheRow = {
    {{0, 0, 1, 0, 0}, {0, -2, 0, -2, 0}, {-2, 8, 10, 8, -2}, {0, -2, 0, -2, 0}, {0, 0, 1, 0, 0}}};
constexpr Filter5 kAlongTheColumn = {
    {{0, 0, -2, 0, 0}, {0, -2, 8, -2, 0}, {1, 0, 10, 0, 1}, {0, -2, 8, -2, 0}, {0, 0, -2, 0, 0}}};
constexpr Filter5 kOpposite = {
    {{0, 0, -3, 0, 0}, {0, 4, 0, 4, 0}, {-3, 0, 12, 0, -3}, {0, 4, 0, 4, 0}, {0, 0, -3, 0, 0}}};

// Gradient-corrected RGB of an 8-bit mosaic by convolving a mirrored copy.
std::vector<int> FilterMatrices(const std::vector<uint32_t>& s, int width, int height, int tile) {
    const auto mirror = [](int i, int n) { return i < 0 ? -i : i >= n ? 2 * (n - 1) - i : i; };
    std::vector<int> rgb(3 * s.size());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto apply = [&](const Filter5& f) {
                int sum = 0;
                for (int dy = -2; dy <= 2; ++dy) {
                    for (int dx = -2; dx <= 2; ++dx) {
                        sum += f.k[dy + 2][dx + 2] *
                               static_cast<int>(
                                   s[mirror(y + dy, height) * width + mirror(x + dx, width)]);
                    }
                }
                return std::clamp((sum + 8) >> 4, 0, 255);
            };
            int* out = &rgb[3 * (y * width + x)];
            const int site = kColour[tile][y & 1][x & 1];
            out[site] = static_cast<int>(s[y * width + x]);
            if (site == 1) {
                out[kColour[tile][y & 1][(x + 1) & 1]] = apply(kAlongTheRow);
                out[kColour[tile][(y + 1) & 1][x & 1]] = apply(kAlongTheColumn);
            } else {
                out[1] = apply(kGreenAtRedOrBlue);
                out[2 - site] = apply(kOpposite);
            }
        }
    }
    return rgb;
}

TEST_F(DemosaicTest, GradientCorrectedIsTheFilterMatricesOnTheMirroredMosaic) {
    std::mt19937 random(7);
    struct Frame {
        int width, height;
        bool impulse;  // one bright sample in the middle of a dark frame
    };
    for (const Frame& f : {Frame{9, 9, true}, Frame{8, 9, true}, Frame{5, 3, false},
                           Frame{7, 6, false}, Frame{70, 5, false}, Frame{131, 4, false}}) {
        for (int tile = 0; tile < 4; ++tile) {
            std::vector<uint32_t> samples(size_t(f.width) * f.height);
            if (f.impulse) {
                samples[(f.height / 2) * f.width + f.width / 2] = 240;
            } else {
                for (auto& v : samples) v = random() & 0xFF;
            }
            const Bytes out =
                Demosaic8(samples, f.width, f.height, tile, DemosaicMethod::kGradientCorrected);
            const std::vector<int> expected = FilterMatrices(samples, f.width, f.height, tile);
            for (size_t i = 0; i < expected.size(); ++i) {
                ASSERT_EQ(out[i], expected[i]) << f.width << "x" << f.height << " tile " << tile
                                               << " pixel " << i / 3 << " channel " << i % 3;
            }
        }
    }
}

// Flat colours, and gray frames that change only along one axis (the edge-directed
// method interpolates along the edge), come back exactly at every depth: in RGB24 as the
// rounded top eight bits, in RGB48 scaled to 16 bits. (The differential test below
// checks every other output against the same values.)
TEST_F(DemosaicTest, FlatColoursAndGrayStepsComeBackExactly) {
    const uint32_t width = 37, height = 11;
    for (const Source& source : kSources) {
        const uint32_t most = (1u << source.bits) - 1;
        std::vector<uint32_t> flat, columns, rows;
        for (uint32_t i = 0; i < width * height; ++i) {
            const uint32_t x = i % width, y = i / width;
            for (uint32_t v : {most / 5, most, most / 2}) flat.push_back(v);
            columns.insert(columns.end(), 3, x < 13 ? most / 7 : x < 20 ? most : most / 3);
            rows.insert(rows.end(), 3, y < 4 ? most : most / 9);
        }
        for (const auto* image : {&flat, &columns, &rows}) {
            for (DemosaicMethod method : kMethods) {
                if (image != &flat && method != DemosaicMethod::kEdgeDirected) continue;
                for (int tile = 0; tile < 4; ++tile) {
                    const Bytes in = Hold(source, Mosaic(*image, width, tile), width,
                                          width * BytesPerSample(source));
                    ConvertOptions options;
                    options.bayerTile = kTiles[tile];
                    options.demosaic = method;
                    const bool deep = source.bits > 8;
                    for (int64 to : {kRGB24, deep ? kPixelTypeRGB48 : kRGB24}) {
                        Bytes out(OutputBytes(to, width, height));
                        const FrameResult result =
                            ConvertBytes(source.type, to, in, out, width, height, options);
                        ASSERT_TRUE(result) << result.message;
                        for (size_t k = 0; k < image->size(); ++k) {
                            const uint32_t v = (*image)[k];
                            const uint32_t want =
                                to == kPixelTypeRGB48 ? v << (16 - source.bits)
                                : deep
                                    ? std::min((v + (1u << (source.bits - 9))) >> (source.bits - 8),
                                               255u)
                                    : v;
                            const uint32_t got =
                                to == kRGB24 ? out[k] : out[2 * k] | out[2 * k + 1] << 8;
                            ASSERT_EQ(got, want)
                                << source.bits << "-bit tile " << tile << " to 0x" << std::hex << to
                                << std::dec << " value " << k << " method " << int(method);
                        }
                    }
                }
            }
        }
    }
}

// With a filter, each sample is balanced by the colour of its site before interpolation:
// the result is that of the balanced mosaic without a filter.
TEST_F(DemosaicTest, WhiteBalanceComesBeforeInterpolation) {
    RGBFilter filter(8);
    filter.SetMultipliers(1.4, 0.8, 1.9, 0, 0, 0);
    std::mt19937 random(3);
    const uint32_t width = 83, height = 7;
    std::vector<uint32_t> samples(width * height);
    for (auto& v : samples) v = random() & 0xFF;
    for (DemosaicMethod method : kMethods) {
        for (int tile = 0; tile < 4; ++tile) {
            std::vector<uint32_t> balanced(samples.size());
            for (size_t i = 0; i < samples.size(); ++i) {
                const int c = kColour[tile][(i / width) & 1][(i % width) & 1];
                balanced[i] = c == 0   ? filter.GetRedValue8(samples[i])
                              : c == 1 ? filter.GetGreenValue8(samples[i])
                                       : filter.GetBlueValue8(samples[i]);
            }
            EXPECT_EQ(Demosaic8(samples, width, height, tile, method, &filter),
                      Demosaic8(balanced, width, height, tile, method))
                << "tile " << tile;
        }
    }
}

// Packed and tapped layouts are unpacked by their chain's first stage, then demosaiced as
// the mosaic it makes.
TEST_F(DemosaicTest, UnpackedLayoutsDemosaicAsTheirMosaic) {
    const uint32_t width = 64, height = 6;
    std::mt19937 random(5);
    for (int64 packed : {kPixelTypeBayer10p, int64{0x420012}, int64{0x20040}, int64{0x1020010}}) {
        const auto& chain =
            dynamic_cast<const ComplexConverter&>(PixelTypeFactory::GetConverter(packed, kRGB24));
        const PixelConverter& unpack = chain.GetFirstStage();
        const int64 mosaicType = chain.GetSecondStage().GetSourceTypeID();
        const FrameFootprint footprint = GetFrameFootprint(unpack, width, height);
        ASSERT_TRUE(footprint.result) << footprint.result.message;
        Bytes in(footprint.sourceBytes), mosaic(footprint.destinationBytes);
        for (auto& b : in) b = static_cast<unsigned char>(random());
        unpack.Convert(in.data(), width, height, mosaic.data(), width, height, width, height, 0, 0,
                       nullptr, nullptr, 0);
        for (DemosaicMethod method : kMethods) {
            ConvertOptions options;
            options.bayerTile = kBayerTileBGGR;
            options.demosaic = method;
            Bytes direct(size_t{width} * height * 3), viaMosaic(direct.size());
            ASSERT_TRUE(ConvertBytes(packed, kRGB24, in, direct, width, height, options));
            ASSERT_TRUE(
                ConvertBytes(mosaicType, kRGB24, mosaic, viaMosaic, width, height, options));
            EXPECT_EQ(direct, viaMosaic) << "0x" << std::hex << packed;
        }
    }
}

// Converter objects give the frame API's bytes, with the tile and field order from the flags and the
// strides from the paddings, and leave the registry as it is.
TEST_F(DemosaicTest, ConverterObjectsGiveTheFrameApisBytes) {
    const auto pairCount = [] {
        uint32_t n = 0;
        int64 from = 0, to = 0;
        while (PixelTypeFactory::EnumConverters(n, from, to)) ++n;
        return n;
    };
    const uint32_t pairsBefore = pairCount();
    EXPECT_EQ(CreateDemosaicConverter(0x10001, kRGB24, DemosaicMethod::kEdgeDirected), nullptr);
    EXPECT_EQ(CreateDemosaicConverter(kBayer8, kRGB24, DemosaicMethod::kBilinear), nullptr);
    RGBFilter filter(12);
    filter.SetMultipliers(1.5, 1.0, 2.0, 0, 0, 0);
    struct Case {
        int64 from, to;
        uint32_t flags;
        const RGBFilter* filter;
    };
    std::mt19937 random(9);
    const uint32_t width = 72, height = 6, sourcePadding = 3, destinationPadding = 5;
    for (const Case& c : {Case{kBayer8, 0x20007, kBayerTileRGGB | 0x100, nullptr},
                          Case{0x20012, 0x820002, kBayerTileGBRG, &filter},
                          Case{kPixelTypeBayer10p, kPixelTypeBGR48, 0, nullptr},
                          Case{0x220011, kRGB24, kBayerTileBGGR | 0x1, nullptr}}) {
        for (DemosaicMethod method : kMethods) {
            const auto converter = CreateDemosaicConverter(c.from, c.to, method);
            ASSERT_NE(converter, nullptr);
            const size_t sourceStride = converter->GetSourceLineSize(width) + sourcePadding;
            const size_t destinationStride =
                converter->GetDestinationLineSize(width) + destinationPadding;
            Bytes in(sourceStride * height);
            for (auto& b : in) b = static_cast<unsigned char>(random());
            Bytes viaObject(OutputBytes(c.to, width, height, destinationStride));
            Bytes viaFrame(viaObject.size());
            EXPECT_EQ(converter
                          ->ConvertFiltered(c.filter, in.data(), width, height, viaObject.data(),
                                            width, height, width, height, c.flags,
                                            destinationPadding, nullptr, nullptr, sourcePadding)
                          .GetCode(),
                      0u);
            ConvertOptions options;
            options.bayerTile = c.flags & 0xF0 ? c.flags & 0xF0 : kBayerTileGRBG;
            options.demosaic = method;
            options.secondFieldFirst = c.flags & 0x1;
            options.filter = c.filter;
            ASSERT_TRUE(ConvertFrame(
                {c.from, width, height, sourceStride, in.data(), in.size()},
                {c.to, width, height, destinationStride, viaFrame.data(), viaFrame.size()},
                options));
            EXPECT_EQ(viaObject, viaFrame) << "0x" << std::hex << c.from << " to 0x" << c.to;
        }
    }
    EXPECT_EQ(pairCount(), pairsBefore);
}

TEST_F(DemosaicTest, RefusesWhatTheMethodsCannotTake) {
    ConvertOptions options;
    options.demosaic = DemosaicMethod::kEdgeDirected;
    Bytes gray(64 * 4), out(64 * 4 * 3);
    FrameResult result = ConvertBytes(0x10001, kRGB24, gray, out, 64, 4, options);
    EXPECT_EQ(result.error, FrameError::kBadOption);
    EXPECT_NE(result.message.find("edge-directed"), std::string::npos) << result.message;

    // An odd height writes exactly the frame, one byte less is refused.
    Bytes mosaic(64 * 5), exact(64 * 5 * 3);
    EXPECT_TRUE(ConvertBytes(kBayer8, kRGB24, mosaic, exact, 64, 5, options));
    exact.pop_back();
    EXPECT_EQ(ConvertBytes(kBayer8, kRGB24, mosaic, exact, 64, 5, options).error,
              FrameError::kDestinationTooSmall);
    options.demosaic = static_cast<DemosaicMethod>(9);
    EXPECT_EQ(ConvertBytes(kBayer8, kRGB24, mosaic, out, 64, 4, options).error,
              FrameError::kBadOption);
}

// Every target's vector lines give the plain lines' bytes, for random frames of many
// widths, heights, depths, outputs, filters, strides and band splits; sources end at an
// unreadable page, and bytes around the destination must stay untouched.
TEST_F(DemosaicTest, EveryTargetGivesThePlainLinesBytes) {
    FrameDetail::SetMinimumBandPixels(1);
    RGBFilter gains8(8), gains16(16);
    gains8.SetMultipliers(1.3, 0.9, 1.7, 3, 0, 11);
    gains16.SetMultipliers(1.2, 1.0, 1.6, 0, 0, 0);
    std::mt19937 random(11);
    std::vector<uint32_t> widths;
    for (uint32_t w = 2; w <= 67; ++w) widths.push_back(w);
    for (uint32_t w : {130u, 257u, 517u}) widths.push_back(w);
    constexpr size_t kGuard = 32;
    const std::vector<int64_t> targets = KernelChoice::AvailableTargets();
    for (int round = 0; round < 400; ++round) {
        const Source& source = kSources[random() % 4];
        const uint32_t width = widths[random() % widths.size()];
        const uint32_t height = 2 + random() % 9;
        int64 to = kColourOutputs[random() % 8];
        if (source.bits == 8 && (to == kPixelTypeRGB48 || to == kPixelTypeBGR48)) to = kRGB24;
        ConvertOptions options;
        options.bayerTile = kTiles[random() % 4];
        options.demosaic = kMethods[random() % 2];
        options.threads = 1 + random() % 3;
        if (random() % 3 == 0) options.filter = source.bits == 8 ? &gains8 : &gains16;
        const size_t sourceStride = width * BytesPerSample(source) + random() % 3 * 2;
        std::vector<uint32_t> samples(size_t{width} * height);
        for (auto& v : samples) v = random() & ((1u << source.bits) - 1);
        // Now and then a sample above the depth, which must saturate.
        if (source.bits < 16 && source.bits > 8 && !source.normalized)
            samples[0] |= 1u << source.bits;
        const Bytes held = Hold(source, samples, width, sourceStride);
        ZnTestSupport::PageEndBuffer in(held.size());
        std::memcpy(in.data(), held.data(), held.size());
        const size_t destinationStride = OutputBytes(to, width, 1) + random() % 5;
        const size_t size = OutputBytes(to, width, height, destinationStride);

        const auto convert = [&](int64_t target) {
            KernelChoice::UseOnlyTargetForTest(target);
            Bytes out(size + 2 * kGuard, 0xA5);
            const FrameResult result = ConvertFrame(
                {source.type, width, height, sourceStride, in.data(), held.size()},
                {to, width, height, destinationStride, out.data() + kGuard, size}, options);
            EXPECT_TRUE(result) << result.message;
            return out;
        };
        const Bytes plain = convert(KernelChoice::kPlainRows);
        for (int64_t target : targets) {
            const Bytes vector = convert(target);
            ASSERT_EQ(vector, plain)
                << KernelChoice::TargetName(target) << " " << source.bits << "-bit " << width << "x"
                << height << " to 0x" << std::hex << to << std::dec << " method "
                << int(options.demosaic) << " tile 0x" << std::hex << options.bayerTile;
        }
        for (size_t g = 0; g < kGuard; ++g) {
            ASSERT_EQ(plain[g], 0xA5);
            ASSERT_EQ(plain[plain.size() - 1 - g], 0xA5);
        }
    }
    KernelChoice::UseOnlyTargetForTest(0);
    FrameDetail::SetMinimumBandPixels(uint64_t{1} << 18);
}

}  // namespace
