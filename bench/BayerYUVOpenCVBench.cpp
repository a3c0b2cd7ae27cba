// Bayer demosaicing and YUV conversion at 1920x1080 through Convert, single thread,
// beside OpenCV's cvtColor for the comparable conversions. The gradient-corrected and
// edge-directed methods are reached through the frame API only, so they run beside
// bilinear through the same call, and OpenCV's VNG gives the cost of a better method.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

#include "BenchTargets.h"
#include "ZnConvertersLib/Frame.h"
#include "converters/bayer/BayerConverters.h"
#include "converters/yuv/YUVConverters.h"

using namespace ZnConvertersLib;

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr uint32_t kNeighbourhood = 0x100;

std::vector<unsigned char> RandomBytes(size_t n) {
    std::mt19937 rng(1234);
    std::vector<unsigned char> bytes(n);
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    return bytes;
}

// 12-bit samples in 16-bit little-endian words.
std::vector<unsigned char> RandomWords12(size_t n) {
    std::mt19937 rng(99);
    std::vector<unsigned char> bytes(2 * n);
    for (size_t i = 0; i < n; ++i) {
        const uint32_t v = rng() & 0xFFF;
        bytes[2 * i] = static_cast<unsigned char>(v);
        bytes[2 * i + 1] = static_cast<unsigned char>(v >> 8);
    }
    return bytes;
}

void SetRate(benchmark::State& state) {
    state.counters["MPix/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                           benchmark::Counter::kIsRate);
}

void Run(benchmark::State& state, const PixelConverter& converter,
         const std::vector<unsigned char>& source, uint32_t destinationPixelSize, uint32_t flags) {
    // One spare line: odd heights write one past the end (not the case at 1080, kept for
    // safety if the size changes).
    std::vector<unsigned char> destination(static_cast<size_t>(kWidth) * destinationPixelSize *
                                           (kHeight + 1));
    for (auto _ : state) {
        converter.Convert(source.data(), kWidth, kHeight, destination.data(), kWidth, kHeight,
                          kWidth, kHeight, flags, 0, nullptr, nullptr, 0);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

// Identifiers outside the built-in colour spaces, so nothing clashes with the table.
template <class Converter, class... Extra>
const Converter& Make(int64 source, int64 destination, uint32_t sourcePixelSize,
                      uint32_t destinationPixelSize, Extra... extra) {
    static const Converter converter(source, destination, sourcePixelSize, destinationPixelSize,
                                     extra...);
    return converter;
}

const std::vector<unsigned char>& Mosaic8() {
    static const auto bytes = RandomBytes(static_cast<size_t>(kWidth) * kHeight);
    return bytes;
}
const std::vector<unsigned char>& Mosaic12() {
    static const auto bytes = RandomWords12(static_cast<size_t>(kWidth) * kHeight);
    return bytes;
}
const std::vector<unsigned char>& Packed422() {
    static const auto bytes = RandomBytes(static_cast<size_t>(kWidth) * kHeight * 2);
    return bytes;
}
const std::vector<unsigned char>& Packed444() {
    static const auto bytes = RandomBytes(static_cast<size_t>(kWidth) * kHeight * 3);
    return bytes;
}

// --- this library ----------------------------------------------------------------------

void Bayer8ToRGB24_Block(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned char, OutputRGB24>>(0x70010, 0x70101, 1, 3, 0u), Mosaic8(), 3,
        0x10);
}
void Bayer8ToRGB24_Neighbourhood(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned char, OutputRGB24>>(0x70010, 0x70101, 1, 3, 0u), Mosaic8(), 3,
        0x10 | kNeighbourhood);
}
void Bayer8ToBGR32_Block(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned char, OutputBGR32>>(0x70010, 0x70102, 1, 4, 0u), Mosaic8(), 4,
        0x10);
}
void Bayer8ToBGR32_Neighbourhood(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned char, OutputBGR32>>(0x70010, 0x70102, 1, 4, 0u), Mosaic8(), 4,
        0x10 | kNeighbourhood);
}
void Bayer12ToRGB24_Block(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned short, OutputRGB24>>(0x70012, 0x70101, 2, 3, 4u), Mosaic12(),
        3, 0x10);
}
void Bayer12ToRGB24_Neighbourhood(benchmark::State& state) {
    Run(state, Make<BayerTo<unsigned short, OutputRGB24>>(0x70012, 0x70101, 2, 3, 4u), Mosaic12(),
        3, 0x10 | kNeighbourhood);
}
void YUV422ToBGR32(benchmark::State& state) {
    Run(state, Make<YUV8To<OutputBGR32>>(0x70201, 0x70102, 2, 4), Packed422(), 4, 0);
}
void YUV422ToRGB24(benchmark::State& state) {
    Run(state, Make<YUV8To<OutputRGB24>>(0x70201, 0x70101, 2, 3), Packed422(), 3, 0);
}
void YUV422GEVToBGR32(benchmark::State& state) {
    Run(state, Make<YUV8422GEVTo<OutputBGR32>>(0x70202, 0x70102, 2, 4), Packed422(), 4, 0);
}
void YUV422GEVToRGB24(benchmark::State& state) {
    Run(state, Make<YUV8422GEVTo<OutputRGB24>>(0x70202, 0x70101, 2, 3), Packed422(), 3, 0);
}
void YUV444ToRGB24(benchmark::State& state) {
    Run(state, Make<YUV8444To<OutputRGB24>>(0x70203, 0x70101, 3, 3), Packed444(), 3, 0);
}

