// The conversions users compare us on, beside the libraries they would otherwise pick
// (libyuv, OpenCV) and a memcpy of the destination bytes, in one run, one thread,
// 1920x1080. Repetitions of every variant are interleaved so that a noisy neighbour
// slows all of them alike; the table printed at the end gives medians and the ratio of
// ours to the fastest peer.
//
//   bench_PeersBench [--quick] [--markdown] [--target NAME] [benchmark flags]
//
// --target runs our kernels for one SIMD target the CPU supports (AVX2, SSE4, ...), so an
// AVX-512 machine also reports the speed older ones get.
//
// Peers use their own colour matrices and rounding: the comparison is of speed, not
// bytes. Built only where libyuv and OpenCV are installed.

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

#include "BenchTargets.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/common/KernelChoice.h"

using namespace ZnConvertersLib;

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr int kW = static_cast<int>(kWidth);
constexpr int kH = static_cast<int>(kHeight);
constexpr int64 kPlanarBit = 0x800000;

using Peer = std::function<void(const uint8_t* source, uint8_t* destination)>;

struct Row {
    const char* name;
    int64 from;
    int64 to;
    uint32_t flags;
    Peer libyuv;  // empty: no comparable conversion
    Peer opencv;
    uint32_t sampleMask = 0xFF;  // keeps deep samples within their depth
};

cv::Mat Frame(const uint8_t* data, int type) {
    return cv::Mat(kH, kW, type, const_cast<uint8_t*>(data));
}
Peer CvtColor(int sourceType, int destinationType, int code) {
    return [=](const uint8_t* source, uint8_t* destination) {
        cv::Mat out(kH, kW, destinationType, destination);
        cv::cvtColor(Frame(source, sourceType), out, code);
    };
}

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {"YUYV -> BGR32", 0x40001, 0x20007, 0,
         [](const uint8_t* s, uint8_t* d) { libyuv::YUY2ToARGB(s, 2 * kW, d, 4 * kW, kW, kH); },
         CvtColor(CV_8UC2, CV_8UC4, cv::COLOR_YUV2BGRA_YUY2)},
        {"UYVY -> RGB24",
         0x40008,
         0x420002,
         0,
         {},
         CvtColor(CV_8UC2, CV_8UC3, cv::COLOR_YUV2RGB_UYVY)},
        {"RGB24 -> BGR32", 0x20002, 0x20007, 0,
         [](const uint8_t* s, uint8_t* d) { libyuv::RAWToARGB(s, 3 * kW, d, 4 * kW, kW, kH); },
         CvtColor(CV_8UC3, CV_8UC4, cv::COLOR_RGB2BGRA)},
        {"BGR32 -> RGB24", 0x20007, 0x420002, 0,
         [](const uint8_t* s, uint8_t* d) { libyuv::ARGBToRAW(s, 4 * kW, d, 3 * kW, kW, kH); },
         CvtColor(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2RGB)},
        {"Gray8 -> BGR32", 0x10001, 0x20007, 0,
         [](const uint8_t* s, uint8_t* d) { libyuv::J400ToARGB(s, kW, d, 4 * kW, kW, kH); },
         CvtColor(CV_8UC1, CV_8UC4, cv::COLOR_GRAY2BGRA)},
        {"Gray12 -> Gray8",
         0x10003,
         0x10001,
         0,
         [](const uint8_t* s, uint8_t* d) {
             libyuv::Convert16To8Plane(reinterpret_cast<const uint16_t*>(s), kW, d, kW, 4096, kW,
                                       kH);
         },
         {},
         0xFFF},
        {"Bayer8 bilinear -> RGB24",
         0x20010,
         0x420002,
         0x110,
         {},
         CvtColor(CV_8UC1, CV_8UC3, cv::COLOR_BayerGR2RGB)},
        {"Bayer8 bilinear -> BGR32",
         0x20010,
         0x20007,
         0x110,
         {},
         CvtColor(CV_8UC1, CV_8UC4, cv::COLOR_BayerGR2BGRA)},
        {"Bayer8 block -> RGB24", 0x20010, 0x420002, 0x10, {}, {}},
        {"Bayer12 bilinear -> RGB24", 0x20012, 0x420002, 0x110, {}, {}, 0xFFF},
        {"BGR24 -> RGB565",
         0x20006,
         0x20001,
         0,
         {},
         CvtColor(CV_8UC3, CV_8UC2, cv::COLOR_BGR2BGR565)},
        {"RGB565 -> BGR32", 0x20001, 0x20007, 0,
         [](const uint8_t* s, uint8_t* d) { libyuv::RGB565ToARGB(s, 2 * kW, d, 4 * kW, kW, kH); },
         CvtColor(CV_8UC2, CV_8UC4, cv::COLOR_BGR5652BGRA)},
        {"RGB64 (10-bit) -> BGR32",
         0x20009,
         0x20007,
         0,
         [](const uint8_t* s, uint8_t* d) {
             libyuv::AR64ToARGB(reinterpret_cast<const uint16_t*>(s), 4 * kW, d, 4 * kW, kW, kH);
         },
         {},
         0x3FF},
        {"RGB24 -> planar RGB",
         0x20002,
         0x820002,
         0,
         [](const uint8_t* s, uint8_t* d) {
             const size_t plane = static_cast<size_t>(kW) * kH;
             libyuv::SplitRGBPlane(s, 3 * kW, d, kW, d + plane, kW, d + 2 * plane, kW, kW, kH);
         },
         {}},
        {"Gray10 GEV packed -> BGR32", 0x10008, 0x20007, 0, {}, {}},
        {"BGR10 packed V2 -> RGB24", 0x20045, 0x420002, 0, {}, {}},
    };
    return rows;
}

