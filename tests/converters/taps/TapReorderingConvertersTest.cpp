#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "converters/taps/TapReorderingConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

constexpr uint8_t _ = kSentinel;  // an unwritten destination byte in expected images

constexpr int64 kSource = 0x70201;
constexpr int64 kDestination = 0x70202;

// Source bytes 0, 1, 2, ... (offset per line by 0x40) in lines of the given stride.
Bytes Counting(uint32_t stride, uint32_t height) {
    Bytes bytes(stride * height);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < stride; ++x) bytes[y * stride + x] = uint8_t(0x40 * y + x);
    }
    return bytes;
}

// Converts width × height pixels; the destination buffer holds height lines of
// destinationWidth pixels plus padding, and slack, all starting as the sentinel.
Bytes Reorder(const PixelConverter& converter, const Bytes& source, uint32_t width, uint32_t height,
              uint32_t sourcePadding, uint32_t destinationWidth, uint32_t destinationPadding) {
    const uint32_t stride = converter.GetDestinationLineSize(destinationWidth) + destinationPadding;
    Bytes destination(stride * height + kSlack, kSentinel);
    converter.Convert(source.data(), width, height, destination.data(), destinationWidth, height,
                      width, height, 0, destinationPadding, nullptr, nullptr, sourcePadding);
    return destination;
}

Bytes WithSlack(Bytes image) {
    image.resize(image.size() + kSlack, kSentinel);
    return image;
}

TEST(QuadTaps, QuartersFollowThePaddedDestinationStrideAndWholeGroups) {
    const Dalsa4x8ToGrayscale8 converter(kSource, kDestination, 1, 1);
    // Each tap fills its quarter from the right end. Destination stride 20 -> Q = 5: group
    // k goes to 4 - k, 9 - k, 14 - k, 19 - k, so pixels 0, 5, 10 and 15 are skipped and
    // 16..19 land in the padding. Source lines carry 3 padding bytes that must not be read
    // as pixels.
    const Bytes got = Reorder(converter, Counting(19, 2), 16, 2, 3, 16, 4);
    const Bytes line0 = {_, 12, 8, 4, 0, _, 13, 9, 5, 1, _, 14, 10, 6, 2, _, 15, 11, 7, 3};
    Bytes expected = line0;
    for (uint8_t v : line0) expected.push_back(v == _ ? _ : uint8_t(v + 0x40));
    EXPECT_EQ(got, WithSlack(expected));
    // Pixels after the last whole group are dropped. Width 6 on lines of 8 (Q = 2): only source
    // 0..3, to 1, 3, 5, 7.
    EXPECT_EQ(Reorder(converter, Counting(6, 1), 6, 1, 0, 8, 0),
              WithSlack({_, 0, _, 1, _, 2, _, 3}));
    // Fewer than four pixels: nothing at all.
    EXPECT_EQ(Reorder(converter, Counting(3, 1), 3, 1, 0, 8, 0), WithSlack(Bytes(8, _)));
}

TEST(QuadTaps, SixteenBitWordsMoveUnchanged) {
    const Dalsa4x16ToGrayscale16 converter(kSource, kDestination, 2, 2);
    const Bytes source = Words({0x0301, 0x0302, 0x0303, 0x0304, 0x03F5, 0x03F6, 0x03F7, 0x03F8});
    // 8 pixels, Q = 16 bytes / 8 = 2: source 0..7 -> 1, 3, 5, 7, 0, 2, 4, 6.
    const Bytes got = Reorder(converter, source, 8, 1, 0, 8, 0);
    EXPECT_EQ(got, WithSlack({0xF5, 0x03, 0x01, 0x03, 0xF6, 0x03, 0x02, 0x03, 0xF7, 0x03, 0x03,
                              0x03, 0xF8, 0x03, 0x04, 0x03}));
}

