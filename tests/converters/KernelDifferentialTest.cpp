// Every registered conversion, run with the plain rows alone, line by line, and then with
// the vector rows of every target this CPU supports as a call converts (a continuous frame
// as one long line where the converter allows): the whole destination buffer, sentinels
// around the image included, must come out byte for byte the same. Frames are random, in
// many widths (every width up to 67 and three above three vectors of the widest target),
// odd and even heights, paddings, flags and filters; sources end at the end of a readable
// page.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/common/KernelChoice.h"
#include "converters/common/KernelSupport.h"
#include "hwy/targets.h"
#include "support/PageEndBuffer.h"

using namespace ZnConvertersLib;
using ZnTestSupport::PageEndBuffer;

namespace {

// Room after the source image for the documented reads past a line (a last packed group
// read whole); anything reading a vector further hits the unreadable page.
constexpr size_t kSourceSlack = 16;
// Sentinel bytes before and after the destination image.
constexpr size_t kGuard = 64;
// The pairs are split over this many tests, so ctest runs them side by side.
constexpr int kShards = 8;

struct Case {
    uint32_t width, height, sourcePadding, destinationPadding, flags;
    int filter;      // 0: none (the default identity), 1: white balance, 2: random tables
    bool spareLine;  // a destination frame one line taller than the image
};

struct Pair {
    int64 from, to;
};

std::vector<Pair> AllPairs() {
    std::vector<Pair> pairs;
    int64 from = 0, to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        pairs.push_back({from, to});
    }
    return pairs;
}

const RGBFilter* Filter(int variant) {
    static const RGBFilter* const filters[] = {
        nullptr,
        [] {
            auto* f = new RGBFilter(8);
            // Each form of gain: 1.x with one-less entries, below one, with an offset.
            f->SetMultipliers(1.4, 0.9, 1.7, 0, 0, 11);
            return f;
        }(),
        [] {
            auto* f = new RGBFilter(8);
            std::mt19937 random(99);
            for (uint32_t i = 0; i < 256; ++i) {
                f->SetRedValue(i, static_cast<unsigned short>(random() & 0xFF), false);
                f->SetGreenValue(i, static_cast<unsigned short>(random() & 0xFF), false);
                f->SetBlueValue(i, static_cast<unsigned short>(random() & 0xFF), false);
            }
            return f;
        }(),
    };
    return filters[variant];
}

std::vector<Case> RandomCases(std::mt19937& random) {
    std::vector<uint32_t> widths;
    for (uint32_t w = 1; w <= 67; ++w) widths.push_back(w);
    for (uint32_t w : {193u, 258u, 517u}) widths.push_back(w);
    std::vector<Case> cases;
    for (uint32_t width : widths) {
        Case c{};
        c.width = width;
        c.height = 1 + random() % 6;
        c.sourcePadding = random() % 3 == 0 ? random() % 9 : 0;
        c.destinationPadding = random() % 3 == 0 ? random() % 9 : 0;
        c.flags = (0x10u << (random() % 4)) | (random() % 2 ? 0x100u : 0u) | (random() % 2);
        c.filter = static_cast<int>(random() % 3);
        c.spareLine = random() % 2;
        cases.push_back(c);
    }
    return cases;
}