// The mosaic through ConvertFrame on the calling thread, tile GRBG as the rows above.
void Frame(benchmark::State& state, int64 destinationType, uint32_t destinationPixelSize,
           DemosaicMethod method) {
    const std::vector<unsigned char>& source = Mosaic8();
    std::vector<unsigned char> destination(static_cast<size_t>(kWidth) * destinationPixelSize *
                                           (kHeight + 1));
    const FrameView in{0x20010, kWidth, kHeight, 0, source.data(), source.size()};
    const MutableFrameView out{destinationType,   kWidth, kHeight, 0, destination.data(),
                               destination.size()};
    ConvertOptions options;
    options.bayerTile = kBayerTileGRBG;
    options.demosaic = method;
    options.threads = 1;
    if (const FrameResult result = ConvertFrame(in, out, options); !result) {
        state.SkipWithError(result.message.c_str());
        return;
    }
    for (auto _ : state) {
        ConvertFrame(in, out, options);
        benchmark::DoNotOptimize(destination.data());
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

constexpr int64 kRGB24 = 0x420002;
constexpr int64 kBGR32 = 0x20007;

void Frame_Bayer8ToRGB24_Bilinear(benchmark::State& state) {
    Frame(state, kRGB24, 3, DemosaicMethod::kBilinear);
}
void Frame_Bayer8ToRGB24_GradientCorrected(benchmark::State& state) {
    Frame(state, kRGB24, 3, DemosaicMethod::kGradientCorrected);
}
void Frame_Bayer8ToRGB24_EdgeDirected(benchmark::State& state) {
    Frame(state, kRGB24, 3, DemosaicMethod::kEdgeDirected);
}
void Frame_Bayer8ToBGR32_Bilinear(benchmark::State& state) {
    Frame(state, kBGR32, 4, DemosaicMethod::kBilinear);
}
void Frame_Bayer8ToBGR32_GradientCorrected(benchmark::State& state) {
    Frame(state, kBGR32, 4, DemosaicMethod::kGradientCorrected);
}
void Frame_Bayer8ToBGR32_EdgeDirected(benchmark::State& state) {
    Frame(state, kBGR32, 4, DemosaicMethod::kEdgeDirected);
}

BENCHMARK(Bayer8ToRGB24_Block);
BENCHMARK(Bayer8ToRGB24_Neighbourhood);
BENCHMARK(Bayer8ToBGR32_Block);
BENCHMARK(Bayer8ToBGR32_Neighbourhood);
BENCHMARK(Frame_Bayer8ToRGB24_Bilinear);
BENCHMARK(Frame_Bayer8ToRGB24_GradientCorrected);
BENCHMARK(Frame_Bayer8ToRGB24_EdgeDirected);
BENCHMARK(Frame_Bayer8ToBGR32_Bilinear);
BENCHMARK(Frame_Bayer8ToBGR32_GradientCorrected);
BENCHMARK(Frame_Bayer8ToBGR32_EdgeDirected);
BENCHMARK(Bayer12ToRGB24_Block);
BENCHMARK(Bayer12ToRGB24_Neighbourhood);
BENCHMARK(YUV422ToBGR32);
BENCHMARK(YUV422ToRGB24);
BENCHMARK(YUV422GEVToBGR32);
BENCHMARK(YUV422GEVToRGB24);
BENCHMARK(YUV444ToRGB24);

// --- OpenCV --------------------------------------------------------------------------

void OpenCV(benchmark::State& state, const std::vector<unsigned char>& source, int sourceType,
            int code) {
    cv::setNumThreads(1);
    const cv::Mat input(kHeight, kWidth, sourceType, const_cast<unsigned char*>(source.data()));
    cv::Mat output;
    cv::cvtColor(input, output, code);  // allocate once
    for (auto _ : state) {
        cv::cvtColor(input, output, code);
        benchmark::DoNotOptimize(output.data);
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

void OpenCV_BayerGR2RGB(benchmark::State& state) {
    OpenCV(state, Mosaic8(), CV_8UC1, cv::COLOR_BayerGR2RGB);
}
void OpenCV_BayerGR2BGRA(benchmark::State& state) {
    OpenCV(state, Mosaic8(), CV_8UC1, cv::COLOR_BayerGR2BGRA);
}
void OpenCV_BayerGR2RGB_VNG(benchmark::State& state) {
    OpenCV(state, Mosaic8(), CV_8UC1, cv::COLOR_BayerGR2RGB_VNG);
}
void OpenCV_YUY2ToBGRA(benchmark::State& state) {
    OpenCV(state, Packed422(), CV_8UC2, cv::COLOR_YUV2BGRA_YUY2);
}
void OpenCV_YUY2ToRGB(benchmark::State& state) {
    OpenCV(state, Packed422(), CV_8UC2, cv::COLOR_YUV2RGB_YUY2);
}
void OpenCV_UYVYToBGRA(benchmark::State& state) {
    OpenCV(state, Packed422(), CV_8UC2, cv::COLOR_YUV2BGRA_UYVY);
}
void OpenCV_UYVYToRGB(benchmark::State& state) {
    OpenCV(state, Packed422(), CV_8UC2, cv::COLOR_YUV2RGB_UYVY);
}
void OpenCV_YUV444ToRGB(benchmark::State& state) {
    OpenCV(state, Packed444(), CV_8UC3, cv::COLOR_YUV2RGB);
}

BENCHMARK(OpenCV_BayerGR2RGB);
BENCHMARK(OpenCV_BayerGR2BGRA);
BENCHMARK(OpenCV_BayerGR2RGB_VNG);
BENCHMARK(OpenCV_YUY2ToBGRA);
BENCHMARK(OpenCV_YUY2ToRGB);
BENCHMARK(OpenCV_UYVYToBGRA);
BENCHMARK(OpenCV_UYVYToRGB);
BENCHMARK(OpenCV_YUV444ToRGB);

}  // namespace

ZN_BENCHMARK_MAIN_WITH_TARGET()
