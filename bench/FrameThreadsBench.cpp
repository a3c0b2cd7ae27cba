// The frame API on one thread and on two: the same conversion, the same frame, bands on
// the worker pool for the second. Speed in MPix/s; the ratio of the two runs of a row is
// the gain from the second thread (below 1 at small frames would mean banding costs).
//
//   bench_FrameThreadsBench --benchmark_repetitions=5 --benchmark_report_aggregates_only

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;

namespace {

struct Row {
    const char* name;
    int64 from, to;
    DemosaicMethod method;
};

const Row kRows[] = {
    {"Bayer8Bilinear_RGB24", 0x20010, 0x420002, DemosaicMethod::kBilinear},
    {"YUYV_BGR32", 0x40001, 0x20007, DemosaicMethod::kBlock},
    {"RGB24_BGR32", 0x420002, 0x20007, DemosaicMethod::kBlock},
};

void ConvertFrames(benchmark::State& state, const Row& row, uint32_t width, uint32_t height) {
    const uint32_t threads = static_cast<uint32_t>(state.range(0));
    const FrameFootprint footprint =
        GetFrameFootprint(PixelTypeFactory::GetConverter(row.from, row.to), width, height);
    std::vector<unsigned char> source(footprint.sourceBytes);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 37);
    std::vector<unsigned char> destination(footprint.destinationBytes);
    ConvertOptions options;
    options.demosaic = row.method;
    options.threads = threads;
    const FrameView in{row.from, width, height, 0, source.data(), source.size()};
    const MutableFrameView out{row.to, width, height, 0, destination.data(), destination.size()};
    for (auto _ : state) {
        if (!ConvertFrame(in, out, options)) state.SkipWithError("conversion refused");
        benchmark::DoNotOptimize(destination.data());
    }
    state.counters["MPix/s"] = benchmark::Counter(static_cast<double>(width) * height * 1e-6,
                                                  benchmark::Counter::kIsIterationInvariantRate);
}

const int kRegistered = [] {
    const struct { uint32_t width, height; } sizes[] = {{640, 480}, {1920, 1080}, {4096, 3000}};
    for (const Row& row : kRows) {
        for (const auto& size : sizes) {
            const std::string name = std::string(row.name) + "/" + std::to_string(size.width) +
                                     "x" + std::to_string(size.height) + "/threads";
            benchmark::RegisterBenchmark(name.c_str(), ConvertFrames, row, size.width, size.height)
                ->Arg(1)
                ->Arg(2)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
