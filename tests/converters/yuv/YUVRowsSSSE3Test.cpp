#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/yuv/YUVConverters.h"
#include "converters/yuv/YUVRowsSSSE3.h"

#if defined(ZN_HAS_SSSE3_ROWS)

using namespace ZnConvertersLib;
using namespace ZnConvertersLib::YUVDetail;

namespace {

constexpr unsigned char kSentinel = 0xCD;

// The saturation table is built by the first converter constructed; this one stays for
// the run, under identifiers outside every built-in colour space.
const uint8_t* Saturation() {
    static const YUV8444To<OutputRGB24> converter(0x70E01, 0x70E02, 3, 3);
    return YUVTo::GetSaturationTable() + kSaturationOffset;
}

// Uniform bytes, with about a third drawn from the ends of the sample ranges and the black
// and neutral levels, so lines reach both saturation bounds and the exact rounding points.
std::vector<unsigned char> Samples(std::size_t n, std::mt19937& rng) {
    static const unsigned char kEdges[] = {0,   1,   15,  16,  17,  127, 128,
                                           129, 234, 235, 236, 254, 255};
    std::vector<unsigned char> bytes(n);
    for (auto& b : bytes) {
        const uint32_t r = rng();
        b = r % 3 == 0 ? kEdges[(r >> 8) % std::size(kEdges)] : static_cast<unsigned char>(r >> 16);
    }
    return bytes;
}

// Every entry of each table drawn at random, so any mix-up of channel, table or entry
// shows.
RGBFilter RandomFilter(std::mt19937& rng) {
    RGBFilter filter(8);
    for (uint32_t i = 0; i < 256; ++i) {
        filter.SetRedValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
        filter.SetGreenValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
        filter.SetBlueValue(i, static_cast<unsigned short>(rng() & 0xFF), false);
    }
    return filter;
}

// Group counts: every count up to a few steps (all tails, odd widths for 4:4:4), then
// counts either side of larger multiples, and a full-HD line.
std::vector<uint32_t> GroupCounts(uint32_t groupsPerStep) {
    std::vector<uint32_t> counts;
    for (uint32_t g = 0; g <= 3 * groupsPerStep + 1; ++g) counts.push_back(g);
    for (uint32_t steps : {8u, 31u}) {
        counts.push_back(steps * groupsPerStep - 1);
        counts.push_back(steps * groupsPerStep);
        counts.push_back(steps * groupsPerStep + 1);
    }
    counts.push_back(1920 / (16 / groupsPerStep));
    return counts;
}

// Runs the plain row and the SSSE3 row over the same random line into destination lines
// of exactly the line's size, so an over-read of the source or an over-write of the
// destination is caught by AddressSanitizer, and compares every byte.
template <class Layout, class Output, bool kFiltered>
void ExpectPlainRowBytes(const RGBFilter& filter, uint32_t groups, std::mt19937& rng) {
    const std::vector<unsigned char> source = Samples(groups * Layout::kSamples, rng);
    ConversionContext context{};
    context.filter = &filter;
    context.destinationStride = groups * Layout::kPixels * Output::kPixelSize;
    context.destinationHeight = 1;
    const FilterTables8& tables = ActiveFilterTables(context);
    const std::size_t size =
        static_cast<std::size_t>(context.destinationStride) * (Output::kIsPlanar ? 3 : 1);
    std::vector<unsigned char> plain(size, kSentinel), fast(size, kSentinel);
    ConvertGroupsRow<Layout, kFiltered>(source.data(), LineWriter<Output>(plain.data(), context),
                                        tables, Saturation(), 0, groups, 0);
    ConvertGroupsRow_SSSE3<Layout, kFiltered>(
        source.data(), LineWriter<Output>(fast.data(), context), tables, Saturation(), groups, 0);
    ASSERT_EQ(fast, plain) << groups << " groups, " << (kFiltered ? "filtered" : "identity");
}

template <class L, class O>
struct Combination {
    using Layout = L;
    using Output = O;
};

#define ZN_ALL_OUTPUTS(L)                                                                  \
    Combination<L, OutputRGB24>, Combination<L, OutputBGR24>, Combination<L, OutputRGB32>, \
        Combination<L, OutputBGR32>, Combination<L, OutputRGB16>, Combination<L, OutputPlanar24>
using Combinations = ::testing::Types<ZN_ALL_OUTPUTS(Layout422), ZN_ALL_OUTPUTS(Layout422GEV),
                                      ZN_ALL_OUTPUTS(Layout444), ZN_ALL_OUTPUTS(Layout444GEV),
                                      ZN_ALL_OUTPUTS(LayoutYCrCb)>;
#undef ZN_ALL_OUTPUTS

template <class C>
class YUVRowsSSSE3 : public ::testing::Test {
protected:
    void SetUp() override {
        if (!Simd::HasSsse3()) GTEST_SKIP() << "the CPU has no SSSE3";
    }
};
TYPED_TEST_SUITE(YUVRowsSSSE3, Combinations);

TYPED_TEST(YUVRowsSSSE3, GiveThePlainRowBytes) {
    using Layout = typename TypeParam::Layout;
    using Output = typename TypeParam::Output;
    std::mt19937 rng(Layout::kSamples * 100 + Layout::kY[0] * 10 + Output::kPixelSize);
    const RGBFilter identity(8);
    const RGBFilter filter = RandomFilter(rng);
    for (const uint32_t groups : GroupCounts(16 / Layout::kPixels)) {
        ExpectPlainRowBytes<Layout, Output, false>(identity, groups, rng);
        ExpectPlainRowBytes<Layout, Output, true>(filter, groups, rng);
        if (::testing::Test::HasFatalFailure()) return;
    }
}

// The filter look-up of sixteen channel bytes: every lane must read every entry, with its
// neighbours reading other parts of the table.
TEST(YUVRowsSSSE3Lookup, ReadsEveryEntryInEveryLane) {
    std::mt19937 rng(7);
    std::vector<uint8_t> table(256);
    for (auto& entry : table) entry = static_cast<uint8_t>(rng());
    for (uint32_t t = 0; t < 256; ++t) {
        alignas(16) uint8_t index[16], looked[16];
        for (uint32_t k = 0; k < 16; ++k) index[k] = static_cast<uint8_t>(t + 37 * k);
        const __m128i x = _mm_load_si128(reinterpret_cast<const __m128i*>(index));
        _mm_store_si128(reinterpret_cast<__m128i*>(looked),
                        ChannelDetail::Lookup16(x, table.data()));
        for (uint32_t k = 0; k < 16; ++k) {
            ASSERT_EQ(looked[k], table[index[k]]) << "index " << int{index[k]} << " lane " << k;
        }
    }
}

}  // namespace

#endif  // ZN_HAS_SSSE3_ROWS
