// What a conversion costs apart from its pixels: a 2x2 colour frame (call, context,
// filter settling, two line calls), and a tall one-pixel-wide frame, whose time per line
// is the per-line overhead of the line walk and the kernel entry (its lines padded: a
// continuous frame would convert as one line).
#include <benchmark/benchmark.h>

#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"

namespace {

using namespace ZnConvertersLib;

constexpr int64 kRGB24 = 0x20002;   // RGB 24-bits
constexpr int64 kBGR32 = 0x20007;   // BGR 32-bits
constexpr int64 kYUV422 = 0x40001;  // YUV 4:2:2, 8-bit

void RunFrame(benchmark::State& state, int64 from, int64 to, uint32_t width, uint32_t height,
              const RGBFilter* filter, uint32_t sourcePadding = 0) {
    const PixelConverter& converter = PixelTypeFactory::GetConverter(from, to);
    std::vector<unsigned char> source(
        (converter.GetSourceLineSize(width) + sourcePadding) * height + 64, 7);
    std::vector<unsigned char> destination(converter.GetDestinationLineSize(width) * height + 64);
    for (auto _ : state) {
        converter.ConvertFiltered(filter, source.data(), width, height, destination.data(), width,
                                  height, width, height, 0, 0, nullptr, nullptr, sourcePadding);
        benchmark::DoNotOptimize(destination.data());
    }
    // Seconds per line, printed with an SI prefix (e.g. 3.1n).
    state.counters["per_line"] = benchmark::Counter(
        height, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Convert2x2_RGB24ToBGR32(benchmark::State& state) {
    RunFrame(state, kRGB24, kBGR32, 2, 2, nullptr);
}
void BM_Convert2x2_YUV422ToBGR32(benchmark::State& state) {
    RunFrame(state, kYUV422, kBGR32, 2, 2, nullptr);
}
void BM_Convert2x2_RGB24ToBGR32_Filtered(benchmark::State& state) {
    RGBFilter filter(8);
    filter.SetMultipliers(1.2, 1.0, 1.4);
    RunFrame(state, kRGB24, kBGR32, 2, 2, &filter);
}
void BM_Convert1x1024_RGB24ToBGR32(benchmark::State& state) {
    RunFrame(state, kRGB24, kBGR32, 1, 1024, nullptr, 1);
}

BENCHMARK(BM_Convert2x2_RGB24ToBGR32);
BENCHMARK(BM_Convert2x2_YUV422ToBGR32);
BENCHMARK(BM_Convert2x2_RGB24ToBGR32_Filtered);
BENCHMARK(BM_Convert1x1024_RGB24ToBGR32);

}  // namespace

BENCHMARK_MAIN();