// lineByLine: through the line walk itself, whatever the frame.
std::vector<unsigned char> Convert(const PixelConverter& converter, const Pair& pair, const Case& c,
                                   const unsigned char* source, bool lineByLine) {
    const uint32_t planesOut = PixelTypeBits::Has(pair.to, PixelTypeBits::kPlanar) ? 3 : 1;
    const size_t stride = converter.GetDestinationLineSize(c.width) + c.destinationPadding;
    // One spare line: an odd-height Bayer conversion writes the line after the image.
    const size_t image = planesOut * stride * (c.height + 1);
    std::vector<unsigned char> destination(image + 2 * kGuard, 0xA5);
    const uint32_t destinationHeight = c.spareLine ? c.height + 1 : c.height;
    if (lineByLine && dynamic_cast<const UnitGranularityConverter*>(&converter) != nullptr) {
        ConversionContext* context = AcquireConversionContext();
        context->filter = Filter(c.filter);
        converter.PixelConverter::Convert(source, c.width, c.height, destination.data() + kGuard,
                                          c.width, destinationHeight, c.width, c.height, c.flags,
                                          c.destinationPadding, nullptr, nullptr, c.sourcePadding);
        ReleaseConversionContext(context);
    } else {
        converter.ConvertFiltered(Filter(c.filter), source, c.width, c.height,
                                  destination.data() + kGuard, c.width, destinationHeight, c.width,
                                  c.height, c.flags, c.destinationPadding, nullptr, nullptr,
                                  c.sourcePadding);
    }
    return destination;
}

class KernelDifferential : public ::testing::TestWithParam<int> {};

TEST_P(KernelDifferential, EveryTargetGivesThePlainRowsBytes) {
    const std::vector<int64_t> targets = KernelChoice::AvailableTargets();
    ASSERT_FALSE(targets.empty());
    const int64_t plain = KernelChoice::kPlainRows;
    if (GetParam() == 0) {
        std::string names;
        for (int64_t target : targets) names += " " + KernelChoice::TargetName(target);
        std::printf("targets:%s\n", names.c_str());
    }
    // The pairs registered at load, then those of the camera packings registered on
    // demand; shards may share a process, so the list is made once.
    static const std::vector<Pair> pairs = [] {
        EXPECT_EQ(AllPairs().size(), 1074u);
        RegisterCameraFormats();
        return AllPairs();
    }();
    const int shard = GetParam();
    std::mt19937 random(1234 + shard);
    for (size_t p = static_cast<size_t>(shard); p < pairs.size(); p += kShards) {
        const Pair& pair = pairs[p];
        const PixelConverter& converter = PixelTypeFactory::GetConverter(pair.from, pair.to);
        for (const Case& c : RandomCases(random)) {
            const uint32_t planesIn = PixelTypeBits::Has(pair.from, PixelTypeBits::kPlanar) ? 3 : 1;
            const size_t stride = converter.GetSourceLineSize(c.width) + c.sourcePadding;
            // Dual-line sources interleave two lines over two: the last line reads the next.
            const size_t dualLines =
                PixelTypeBits::Has(pair.from, PixelTypeBits::kDualLines) ? stride : 0;
            const size_t size = planesIn * stride * c.height + dualLines + kSourceSlack;
            PageEndBuffer source(size);
            for (size_t i = 0; i < size; ++i)
                source.data()[i] = static_cast<unsigned char>(random());

            KernelChoice::UseOnlyTargetForTest(plain);
            const std::vector<unsigned char> expected =
                Convert(converter, pair, c, source.data(), true);
            for (int64_t target : targets) {
                if (target == plain) continue;
                KernelChoice::UseOnlyTargetForTest(target);
                const std::vector<unsigned char> actual =
                    Convert(converter, pair, c, source.data(), false);
                if (actual != expected) {
                    size_t at = 0;
                    while (actual[at] == expected[at]) ++at;
                    ADD_FAILURE() << std::hex << "0x" << pair.from << " -> 0x" << pair.to
                                  << std::dec << " on " << KernelChoice::TargetName(target)
                                  << ": width " << c.width << " height " << c.height << " paddings "
                                  << c.sourcePadding << "/" << c.destinationPadding
                                  << (c.spareLine ? " spare line" : "") << " flags 0x" << std::hex
                                  << c.flags << std::dec << " filter " << c.filter
                                  << ": first difference at byte "
                                  << static_cast<long>(at) - static_cast<long>(kGuard);
                    KernelChoice::UseOnlyTargetForTest(0);
                    return;
                }
            }
        }
    }
    KernelChoice::UseOnlyTargetForTest(0);
}

INSTANTIATE_TEST_SUITE_P(Shards, KernelDifferential, ::testing::Range(0, kShards));

}  // namespace
