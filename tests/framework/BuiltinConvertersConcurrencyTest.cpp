#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"

using namespace ZnConvertersLib;

namespace {

constexpr int kThreads = 4;
constexpr uint32_t kWidth = 67, kHeight = 31;  // odd sizes: remainder lines and tails

struct Job {
    int64 from;
    int64 to;
    uint32_t sourceBytesPerPixel;
    uint32_t destinationBytesPerPixel;
    uint32_t flags;
};

// Every thread runs every job with its own filter; the bytes must equal a run of the
// same job with the same filter on the main thread.
const Job kJobs[] = {
    {0x20010, 0x20007, 1, 4, 0x100},    // 8-bit Bayer, neighbourhood method
    {0x20012, 0x420002, 2, 3, 0x40},    // 12-bit Bayer, block method
    {0x40001, 0x420006, 2, 3, 0},       // YUV 4:2:2
    {0x10002, 0x820002, 2, 1, 0},       // 10-bit gray to planar
    {0x4020010, 0x20003, 1, 4, 0x120},  // chained: dual-tap Bayer through gray
    {0x20045, 0x420002, 4, 3, 0},       // packed 10-bit BGR
};

std::vector<unsigned char> RunJob(const Job& job, const std::vector<unsigned char>& source,
                                  const RGBFilter& filter, unsigned char** scratch,
                                  uint32_t* scratchSize) {
    // Three planes for planar output, and a spare line: an odd-height Bayer conversion
    // writes one line past the image.
    const uint32_t planes = job.to == 0x820002 ? 3 : 1;
    std::vector<unsigned char> out(
        planes * job.destinationBytesPerPixel * (kWidth + 1) * (kHeight + 1), 0xEE);
    PixelTypeFactory::GetConverter(job.from, job.to)
        .ConvertFiltered(&filter, source.data(), kWidth, kHeight, out.data(), kWidth + 1, kHeight,
                         kWidth, kHeight, job.flags, 0, scratch, scratchSize, 0);
    return out;
}

RGBFilter FilterFor(int variant) {
    RGBFilter filter(8);
    filter.SetMultipliers(1.0 + 0.25 * variant, 1.0, 1.0 - 0.125 * variant, 0,
                          static_cast<unsigned short>(3 * variant), 0);
    return filter;
}

}  // namespace

TEST(BuiltinConvertersConcurrency, ThreadsSharingConvertersGetTheSingleThreadedBytes) {
    std::vector<std::vector<unsigned char>> sources;
    for (const Job& job : kJobs) {
        ASSERT_TRUE(PixelTypeFactory::HasConverter(job.from, job.to));
        std::vector<unsigned char> bytes(job.sourceBytesPerPixel * kWidth * kHeight);
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<unsigned char>(i * 131 + 7);
        sources.push_back(bytes);
    }
    std::vector<std::vector<std::vector<unsigned char>>> expected(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        const RGBFilter filter = FilterFor(t);
        for (size_t j = 0; j < std::size(kJobs); ++j) {
            unsigned char* scratch = nullptr;
            uint32_t scratchSize = 0;
            expected[t].push_back(RunJob(kJobs[j], sources[j], filter, &scratch, &scratchSize));
            delete[] scratch;
        }
    }

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const RGBFilter filter = FilterFor(t);
            // Chains share their member scratch unless the caller brings one: each thread
            // brings its own.
            unsigned char* scratch = nullptr;
            uint32_t scratchSize = 0;
            for (int round = 0; round < 10; ++round) {
                for (size_t j = 0; j < std::size(kJobs); ++j) {
                    if (RunJob(kJobs[j], sources[j], filter, &scratch, &scratchSize) !=
                        expected[t][j]) {
                        ++mismatches;
                    }
                }
            }
            delete[] scratch;
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
}
