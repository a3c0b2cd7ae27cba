#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/bayer/BayerConverters.h"
#include "converters/bayer/BayerRowsSSSE3.h"

#if defined(ZN_HAS_SSSE3_ROWS)

using namespace ZnConvertersLib;
using namespace ZnConvertersLib::BayerDetail;

namespace {

constexpr unsigned char kSentinel = 0xCD;

RGBFilter RandomFilter(std::mt19937& rng) {
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) {
        filter.SetRedValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
        filter.SetGreenValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
        filter.SetBlueValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
    }
    return filter;
}

// Four mosaic lines (above, top, bottom, below) of random samples after the two samples
// the neighbourhood method reads before the top line's start, and nothing after: the
// buffer ends where the last line does, so AddressSanitizer sees any read past it. 16-bit
// samples use every bit, so the shift and the cut to 8 bits both matter.
template <class Sample>
std::vector<unsigned char> RandomLines(uint32_t width, std::mt19937& rng) {
    std::vector<unsigned char> bytes((2 + 4 * static_cast<std::size_t>(width)) * sizeof(Sample));
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    return bytes;
}

// The plain loops alone, and the SSSE3 rows finished by the plain loops, on the same
// lines into two-line destinations of exact size; every byte must agree.
template <class Output, class Sample, int Layout, bool kFiltered>
void ExpectPlainBytes(uint32_t width, const RGBFilter& filter, std::mt19937& rng) {
    constexpr bool kShifted = sizeof(Sample) == 2;
    const uint32_t shift = kShifted ? 4 : 0;
    const std::vector<unsigned char> bytes = RandomLines<Sample>(width, rng);
    const unsigned char* line[4];
    for (int k = 0; k < 4; ++k) line[k] = bytes.data() + (2 + k * width) * sizeof(Sample);

    ConversionContext context{};
    context.filter = &filter;
    context.destinationStride = width * Output::kPixelSize;
    context.destinationHeight = 2;
    const BayerKernel<Output> kernel(context);
    const std::size_t size = static_cast<std::size_t>(context.destinationStride) * 2;

    using Row = BayerRow<Sample, kShifted>;
    const Row rows[4] = {{line[0], shift}, {line[1], shift}, {line[2], shift}, {line[3], shift}};
    const VectorRow<Sample> vectors[4] = {
        {line[0], shift}, {line[1], shift}, {line[2], shift}, {line[3], shift}};

    for (const bool neighbourhood : {false, true}) {
        if (neighbourhood && width < 3) continue;
        std::vector<unsigned char> plain(size, kSentinel), fast(size, kSentinel);
        const LineWriter<Output> p0(plain.data(), context),
            p1(plain.data() + context.destinationStride, context);
        const LineWriter<Output> f0(fast.data(), context),
            f1(fast.data() + context.destinationStride, context);
        if (neighbourhood) {
            NeighbourhoodPairRows<Layout>(rows[0], rows[1], rows[2], rows[3], kernel, p0, p1, 0,
                                          width);
            const uint32_t done = NeighbourhoodInterior_SSSE3<Layout, kFiltered>(
                vectors[0], vectors[1], vectors[2], vectors[3], kernel.Tables(), f0, f1,
                (width - 2) >> 1);
            NeighbourhoodPairRows<Layout>(rows[0], rows[1], rows[2], rows[3], kernel, f0, f1, done,
                                          width);
        } else {
            BlockPairRows<Layout>(rows[1], rows[2], kernel, p0, p1, 0, width);
            const uint32_t done = BlockPairRows_SSSE3<Layout, kFiltered>(
                vectors[1], vectors[2], kernel.Tables(), f0, f1, width);
            BlockPairRows<Layout>(rows[1], rows[2], kernel, f0, f1, done, width);
        }
        ASSERT_EQ(fast, plain) << "layout " << Layout << " width " << width << " sample "
                               << sizeof(Sample) << (neighbourhood ? " neighbourhood" : " block")
                               << (kFiltered ? " filtered" : "");
    }
}

template <class Output, class Sample, bool kFiltered>
void ExpectPlainBytesForAllLayouts(uint32_t width, const RGBFilter& filter, std::mt19937& rng) {
    ExpectPlainBytes<Output, Sample, kLayoutGRBG, kFiltered>(width, filter, rng);
    ExpectPlainBytes<Output, Sample, kLayoutGBRG, kFiltered>(width, filter, rng);
    ExpectPlainBytes<Output, Sample, kLayoutRGGB, kFiltered>(width, filter, rng);
    ExpectPlainBytes<Output, Sample, kLayoutBGGR, kFiltered>(width, filter, rng);
}

template <class Output>
class BayerRowsSSSE3 : public ::testing::Test {
protected:
    void SetUp() override {
        if (!Simd::HasSsse3()) GTEST_SKIP() << "the CPU has no SSSE3";
    }
};
using Outputs24 = ::testing::Types<OutputRGB24, OutputBGR24>;
TYPED_TEST_SUITE(BayerRowsSSSE3, Outputs24);

// Every width up to three block steps (all tails, odd and even), then a few around larger
// multiples and a full-HD line.
TYPED_TEST(BayerRowsSSSE3, GiveThePlainLoopBytes) {
    std::mt19937 rng(std::is_same_v<TypeParam, OutputRGB24> ? 1 : 2);
    const RGBFilter identity(8);
    const RGBFilter filter = RandomFilter(rng);
    std::vector<uint32_t> widths;
    for (uint32_t w = 1; w <= 100; ++w) widths.push_back(w);
    for (uint32_t w : {255u, 256u, 257u, 1920u}) widths.push_back(w);
    for (const uint32_t width : widths) {
        ExpectPlainBytesForAllLayouts<TypeParam, unsigned char, false>(width, identity, rng);
        ExpectPlainBytesForAllLayouts<TypeParam, unsigned short, false>(width, identity, rng);
        ExpectPlainBytesForAllLayouts<TypeParam, unsigned char, true>(width, filter, rng);
        ExpectPlainBytesForAllLayouts<TypeParam, unsigned short, true>(width, filter, rng);
        if (::testing::Test::HasFatalFailure()) return;
    }
}

}  // namespace

#endif  // ZN_HAS_SSSE3_ROWS