TEST(QuadTaps, FlagConstructorNamesTheTenBitQuadTapTypes) {
    const Dalsa4x16ToGrayscale16 plain(false), normalized(true);
    EXPECT_EQ(plain.GetSourceTypeID(), 0x10007);
    EXPECT_EQ(plain.GetDestinationTypeID(), 0x10002);
    EXPECT_EQ(normalized.GetSourceTypeID(), 0x110007);
    EXPECT_EQ(normalized.GetDestinationTypeID(), 0x110002);
    EXPECT_EQ(normalized.GetSourcePixelSize(), 2u);
    EXPECT_EQ(normalized.GetDestinationPixelSize(), 2u);
    // Every reordering works in groups of four pixels.
    EXPECT_EQ(plain.GetPixelGranularity(), 4u);
    EXPECT_EQ(Dalsa4x8ToGrayscale8(kSource, kDestination, 1, 1).GetPixelGranularity(), 4u);
    EXPECT_EQ(DualLinesGrayscale8ToGrayscale8(kSource, kDestination, 1, 1).GetPixelGranularity(),
              4u);
    EXPECT_EQ(plain.GetLineGranularity(), 1u);
}

// Two consecutive source lines hold two image lines interleaved byte by byte. Widths below,
// at and above a group of four, with padding on both sides.
class DualLines : public ::testing::TestWithParam<uint32_t> {};

TEST_P(DualLines, EvenLinesTakeEvenBytesAndOddLinesTheOddBytes) {
    const uint32_t width = GetParam();
    const uint32_t sourcePadding = 2, destinationPadding = 3, height = 4;
    const uint32_t sourceStride = width + sourcePadding,
                   destinationStride = width + destinationPadding;
    const DualLinesGrayscale8ToGrayscale8 converter(kSource, kDestination, 1, 1);
    // Lines 2k and 2k + 1 interleave over source bytes [2k * stride, (2k + 2) * stride).
    Bytes source(sourceStride * height);
    for (uint32_t i = 0; i < source.size(); ++i) source[i] = uint8_t(i);
    const Bytes got =
        Reorder(converter, source, width, height, sourcePadding, width, destinationPadding);
    Bytes expected(destinationStride * height + kSlack, _);
    for (uint32_t y = 0; y < height; ++y) {
        const uint32_t pairStart = (y / 2) * 2 * sourceStride + (y % 2);
        for (uint32_t x = 0; x < width; ++x) {
            expected[y * destinationStride + x] = uint8_t(pairStart + 2 * x);
        }
    }
    EXPECT_EQ(got, expected);
}

INSTANTIATE_TEST_SUITE_P(TapReordering, DualLines, ::testing::Values(3u, 4u, 6u, 8u));

TEST(DualLinesExample, ThreadsSharingOneConverterEachSeeTheirOwnLineParity) {
    const DualLinesGrayscale8ToGrayscale8 converter(kSource, kDestination, 1, 1);
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            // Each thread its own width, so a shared destination start or stride would
            // show up as a wrong line parity.
            const uint32_t width = 8 + 4 * t, height = 16;
            Bytes source(width * height);
            for (uint32_t i = 0; i < source.size(); ++i) source[i] = uint8_t(i * 7 + t);
            for (int round = 0; round < 50; ++round) {
                const Bytes got = Reorder(converter, source, width, height, 0, width, 0);
                for (uint32_t y = 0; y < height; ++y) {
                    const uint32_t pairStart = (y / 2) * 2 * width + (y % 2);
                    for (uint32_t x = 0; x < width; ++x) {
                        if (got[y * width + x] != source[pairStart + 2 * x]) ++mismatches;
                    }
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(DualLinesExample, OutsideAConversionEveryLineCountsAsEven) {
    const DualLinesGrayscale8ToGrayscale8 converter(kSource, kDestination, 1, 1);
    const Bytes source = {1, 2, 3, 4, 5, 6};
    Bytes destination(4, _);
    EXPECT_EQ(converter.ConvertLines(source.data(), destination.data(), 3).GetCode(), 0u);
    EXPECT_EQ(destination, (Bytes{1, 3, 5, _}));
}

}  // namespace
