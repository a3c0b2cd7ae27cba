// The frame API against the conversion it checks: the footprint it computes must hold
// every byte the kernels touch and leave no pixel of an accepted frame unwritten; its
// output must equal Convert's for every pair, in bands on several threads too; every bad
// argument must come back as the error that names it.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/frame/FrameConversion.h"
#include "support/PageEndBuffer.h"

using namespace ZnConvertersLib;
using ZnTestSupport::PageEndBuffer;

namespace {

constexpr size_t kGuard = 64;

struct Pair {
    int64 from, to;
};

// The load-time pairs and those of the camera packings registered on demand.
std::vector<Pair> AllPairs() {
    RegisterCameraFormats();
    std::vector<Pair> pairs;
    int64 from = 0, to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        pairs.push_back({from, to});
    }
    return pairs;
}

std::string Describe(const Pair& pair, uint32_t width, uint32_t height) {
    char text[96];
    std::snprintf(text, sizeof text, "0x%llX -> 0x%llX, %ux%u",
                  static_cast<unsigned long long>(pair.from),
                  static_cast<unsigned long long>(pair.to), width, height);
    return text;
}

void FillRandom(unsigned char* data, size_t size, std::mt19937& random) {
    for (size_t i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(random());
}

// Runs Convert into a destination filled with `fill`, footprint-sized plus a guard.
std::vector<unsigned char> ConvertInto(const PixelConverter& converter, const unsigned char* source,
                                       const FrameFootprint& footprint, uint32_t width,
                                       uint32_t height, size_t sourceStride,
                                       size_t destinationStride, uint32_t flags,
                                       const RGBFilter* filter, unsigned char fill) {
    std::vector<unsigned char> destination(footprint.destinationBytes + kGuard, fill);
    unsigned char* scratch = nullptr;
    uint32_t scratchSize = 0;
    converter.ConvertFiltered(
        filter, source, width, height, destination.data(), width, height, width, height, flags,
        static_cast<uint32_t>(destinationStride - footprint.destinationLineBytes), &scratch,
        &scratchSize, static_cast<uint32_t>(sourceStride - footprint.sourceLineBytes));
    delete[] scratch;
    return destination;
}

// Sources end at an unreadable page and destinations are checked to the byte: a
// footprint one byte short of what a kernel reads or writes fails here.
TEST(FrameFootprint, HoldsEveryByteTheKernelsTouchAndEveryPixelIsWritten) {
    std::mt19937 random(7);
    const std::vector<Pair> pairs = AllPairs();
    size_t accepted = 0;
    // One failure per pair: the assertions leave the pair's lambda, not the test.
    const auto checkPair = [&](const Pair& pair) {
        const PixelConverter& converter = PixelTypeFactory::GetConverter(pair.from, pair.to);
        // Copies of a planar type copy lines, not planes.
        const bool planar =
            PixelTypeBits::Has(pair.to, PixelTypeBits::kPlanar) && pair.from != pair.to;
        for (uint32_t width : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 13u, 16u, 34u}) {
            for (uint32_t height : {1u, 2u, 3u, 4u, 5u}) {
                for (uint32_t padding : {0u, 3u}) {
                    const size_t sourceStride = converter.GetSourceLineSize(width) + padding;
                    const size_t destinationStride =
                        converter.GetDestinationLineSize(width) + 2 * padding;
                    const FrameFootprint footprint = GetFrameFootprint(
                        converter, width, height, sourceStride, destinationStride);
                    if (!footprint.result) continue;
                    ++accepted;
                    PageEndBuffer source(footprint.sourceBytes);
                    FillRandom(source.data(), footprint.sourceBytes, random);
                    const uint32_t flags = padding ? 0x140 : 0x20;
                    const auto zeros =
                        ConvertInto(converter, source.data(), footprint, width, height,
                                    sourceStride, destinationStride, flags, nullptr, 0x00);
                    const auto ones =
                        ConvertInto(converter, source.data(), footprint, width, height,
                                    sourceStride, destinationStride, flags, nullptr, 0xFF);
                    const std::string what = Describe(pair, width, height);
                    for (size_t i = footprint.destinationBytes; i < ones.size(); ++i) {
                        ASSERT_TRUE(zeros[i] == 0x00 && ones[i] == 0xFF)
                            << what << ": byte " << i << " written past the footprint of "
                            << footprint.destinationBytes;
                    }
                    // A byte that kept both fills was never written.
                    const size_t plane = destinationStride * height;
                    for (size_t p = 0; p < (planar ? 3u : 1u); ++p) {
                        for (size_t y = 0; y < height; ++y) {
                            for (size_t x = 0; x < footprint.destinationLineBytes; ++x) {
                                const size_t i = p * plane + y * destinationStride + x;
                                ASSERT_FALSE(zeros[i] == 0x00 && ones[i] == 0xFF)
                                    << what << ": line " << y << " byte " << x
                                    << " left unwritten in an accepted frame";
                            }
                        }
                    }
                }
            }
        }
    };
    for (const Pair& pair : pairs) checkPair(pair);
    EXPECT_GT(accepted, pairs.size() * 40);
}

