// Every registered pair converted on sixteen threads at once, all sharing the converters
// and one white-balance filter, some calls also splitting their frame over the worker
// pool: each result must equal the same conversion run alone. Mosaics are also converted
// by the gradient-corrected and edge-directed methods, in frames wide enough for their
// vector lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/frame/FrameConversion.h"

using namespace ZnConvertersLib;

namespace {

constexpr int kThreads = 16;
constexpr uint32_t kHeight = 6;

struct Job {
    int64 from, to;
    uint32_t width;
    DemosaicMethod method;
    FrameFootprint footprint;
    std::vector<unsigned char> source;
    std::vector<unsigned char> expected;
};

std::vector<unsigned char> ConvertJob(const Job& job, const ConvertOptions& options) {
    std::vector<unsigned char> out(job.footprint.destinationBytes, 0xEE);
    ConvertOptions mine = options;
    mine.demosaic = job.method;
    const FrameResult result =
        ConvertFrame({job.from, job.width, kHeight, 0, job.source.data(), job.source.size()},
                     {job.to, job.width, kHeight, 0, out.data(), out.size()}, mine);
    if (!result) out.clear();
    return out;
}

TEST(BuiltinConvertersConcurrency, EveryPairOnSixteenThreadsGivesTheSingleThreadedBytes) {
    RGBFilter balance(8);
    balance.SetMultipliers(1.4, 0.8, 1.9, 2, 0, 5);
    ConvertOptions options;
    options.filter = &balance;
    options.bayerTile = kBayerTileBGGR;
    options.demosaic = DemosaicMethod::kBilinear;

    std::vector<Job> jobs;
    int64 from = 0, to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        const PixelConverter& converter = PixelTypeFactory::GetConverter(from, to);
        std::vector<Job> pairJobs = {{from, to, 20, DemosaicMethod::kBilinear, {}, {}, {}}};
        if (FrameDetail::CanDemosaic(converter, to)) {
            for (DemosaicMethod method :
                 {DemosaicMethod::kGradientCorrected, DemosaicMethod::kEdgeDirected}) {
                pairJobs.push_back({from, to, 136, method, {}, {}, {}});
            }
        }
        for (Job& job : pairJobs) {
            // The better methods write no line past the frame: the footprint is an upper
            // bound for them.
            job.footprint = GetFrameFootprint(converter, job.width, kHeight);
            if (!job.footprint.result) continue;
            job.source.resize(job.footprint.sourceBytes);
            for (size_t k = 0; k < job.source.size(); ++k) {
                job.source[k] = static_cast<unsigned char>(k * 131 + i);
            }
            job.expected = ConvertJob(job, options);
            ASSERT_FALSE(job.expected.empty());
            jobs.push_back(std::move(job));
        }
    }
    ASSERT_GT(jobs.size(), 1000u);
    ASSERT_GT(std::count_if(jobs.begin(), jobs.end(),
                            [](const Job& job) { return job.method != DemosaicMethod::kBilinear; }),
              100);

    FrameDetail::SetMinimumBandPixels(16);
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ConvertOptions mine = options;
            for (size_t k = 0; k < jobs.size(); ++k) {
                // Threads start at different pairs and every fourth call bands its frame.
                const Job& job = jobs[(k + t * jobs.size() / kThreads) % jobs.size()];
                mine.threads = k % 4 == 0 ? 3 : 1;
                if (ConvertJob(job, mine) != job.expected) ++mismatches;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    FrameDetail::SetMinimumBandPixels(uint64_t{1} << 18);
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
}

}  // namespace
