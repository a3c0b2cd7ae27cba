// Identity conversion of a 1920x1080 RGB32 frame next to a plain memcpy of the same bytes:
// the cost of the conversion call, its per-thread context and the line walk.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"

namespace {

using namespace ZnConvertersLib;

constexpr uint32_t kWidth = 1920, kHeight = 1080, kBytes = kWidth * kHeight * 4;

void SetRates(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kBytes);
    state.counters["MPix/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                           benchmark::Counter::kIsRate);
}

void BM_Memcpy_RGB32_1080p(benchmark::State& state) {
    std::vector<unsigned char> source(kBytes, 1), destination(kBytes);
    for (auto _ : state) {
        std::memcpy(destination.data(), source.data(), kBytes);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}

// The same bytes copied one line at a time: the floor for any line-by-line conversion.
void BM_MemcpyLines_RGB32_1080p(benchmark::State& state) {
    std::vector<unsigned char> source(kBytes, 1), destination(kBytes);
    const uint32_t stride = kWidth * 4;
    for (auto _ : state) {
        for (uint32_t y = 0; y < kHeight; ++y) {
            std::memcpy(destination.data() + y * stride, source.data() + y * stride, stride);
        }
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}

void BM_IdentityConvert_RGB32_1080p(benchmark::State& state) {
    const int64 id = RGB32::kDefaultID;
    if (!PixelTypeFactory::HasPixelType(id)) {
        RGB32 type;
        PixelTypeFactory::RegisterPixelType(id, &type, nullptr);
    }
    const PixelConverter& converter = PixelTypeFactory::GetConverter(id, id);
    std::vector<unsigned char> source(kBytes, 1), destination(kBytes);
    for (auto _ : state) {
        converter.Convert(source.data(), kWidth, kHeight, destination.data(), kWidth, kHeight,
                          kWidth, kHeight, 0, 0, nullptr, nullptr, 0);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}

BENCHMARK(BM_Memcpy_RGB32_1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemcpyLines_RGB32_1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_IdentityConvert_RGB32_1080p)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