const RGBFilter* Filter(int variant) {
    static const RGBFilter* const balanced = [] {
        auto* filter = new RGBFilter(8);
        filter->SetMultipliers(1.3, 0.9, 1.7, 3, 0, 11);
        return filter;
    }();
    return variant ? balanced : nullptr;
}

// Whole destination buffers compared, padding and overruns included; bands forced onto
// small frames so that band edges fall inside them.
TEST(ConvertFrame, GivesConvertsBytesForEveryPairInBandsOnAnyThreadCount) {
    FrameDetail::SetMinimumBandPixels(1);
    std::mt19937 random(11);
    for (const Pair& pair : AllPairs()) {
        const PixelConverter& converter = PixelTypeFactory::GetConverter(pair.from, pair.to);
        for (int round = 0; round < 6; ++round) {
            const uint32_t width = 1 + random() % 40, height = 1 + random() % 13;
            const size_t sourceStride =
                converter.GetSourceLineSize(width) + (round % 2 ? random() % 7 : 0);
            const size_t destinationStride =
                converter.GetDestinationLineSize(width) + (round % 3 ? 0 : random() % 7);
            const FrameFootprint footprint =
                GetFrameFootprint(converter, width, height, sourceStride, destinationStride);
            if (!footprint.result) continue;
            ConvertOptions options;
            options.bayerTile = kBayerTileGRBG << (random() % 4);
            options.demosaic = random() % 2 ? DemosaicMethod::kBilinear : DemosaicMethod::kBlock;
            options.secondFieldFirst = random() % 2;
            options.filter = Filter(round % 2);
            options.threads = 1 + round % 4;

            PageEndBuffer source(footprint.sourceBytes);
            FillRandom(source.data(), footprint.sourceBytes, random);
            const auto expected =
                ConvertInto(converter, source.data(), footprint, width, height, sourceStride,
                            destinationStride, ConversionFlagsFor(options), options.filter, 0xA5);
            std::vector<unsigned char> actual(footprint.destinationBytes, 0xA5);
            const FrameResult result = ConvertFrame(
                {pair.from, width, height, sourceStride, source.data(), footprint.sourceBytes},
                {pair.to, width, height, destinationStride, actual.data(), actual.size()}, options);
            const std::string what =
                Describe(pair, width, height) + " on " + std::to_string(options.threads);
            ASSERT_TRUE(result) << what << ": " << result.message;
            ASSERT_EQ(0, std::memcmp(actual.data(), expected.data(), actual.size())) << what;
        }
    }
    FrameDetail::SetMinimumBandPixels(uint64_t{1} << 18);
}

struct BadCall {
    const char* what;
    FrameView source;
    MutableFrameView destination;
    ConvertOptions options;
    FrameError error;
    const char* says;
};

unsigned char gBuffer[4096];

FrameView In(int64 type, uint32_t width, uint32_t height, size_t size, size_t stride = 0) {
    return {type, width, height, stride, gBuffer, size};
}

MutableFrameView Out(int64 type, uint32_t width, uint32_t height, size_t size, size_t stride = 0) {
    return {type, width, height, stride, gBuffer + 2048, size};
}

ConvertOptions With(uint32_t tile, DemosaicMethod method = DemosaicMethod::kBlock) {
    ConvertOptions options;
    options.bayerTile = tile;
    options.demosaic = method;
    return options;
}