// One row's buffers, shared by its variants.
struct Frames {
    std::vector<uint8_t> source;
    std::vector<uint8_t> destination;
    std::vector<uint8_t> copy;
    size_t copyBytes = 0;  // the bytes of the converted image
};

Frames& FramesOf(const Row& row) {
    static std::map<const Row*, Frames> frames;
    Frames& f = frames[&row];
    if (f.source.empty()) {
        const PixelConverter& converter = PixelTypeFactory::GetConverter(row.from, row.to);
        // Room for the documented overruns of some kernels past the frame.
        const size_t sourceBytes =
            static_cast<size_t>(converter.GetSourceLineSize(kWidth)) * (kHeight + 2);
        // Planar output puts each plane a whole destination frame (stride times height)
        // after the one before.
        const size_t frame =
            static_cast<size_t>(converter.GetDestinationLineSize(kWidth)) * (kHeight + 2);
        const size_t destinationBytes = (row.to & kPlanarBit) != 0 ? 3 * frame : frame;
        std::mt19937 rng(7);
        f.source.resize(sourceBytes);
        if (row.sampleMask > 0xFF) {
            for (size_t i = 0; i + 1 < sourceBytes; i += 2) {
                const uint32_t v = rng() & row.sampleMask;
                f.source[i] = static_cast<uint8_t>(v);
                f.source[i + 1] = static_cast<uint8_t>(v >> 8);
            }
        } else {
            for (auto& b : f.source) b = static_cast<uint8_t>(rng());
        }
        f.destination.assign(destinationBytes, 0);
        f.copyBytes = static_cast<size_t>(converter.GetDestinationPixelSize()) * kWidth * kHeight;
        f.copy.assign(f.copyBytes, 0);
    }
    return f;
}

