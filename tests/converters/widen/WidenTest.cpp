// Camera packings registered on demand: hand-packed bit streams decoded to the expected
// samples, and every chained output equal to the built-in conversion of the same samples
// in their 16-bit container.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Convert(int64 from, int64 to, const Bytes& source, uint32_t width, uint32_t height,
              uint32_t tile = kBayerTileGRBG) {
    const FrameFootprint footprint =
        GetFrameFootprint(PixelTypeFactory::GetConverter(from, to), width, height);
    EXPECT_TRUE(footprint.result) << footprint.result.message;
    Bytes out(footprint.destinationBytes);
    ConvertOptions options;
    options.bayerTile = tile;
    options.demosaic = DemosaicMethod::kBilinear;
    const FrameResult result =
        ConvertFrame({from, width, height, 0, source.data(), source.size()},
                     {to, width, height, 0, out.data(), out.size()}, options);
    EXPECT_TRUE(result) << result.message;
    return out;
}

Bytes Words(const std::vector<uint16_t>& words) {
    Bytes bytes;
    for (uint16_t w : words) {
        bytes.push_back(static_cast<unsigned char>(w));
        bytes.push_back(static_cast<unsigned char>(w >> 8));
    }
    return bytes;
}

// Four 10-bit samples in five bytes, least significant bits first.
Bytes Pack10p(const std::vector<uint16_t>& samples) {
    Bytes bytes((samples.size() * 10 + 7) / 8);
    for (size_t i = 0; i < samples.size(); ++i) {
        for (int b = 0; b < 10; ++b) {
            if (samples[i] >> b & 1) bytes[(i * 10 + b) / 8] |= 1 << ((i * 10 + b) % 8);
        }
    }
    return bytes;
}

class CameraFormatsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { RegisterCameraFormats(); }
};

TEST_F(CameraFormatsTest, HandPackedStreamsDecodeToTheirSamples) {
    // 0x3FF 0x000 0x155 0x2AA, packed by hand.
    const Bytes mono10p{0xFF, 0x03, 0x50, 0x95, 0xAA};
    EXPECT_EQ(Pack10p({0x3FF, 0x000, 0x155, 0x2AA}), mono10p);
    EXPECT_EQ(Convert(kPixelTypeMono10p, kPixelTypeGray16FullRange, mono10p, 4, 1),
              Words({0xFFC0, 0x0000, 0x5540, 0xAA80}));
    EXPECT_EQ(Convert(kPixelTypeMono10p, 0x10001, mono10p, 4, 1), (Bytes{0xFF, 0x00, 0x55, 0xAA}));
    // 0xABC 0x123 in 12p; then N-bit words scaled to 16 bits, saturating above their depth.
    EXPECT_EQ(Convert(0x410003, kPixelTypeGray16FullRange, {0xBC, 0x3A, 0x12}, 2, 1),
              Words({0xABC0, 0x1230}));
    EXPECT_EQ(Convert(0x10002, kPixelTypeGray16FullRange, Words({0x3FF, 0x001, 0x7FF, 0}), 4, 1),
              Words({0xFFC0, 0x0040, 0xFFC0, 0}));
    EXPECT_EQ(Convert(0x10005, kPixelTypeGray16FullRange, Words({0xFFFF, 0x1234}), 2, 1),
              Words({0xFFFF, 0x1234}));
    // The converters themselves take any width: lines ending inside a group.
    const auto odd = [](int64 from, const Bytes& line, uint32_t width) {
        Bytes out(2 * width);
        PixelTypeFactory::GetConverter(from, kPixelTypeGray16FullRange)
            .Convert(line.data(), width, 1, out.data(), width, 1, width, 1, 0, 0, nullptr, nullptr,
                     0);
        return out;
    };
    EXPECT_EQ(odd(kPixelTypeMono10p, Pack10p({1, 2, 3, 4, 0x3FF}), 5),
              Words({0x40, 0x80, 0xC0, 0x100, 0xFFC0}));
    EXPECT_EQ(odd(0x410003, {0xBC, 0x3A, 0x12, 0x56, 0x04}, 3), Words({0xABC0, 0x1230, 0x4560}));
    // R 0x3FF in bits 0-9, G 0x200, B 0x004: the top eight bits of each.
    EXPECT_EQ(Convert(kPixelTypeRGB10p32, 0x420002, {0xFF, 0x03, 0x48, 0x00}, 1, 1),
              (Bytes{0xFF, 0x80, 0x01}));
}

// The chains must give exactly what the built-in converters give for the unpacked
// samples: widths past several vectors, all tiles, a white balance-free bilinear run.
TEST_F(CameraFormatsTest, PackedFramesConvertAsTheirUnpackedContainer) {
    std::mt19937 random(5);
    const uint32_t width = 100, height = 7;
    std::vector<uint16_t> samples(width * height);
    for (uint16_t& s : samples) s = static_cast<uint16_t>(random() & 0x3FF);
    const Bytes packed = Pack10p(samples), words = Words(samples);
    for (int64 to : {0x10001, 0x420002, 0x20007, 0x820002}) {
        EXPECT_EQ(Convert(kPixelTypeMono10p, to, packed, width, height),
                  Convert(0x10002, to, words, width, height))
            << std::hex << to;
    }
    for (uint32_t tile : {kBayerTileGRBG, kBayerTileGBRG, kBayerTileRGGB, kBayerTileBGGR}) {
        for (int64 to : {0x20001, 0x420006, 0x20003}) {
            EXPECT_EQ(Convert(kPixelTypeBayer10p, to, packed, width, height, tile),
                      Convert(0x20011, to, words, width, height, tile))
                << std::hex << to << " tile " << tile;
        }
    }
}

TEST_F(CameraFormatsTest, LookupsFindConvertibleFormatsAndWidthsOutsideGroupsAreRefused) {
    const PfncFormat* format = FindPfncFormat("BayerRG10p");
    ASSERT_NE(format, nullptr);
    EXPECT_TRUE(PixelTypeFactory::HasConverter(format->pixelType, 0x420002));
    const FrameFootprint odd =
        GetFrameFootprint(PixelTypeFactory::GetConverter(kPixelTypeMono10p, 0x10001), 6, 2);
    EXPECT_EQ(odd.result.error, FrameError::kUnsupportedSize) << odd.result.message;
}

}  // namespace