TEST(ConvertFrame, NamesWhatIsWrong) {
    const ConvertOptions none;
    FrameView nullSource = In(0x20010, 4, 4, 16);
    nullSource.data = nullptr;
    MutableFrameView nullDestination = Out(0x420002, 4, 4, 48);
    nullDestination.data = nullptr;
    MutableFrameView overlapping = Out(0x10001, 8, 8, 64);
    overlapping.data = gBuffer + 32;
    const BadCall calls[] = {
        {"unknown type", In(0x7777, 4, 4, 16), Out(0x10001, 4, 4, 16), none,
         FrameError::kUnknownType, "0x7777 is not a known pixel type"},
        {"no pair", In(0x10001, 4, 4, 16), Out(0x40001, 4, 4, 32), none, FrameError::kNoConverter,
         "no converter from"},
        {"null source", nullSource, Out(0x420002, 4, 4, 48), none, FrameError::kNullBuffer,
         "source data is null"},
        {"null destination", In(0x20010, 4, 4, 16), nullDestination, none, FrameError::kNullBuffer,
         "destination data is null"},
        {"sizes differ", In(0x20010, 4, 4, 16), Out(0x420002, 4, 5, 60), none,
         FrameError::kUnsupportedSize, "sizes must match"},
        {"empty", In(0x10001, 0, 4, 16), Out(0x20007, 0, 4, 16), none, FrameError::kUnsupportedSize,
         "empty"},
        {"short stride", In(0x420002, 4, 2, 64, 11), Out(0x20007, 4, 2, 64), none,
         FrameError::kStrideTooSmall, "source stride 11 is shorter than a line (12 bytes)"},
        {"short source", In(0x420002, 4, 2, 23), Out(0x20007, 4, 2, 32), none,
         FrameError::kSourceTooSmall, "holds 23 bytes; converting this frame reads 24"},
        {"Bayer odd height writes a line more", In(0x20010, 4, 3, 12), Out(0x420002, 4, 3, 36),
         none, FrameError::kDestinationTooSmall, "writes 48"},
        {"GEV odd width writes a pixel more", In(0x10008, 3, 1, 6), Out(0x420002, 3, 1, 9), none,
         FrameError::kDestinationTooSmall, "writes 12"},
        {"4:2:2 odd width", In(0x40001, 5, 2, 20), Out(0x420002, 5, 2, 30), none,
         FrameError::kUnsupportedSize, "not a multiple of 2: 4:2:2 YUV"},
        {"4:1:1 width", In(0x440006, 6, 2, 18), Out(0x420002, 6, 2, 36), none,
         FrameError::kUnsupportedSize, "not a multiple of 4"},
        {"interlaced odd height", In(0x210002, 4, 3, 24), Out(0x10001, 4, 3, 12), none,
         FrameError::kUnsupportedSize, "height 3 is odd: interlaced"},
        {"quad taps with padding", In(0x10006, 8, 2, 16), Out(0x10001, 8, 2, 18, 9), none,
         FrameError::kUnsupportedSize, "must be the line itself (8 bytes)"},
        {"planar odd-height mosaic", In(0x20010, 4, 3, 12), Out(0x820002, 4, 3, 64), none,
         FrameError::kUnsupportedSize, "next plane's first line"},
        {"mosaic too small", In(0x20010, 1, 4, 4), Out(0x420002, 1, 4, 12), none,
         FrameError::kUnsupportedSize, "too small to demosaic"},
        {"overlap", In(0x10001, 8, 8, 64), overlapping, none, FrameError::kOverlap, "overlap"},
        {"two tiles", In(0x20010, 4, 4, 16), Out(0x420002, 4, 4, 48), With(0x30),
         FrameError::kBadOption, "bayerTile must be one of"},
        {"method for gray", In(0x10001, 4, 4, 16), Out(0x420002, 4, 4, 48),
         With(kBayerTileGRBG, DemosaicMethod::kEdgeDirected), FrameError::kBadOption,
         "takes Bayer mosaics"},
        {"over 4 GiB", In(0x10001, 1u << 16, 1u << 16, ~size_t{0}),
         Out(0x20007, 1u << 16, 1u << 16, ~size_t{0}), none, FrameError::kUnsupportedSize,
         "over 4 GiB"},
    };
    for (const BadCall& call : calls) {
        const FrameResult result = ConvertFrame(call.source, call.destination, call.options);
        EXPECT_EQ(call.error, result.error) << call.what << ": " << result.message;
        EXPECT_NE(result.message.find(call.says), std::string::npos)
            << call.what << ": \"" << result.message << "\"";
    }
}

}  // namespace