void SetRate(benchmark::State& state) {
    state.counters["MPix/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                           benchmark::Counter::kIsRate);
}

void Ours(benchmark::State& state, const Row* row) {
    const PixelConverter& converter = PixelTypeFactory::GetConverter(row->from, row->to);
    Frames& f = FramesOf(*row);
    for (auto _ : state) {
        converter.Convert(f.source.data(), kWidth, kHeight, f.destination.data(), kWidth, kHeight,
                          kWidth, kHeight, row->flags, 0, nullptr, nullptr, 0);
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

// The same conversion with a white balance: the filter's look-ups run on every channel.
void OursWhiteBalanced(benchmark::State& state, const Row* row) {
    static const RGBFilter* const filter = [] {
        auto* f = new RGBFilter(8);
        f->SetMultipliers(1.2, 1.0, 1.4);
        return f;
    }();
    const PixelConverter& converter = PixelTypeFactory::GetConverter(row->from, row->to);
    Frames& f = FramesOf(*row);
    for (auto _ : state) {
        converter.ConvertFiltered(filter, f.source.data(), kWidth, kHeight, f.destination.data(),
                                  kWidth, kHeight, kWidth, kHeight, row->flags, 0, nullptr, nullptr,
                                  0);
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

// Gray sources are never filtered.
bool ColourSource(const Row& row) {
    return ((row.from >> 16) & 0xF) != 1;
}

void RunPeer(benchmark::State& state, const Row* row, const Peer* peer) {
    cv::setNumThreads(1);
    Frames& f = FramesOf(*row);
    for (auto _ : state) {
        (*peer)(f.source.data(), f.destination.data());
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

// The floor every row is held to: writing the destination frame.
void Memcpy(benchmark::State& state, const Row* row) {
    Frames& f = FramesOf(*row);
    for (auto _ : state) {
        std::memcpy(f.destination.data(), f.copy.data(), f.copyBytes);
        benchmark::ClobberMemory();
    }
    SetRate(state);
}

// Collects the median time of every variant while the console reporter prints as usual.
class TableReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            const std::string name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            if (run.run_type == Run::RT_Iteration && run.repetitions > 1) continue;
            mSeconds[name] = run.GetAdjustedCPUTime() / 1e9;
        }
    }

    // MPix/s of row/variant, 0 when not run.
    double Rate(const std::string& row, const char* variant) const {
        const auto it = mSeconds.find(row + "/" + variant);
        return it == mSeconds.end() || it->second <= 0 ? 0 : kWidth * kHeight / it->second / 1e6;
    }

private:
    std::map<std::string, double> mSeconds;
};

std::string Format(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

void PrintLine(const std::vector<std::string>& cells, bool markdown) {
    if (markdown) {
        for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
        std::printf("|\n");
    } else {
        std::printf("%-28s", cells[0].c_str());
        for (size_t i = 1; i < cells.size(); ++i) std::printf(" %14s", cells[i].c_str());
        std::printf("\n");
    }
}

void PrintTable(const TableReporter& table, bool markdown) {
    std::printf("\n");
    PrintLine({"conversion", "ours", "libyuv", "OpenCV", "memcpy", "ours/best peer",
               "white-balanced/ours"},
              markdown);
    if (markdown) std::printf("|---|--:|--:|--:|--:|--:|--:|\n");
    const auto rate = [](double value) { return value > 0 ? Format("%.0f", value) : "-"; };
    for (const Row& row : Rows()) {
        const double ours = table.Rate(row.name, "ours");
        const double libyuv = table.Rate(row.name, "libyuv");
        const double opencv = table.Rate(row.name, "opencv");
        const double copy = table.Rate(row.name, "memcpy");
        const double balanced = table.Rate(row.name, "white-balanced");
        if (ours == 0) continue;
        const double best = std::max(libyuv, opencv);
        PrintLine({row.name, rate(ours), rate(libyuv), rate(opencv), rate(copy),
                   best > 0 ? Format("%.2f", ours / best) : Format("%.2f x memcpy", ours / copy),
                   balanced > 0 ? Format("%.2f", balanced / ours) : "-"},
                  markdown);
    }
    if (!markdown) std::printf("(MPix/s)\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (!ZnBench::TakeTargetOption(argc, argv)) return 2;
    bool quick = false, markdown = false;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0) {
            quick = true;
        } else if (std::strcmp(argv[i], "--markdown") == 0) {
            markdown = true;
        } else {
            args.push_back(argv[i]);
        }
    }
    std::string repetitions = quick ? "--benchmark_repetitions=2" : "--benchmark_repetitions=5";
    std::string minTime = quick ? "--benchmark_min_time=0.05" : "--benchmark_min_time=0.2";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    args.insert(args.begin() + 1,
                {repetitions.data(), minTime.data(), interleave.data(), aggregates.data()});
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());

    for (const Row& row : Rows()) {
        if (!PixelTypeFactory::HasConverter(row.from, row.to)) {
            std::fprintf(stderr, "no converter for %s\n", row.name);
            return 1;
        }
    }
    for (const Row& row : Rows()) {
        const std::string name = row.name;
        benchmark::RegisterBenchmark((name + "/ours").c_str(), Ours, &row);
        if (row.libyuv)
            benchmark::RegisterBenchmark((name + "/libyuv").c_str(), RunPeer, &row, &row.libyuv);
        if (row.opencv)
            benchmark::RegisterBenchmark((name + "/opencv").c_str(), RunPeer, &row, &row.opencv);
        benchmark::RegisterBenchmark((name + "/memcpy").c_str(), Memcpy, &row);
        if (ColourSource(row)) {
            benchmark::RegisterBenchmark((name + "/white-balanced").c_str(), OursWhiteBalanced,
                                         &row);
        }
    }
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintTable(reporter, markdown);
    benchmark::Shutdown();
    return 0;
}
