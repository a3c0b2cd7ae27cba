// The camera packings registered on demand, one thread, 1920x1080, each beside a memcpy
// of the bytes it writes: the decoders should run at memory speed.
//
//   bench_CameraFormatsBench --benchmark_repetitions=5 --benchmark_report_aggregates_only

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "BenchTargets.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;

namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1080;

struct Row {
    const char* name;
    int64 from, to;
};

const Row kRows[] = {
    {"Mono10p_Gray16FullRange", kPixelTypeMono10p, kPixelTypeGray16FullRange},
    {"Mono12p_Gray16FullRange", 0x410003, kPixelTypeGray16FullRange},
    {"Mono12p_Gray8", 0x410003, 0x10001},
    {"Mono10_Gray16FullRange", 0x10002, kPixelTypeGray16FullRange},
    {"Mono10p_Gray8", kPixelTypeMono10p, 0x10001},
    {"BayerRG10p_RGB24", kPixelTypeBayer10p, 0x420002},
    {"RGB10p32_RGB24", kPixelTypeRGB10p32, 0x420002},
    {"Bayer12_RGB48_bilinear", 0x20012, kPixelTypeRGB48},
};

struct Frames {
    explicit Frames(const Row& row) {
        RegisterCameraFormats();
        footprint =
            GetFrameFootprint(PixelTypeFactory::GetConverter(row.from, row.to), kWidth, kHeight);
        source.resize(footprint.sourceBytes);
        for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 7);
        destination.resize(footprint.destinationBytes);
    }
    FrameFootprint footprint;
    std::vector<unsigned char> source, destination;
};

void Convert(benchmark::State& state, const Row& row) {
    Frames frames(row);
    ConvertOptions options;
    options.bayerTile = kBayerTileRGGB;
    options.demosaic = DemosaicMethod::kBilinear;
    const FrameView in{row.from, kWidth, kHeight, 0, frames.source.data(), frames.source.size()};
    const MutableFrameView out{
        row.to, kWidth, kHeight, 0, frames.destination.data(), frames.destination.size()};
    for (auto _ : state) {
        if (!ConvertFrame(in, out, options)) state.SkipWithError("conversion refused");
        benchmark::DoNotOptimize(frames.destination.data());
    }
    state.counters["MPix/s"] =
        benchmark::Counter(kWidth * kHeight * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

void Memcpy(benchmark::State& state, const Row& row) {
    Frames frames(row);
    std::vector<unsigned char> from(frames.destination.size(), 1);
    for (auto _ : state) {
        std::memcpy(frames.destination.data(), from.data(), from.size());
        benchmark::DoNotOptimize(frames.destination.data());
    }
    state.counters["MPix/s"] =
        benchmark::Counter(kWidth * kHeight * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

const int kRegistered = [] {
    for (const Row& row : kRows) {
        benchmark::RegisterBenchmark((std::string(row.name) + "/ours").c_str(), Convert, row)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((std::string(row.name) + "/memcpy").c_str(), Memcpy, row)
            ->Unit(benchmark::kMicrosecond);
    }
    return 0;
}();

}  // namespace

ZN_BENCHMARK_MAIN_WITH_TARGET()
