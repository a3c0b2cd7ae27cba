// Mosaics demosaiced at their depth into 16 bits a channel: hand-worked blocks and an
// interior bilinear pixel, flat colours kept exactly to the frame's edges, and the packed
// camera layouts equal to their unpacked containers.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;

namespace {

using Words = std::vector<uint16_t>;

Words Demosaic(int64 from, int64 to, const std::vector<unsigned char>& source, uint32_t width,
               uint32_t height, DemosaicMethod method, uint32_t tile = kBayerTileGRBG) {
    RegisterCameraFormats();
    const FrameFootprint footprint =
        GetFrameFootprint(PixelTypeFactory::GetConverter(from, to), width, height);
    std::vector<unsigned char> out(footprint.destinationBytes);
    ConvertOptions options;
    options.bayerTile = tile;
    options.demosaic = method;
    const FrameResult result =
        ConvertFrame({from, width, height, 0, source.data(), source.size()},
                     {to, width, height, 0, out.data(), out.size()}, options);
    EXPECT_TRUE(result) << result.message;
    Words words(width * height * 3);
    for (size_t i = 0; i < words.size(); ++i) words[i] = out[2 * i] | out[2 * i + 1] << 8;
    return words;
}

std::vector<unsigned char> Bytes(const Words& words) {
    std::vector<unsigned char> bytes;
    for (uint16_t w : words) {
        bytes.push_back(static_cast<unsigned char>(w));
        bytes.push_back(static_cast<unsigned char>(w >> 8));
    }
    return bytes;
}

TEST(DeepBayer, BlockOfTenBitSamplesKeepsTheirDepth) {
    // G R / B G with G 0x100 and 0x203: green is their truncated mean 0x181.
    const Words mosaic{0x100, 0x3FF, 0x001, 0x203};
    const Words rgb =
        Demosaic(0x20011, kPixelTypeRGB48, Bytes(mosaic), 2, 2, DemosaicMethod::kBlock);
    for (int p = 0; p < 4; ++p) {
        EXPECT_EQ(rgb[3 * p], 0xFFC0);
        EXPECT_EQ(rgb[3 * p + 1], 0x6040);
        EXPECT_EQ(rgb[3 * p + 2], 0x0040);
    }
    const Words bgr =
        Demosaic(0x20011, kPixelTypeBGR48, Bytes(mosaic), 2, 2, DemosaicMethod::kBlock);
    EXPECT_EQ((Words{bgr[0], bgr[1], bgr[2]}), (Words{0x0040, 0x6040, 0xFFC0}));
}

TEST(DeepBayer, InteriorRedSiteIsTheMeanOfItsNeighbours) {
    // 12-bit RGGB, 6x6: (2, 2) is a red site on an interior pair.
    std::mt19937 random(3);
    Words mosaic(36);
    for (uint16_t& s : mosaic) s = static_cast<uint16_t>(random() & 0xFFF);
    const Words rgb = Demosaic(0x20012, kPixelTypeRGB48, Bytes(mosaic), 6, 6,
                               DemosaicMethod::kBilinear, kBayerTileRGGB);
    const auto at = [&](int x, int y) { return uint32_t{mosaic[y * 6 + x]}; };
    const size_t p = 3 * (2 * 6 + 2);
    EXPECT_EQ(rgb[p], at(2, 2) << 4);
    EXPECT_EQ(rgb[p + 1], ((at(2, 1) + at(1, 2) + at(3, 2) + at(2, 3)) >> 2) << 4);
    EXPECT_EQ(rgb[p + 2], ((at(1, 1) + at(3, 1) + at(1, 3) + at(3, 3)) >> 2) << 4);
}

// The bilinear method's first column comes from the two samples before the line (the end
// of the line above, another row of the tile), as in the 8-bit path: it is left out.
TEST(DeepBayer, FlatColoursComeOutExactlyEverywhereForBothMethods) {
    const uint16_t r = 0xABC, g = 0x123, b = 0x7F0;
    // Each tile's colours, top row then bottom row.
    const struct {
        uint32_t tile;
        uint16_t sites[4];
    } tiles[] = {{kBayerTileGRBG, {g, r, b, g}},
                 {kBayerTileGBRG, {g, b, r, g}},
                 {kBayerTileRGGB, {r, g, g, b}},
                 {kBayerTileBGGR, {b, g, g, r}}};
    const uint32_t height = 7;  // the odd last line too
    for (const auto& [tile, sites] : tiles) {
        for (uint32_t width : {9u, 10u}) {
            Words mosaic(width * height);
            for (uint32_t i = 0; i < mosaic.size(); ++i) {
                mosaic[i] = sites[2 * (i / width % 2) + i % width % 2];
            }
            for (DemosaicMethod method : {DemosaicMethod::kBlock, DemosaicMethod::kBilinear}) {
                const Words rgb =
                    Demosaic(0x20012, kPixelTypeRGB48, Bytes(mosaic), width, height, method, tile);
                for (size_t p = 0; p < width * height; ++p) {
                    if (method == DemosaicMethod::kBilinear && p % width == 0) continue;
                    ASSERT_EQ((Words{rgb[3 * p], rgb[3 * p + 1], rgb[3 * p + 2]}),
                              (Words{r << 4, g << 4, b << 4}))
                        << "pixel " << p << " width " << width << " tile " << tile;
                }
            }
        }
    }
}

TEST(DeepBayer, PackedMosaicsDemosaicAsTheirContainers) {
    std::mt19937 random(9);
    const uint32_t width = 40, height = 6;
    Words samples(width * height);
    for (uint16_t& s : samples) s = static_cast<uint16_t>(random() & 0xFFF);
    // 12p: two samples in three bytes, least significant bits first.
    std::vector<unsigned char> packed;
    for (size_t i = 0; i < samples.size(); i += 2) {
        packed.push_back(static_cast<unsigned char>(samples[i]));
        packed.push_back(static_cast<unsigned char>(samples[i] >> 8 | (samples[i + 1] & 0xF) << 4));
        packed.push_back(static_cast<unsigned char>(samples[i + 1] >> 4));
    }
    EXPECT_EQ(Demosaic(0x420012, kPixelTypeBGR48, packed, width, height, DemosaicMethod::kBilinear),
              Demosaic(0x20012, kPixelTypeBGR48, Bytes(samples), width, height,
                       DemosaicMethod::kBilinear));
}

}  // namespace
