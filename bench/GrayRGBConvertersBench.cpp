// Whole-frame conversions of the gray and RGB families at 1920 x 1080 on one thread,
// through the public conversion call, against a plain copy of the destination frame.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/bitpacked/BitPackedRGBConverters.h"
#include "converters/common/OutputPolicies.h"
#include "converters/gray/GrayscaleConverters.h"
#include "converters/rgb/PackedRGBConverters.h"

using namespace ZnConvertersLib;

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr double kPixels = double(kWidth) * kHeight;

void ReportRates(benchmark::State& state, size_t sourceBytes, size_t destinationBytes) {
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(sourceBytes + destinationBytes));
    // Shown as pixels per second with an SI prefix: "pixels=2.5G/s" is 2500 MPix/s.
    state.counters["pixels"] =
        benchmark::Counter(double(state.iterations()) * kPixels, benchmark::Counter::kIsRate);
}

// sourceBytes covers every plane of a planar source.
void RunConversion(benchmark::State& state, const PixelConverter& converter, size_t sourceBytes,
                   size_t destinationBytes, const RGBFilter* filter = nullptr) {
    std::vector<unsigned char> source(sourceBytes);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 131 + 7);
    std::vector<unsigned char> destination(destinationBytes);
    for (auto _ : state) {
        converter.ConvertFiltered(filter, source.data(), kWidth, kHeight, destination.data(),
                                  kWidth, kHeight, kWidth, kHeight, 0, 0, nullptr, nullptr, 0);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    ReportRates(state, sourceBytes, destinationBytes);
}

void BM_Packed12GrayToRGB32(benchmark::State& state) {
    static const Grayscale12PackedTo<OutputRGB32> converter(0x410003, 0x20003, 2, 4, 4);
    RunConversion(state, converter, size_t(kWidth) * 3 / 2 * kHeight, size_t(kWidth) * 4 * kHeight);
}

void BM_Mono16ToMono8(benchmark::State& state) {
    static const GrayscaleTo<unsigned short, OutputGrayscale8> converter(0x10005, 0x10001, 2, 1, 8);
    RunConversion(state, converter, size_t(kWidth) * 2 * kHeight, size_t(kWidth) * kHeight);
}

void BM_RGB24ToBGR32(benchmark::State& state) {
    static const RGB24PackedTo<OutputBGR32> converter(0x420002, 0x20007, 3, 4);
    RunConversion(state, converter, size_t(kWidth) * 3 * kHeight, size_t(kWidth) * 4 * kHeight);
}

// The same with a white balance: the look-ups stay in the vector rows.
void BM_RGB24ToBGR32_WhiteBalance(benchmark::State& state) {
    static const RGB24PackedTo<OutputBGR32> converter(0x420002, 0x20007, 3, 4);
    RGBFilter filter(8);
    filter.SetMultipliers(1.2, 1.0, 1.4);
    RunConversion(state, converter, size_t(kWidth) * 3 * kHeight, size_t(kWidth) * 4 * kHeight,
                  &filter);
}

void BM_BGR10PackedV2ToRGB24(benchmark::State& state) {
    static const BGR10PackedV2To<OutputRGB24> converter(0x20045, 0x420002, 4, 3);
    RunConversion(state, converter, size_t(kWidth) * 4 * kHeight, size_t(kWidth) * 3 * kHeight);
}

void BM_Planar8ToRGB24(benchmark::State& state) {
    static const RGBPlanarTo<unsigned char, OutputRGB24> converter(0x820002, 0x420002, 1, 3, 0);
    RunConversion(state, converter, size_t(kWidth) * 3 * kHeight, size_t(kWidth) * 3 * kHeight);
}

// Copy of a destination-sized frame (bytes per pixel as the argument): what moving the
// output alone costs.
void BM_MemcpyDestinationFrame(benchmark::State& state) {
    const size_t bytes = size_t(kWidth) * kHeight * size_t(state.range(0));
    std::vector<unsigned char> source(bytes, 0x5A), destination(bytes);
    for (auto _ : state) {
        std::memcpy(destination.data(), source.data(), bytes);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    ReportRates(state, bytes, bytes);
}

}  // namespace

BENCHMARK(BM_Packed12GrayToRGB32)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Mono16ToMono8)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RGB24ToBGR32)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RGB24ToBGR32_WhiteBalance)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_BGR10PackedV2ToRGB24)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Planar8ToRGB24)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemcpyDestinationFrame)->Arg(1)->Arg(3)->Arg(4)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
