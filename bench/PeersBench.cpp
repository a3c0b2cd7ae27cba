// The conversions users compare us on, beside the libraries they would otherwise pick
// (libyuv, OpenCV) and a memcpy of the destination bytes, in one run, one thread, at
// 640x480 and 1920x1080: the small frame shows the cost per call, the large one the
// throughput once the frame no longer fits in the caches. Repetitions of every variant are
// interleaved so that a noisy neighbour slows all of them alike; the table printed at the
// end gives medians and the ratio of ours to the fastest peer.
//
//   bench_PeersBench [--quick] [--markdown] [--target NAME] [--size WxH[,WxH...]]
//                    [benchmark flags]
//
// --target runs our kernels for one SIMD target the CPU supports (AVX2, SSE4, ...), so an
// AVX-512 machine also reports the speed older ones get. --size (repeatable) replaces the
// two default sizes, e.g. --size 640x480 for a quick look at one. Benchmark names read
// "YUYV -> BGR32 @1920x1080/ours", so --benchmark_filter can pick rows, sizes and variants.
//
// Peers use their own colour matrices and rounding: the comparison is of speed, not
// bytes. Built only where libyuv and OpenCV are installed.

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

constexpr int64 kPlanarBit = 0x800000;

struct Size {
    uint32_t width;
    uint32_t height;
    std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
};
const std::vector<Size> kDefaultSizes = {{640, 480}, {1920, 1080}};

using Peer = std::function<void(const uint8_t* source, uint8_t* destination, int w, int h)>;

struct Row {
    const char* name;
    int64 from;
    int64 to;
    uint32_t flags;
    Peer libyuv;  // empty: no comparable conversion
    Peer opencv;
    uint32_t sampleMask = 0xFF;  // keeps deep samples within their depth
};

// libyuv's whole-frame calls share one shape: (source, stride, destination, stride, width,
// height); strides in bytes of the packed lines.
template <typename Function>
Peer Yuv(Function function, int sourceBytes, int destinationBytes) {
    return [=](const uint8_t* s, uint8_t* d, int w, int h) {
        function(s, sourceBytes * w, d, destinationBytes * w, w, h);
    };
}

// libyuv has no YUV 4:2:2 to RAW call: a user composes one through ARGB, a line at a time
// so that the intermediate stays in the cache.
template <typename ToARGB>
Peer YuvThroughARGB(ToARGB toARGB) {
    return [=](const uint8_t* s, uint8_t* d, int w, int h) {
        static thread_local std::vector<uint8_t> line;
        line.resize(4 * static_cast<size_t>(w));
        for (int y = 0; y < h; ++y) {
            toARGB(s + static_cast<size_t>(y) * 2 * w, 2 * w, line.data(), 4 * w, w, 1);
            libyuv::ARGBToRAW(line.data(), 4 * w, d + static_cast<size_t>(y) * 3 * w, 3 * w, w, 1);
        }
    };
}

// scale: 65536 / 2^(depth - 8).
Peer YuvDeepTo8(int scale) {
    return [=](const uint8_t* s, uint8_t* d, int w, int h) {
        libyuv::Convert16To8Plane(reinterpret_cast<const uint16_t*>(s), w, d, w, scale, w, h);
    };
}

Peer CvtColor(int sourceType, int destinationType, int code) {
    return [=](const uint8_t* s, uint8_t* d, int w, int h) {
        cv::Mat out(h, w, destinationType, d);
        cv::cvtColor(cv::Mat(h, w, sourceType, const_cast<uint8_t*>(s)), out, code);
    };
}

// Our planar RGB: R, G and B planes of width x height bytes, one after the other.
Peer YuvSplit() {
    return [](const uint8_t* s, uint8_t* d, int w, int h) {
        const size_t plane = static_cast<size_t>(w) * h;
        libyuv::SplitRGBPlane(s, 3 * w, d, w, d + plane, w, d + 2 * plane, w, w, h);
    };
}
Peer YuvMerge() {
    return [](const uint8_t* s, uint8_t* d, int w, int h) {
        const size_t plane = static_cast<size_t>(w) * h;
        libyuv::MergeRGBPlane(s, w, s + plane, w, s + 2 * plane, w, d, 3 * w, w, h);
    };
}
// Plane headers over our buffer: OpenCV writes into them as they already have the size.
std::vector<cv::Mat> CvPlanes(const uint8_t* data, int w, int h) {
    const size_t plane = static_cast<size_t>(w) * h;
    uint8_t* base = const_cast<uint8_t*>(data);
    return {cv::Mat(h, w, CV_8UC1, base), cv::Mat(h, w, CV_8UC1, base + plane),
            cv::Mat(h, w, CV_8UC1, base + 2 * plane)};
}
Peer CvSplit() {
    return [](const uint8_t* s, uint8_t* d, int w, int h) {
        std::vector<cv::Mat> planes = CvPlanes(d, w, h);
        cv::split(cv::Mat(h, w, CV_8UC3, const_cast<uint8_t*>(s)), planes.data());
    };
}
Peer CvMerge() {
    return [](const uint8_t* s, uint8_t* d, int w, int h) {
        const std::vector<cv::Mat> planes = CvPlanes(s, w, h);
        cv::Mat out(h, w, CV_8UC3, d);
        cv::merge(planes.data(), planes.size(), out);
    };
}

// Byte orders: our RGB24 (R, G, B in memory) is libyuv's RAW, our BGR24 its RGB24, our
// BGR32 its ARGB. RGB24 sources are 0x20002 except beside planar output, where 0x20002
// reads four bytes a pixel; 0x420002 is the three-byte layout there.
const std::vector<Row>& Rows() {
    using namespace libyuv;
    static const std::vector<Row> rows = {
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
        {"YUYV -> BGR32", 0x40001, 0x20007, 0, Yuv(YUY2ToARGB, 2, 4),
         CvtColor(CV_8UC2, CV_8UC4, cv::COLOR_YUV2BGRA_YUY2)},
        {"YUYV -> RGB24", 0x40001, 0x420002, 0, YuvThroughARGB(YUY2ToARGB),
         CvtColor(CV_8UC2, CV_8UC3, cv::COLOR_YUV2RGB_YUY2)},
        {"UYVY -> BGR32", 0x40008, 0x20007, 0, Yuv(UYVYToARGB, 2, 4),
         CvtColor(CV_8UC2, CV_8UC4, cv::COLOR_YUV2BGRA_UYVY)},
        {"UYVY -> RGB24", 0x40008, 0x420002, 0, YuvThroughARGB(UYVYToARGB),
         CvtColor(CV_8UC2, CV_8UC3, cv::COLOR_YUV2RGB_UYVY)},
        {"RGB24 -> BGR32", 0x20002, 0x20007, 0, Yuv(RAWToARGB, 3, 4),
         CvtColor(CV_8UC3, CV_8UC4, cv::COLOR_RGB2BGRA)},
        {"BGR24 -> BGR32", 0x20006, 0x20007, 0, Yuv(RGB24ToARGB, 3, 4),
         CvtColor(CV_8UC3, CV_8UC4, cv::COLOR_BGR2BGRA)},
        {"BGR32 -> RGB24", 0x20007, 0x420002, 0, Yuv(ARGBToRAW, 4, 3),
         CvtColor(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2RGB)},
        {"BGR32 -> BGR24", 0x20007, 0x420006, 0, Yuv(ARGBToRGB24, 4, 3),
         CvtColor(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2BGR)},
        {"RGB24 -> BGR24", 0x20002, 0x420006, 0, Yuv(RAWToRGB24, 3, 3),
         CvtColor(CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR)},
        {"BGR24 -> RGB24", 0x20006, 0x420002, 0, Yuv(RAWToRGB24, 3, 3),
         CvtColor(CV_8UC3, CV_8UC3, cv::COLOR_BGR2RGB)},
        {"Gray8 -> BGR32", 0x10001, 0x20007, 0, Yuv(J400ToARGB, 1, 4),
         CvtColor(CV_8UC1, CV_8UC4, cv::COLOR_GRAY2BGRA)},
        {"Gray12 -> Gray8", 0x10003, 0x10001, 0, YuvDeepTo8(4096), {}, 0xFFF},
        {"Gray16 -> Gray8", 0x10005, 0x10001, 0, YuvDeepTo8(256), {}, 0xFFFF},
        // The installed libyuv has no RGB24 to RGB565 call.
        {"BGR24 -> RGB565",
         0x20006,
         0x20001,
         0,
         {},
         CvtColor(CV_8UC3, CV_8UC2, cv::COLOR_BGR2BGR565)},
        {"RGB565 -> BGR32", 0x20001, 0x20007, 0, Yuv(RGB565ToARGB, 2, 4),
         CvtColor(CV_8UC2, CV_8UC4, cv::COLOR_BGR5652BGRA)},
        {"RGB64 (10-bit) -> BGR32",
         0x20009,
         0x20007,
         0,
         [](const uint8_t* s, uint8_t* d, int w, int h) {
             // The 16-bit source stride counts samples.
             AR64ToARGB(reinterpret_cast<const uint16_t*>(s), 4 * w, d, 4 * w, w, h);
         },
         {},
         0x3FF},
        {"RGB24 -> planar RGB", 0x420002, 0x820002, 0, YuvSplit(), CvSplit()},
        {"planar RGB -> RGB24", 0x820002, 0x420002, 0, YuvMerge(), CvMerge()},
        {"Gray12 packed -> Gray8", 0x410003, 0x10001, 0, {}, {}},
        {"Gray10 GEV packed -> BGR32", 0x10008, 0x20007, 0, {}, {}},
        {"BGR10 packed V2 -> RGB24", 0x20045, 0x420002, 0, {}, {}},
        {"BGR32 -> BGR32 (identity)", 0x20007, 0x20007, 0, {}, {}},
    };
    return rows;
}

// One row at one size, with the buffers its variants share (made when it first runs).
struct Case {
    const Row* row;
    Size size;
    std::string name;  // "<row> @<W>x<H>"
    std::vector<uint8_t> source{};
    std::vector<uint8_t> destination{};
    std::vector<uint8_t> copy{};
    size_t copyBytes = 0;  // the bytes of the converted image
};

Case& Prepared(Case& c) {
    if (!c.source.empty()) return c;
    const Row& row = *c.row;
    const uint32_t width = c.size.width, height = c.size.height;
    const PixelConverter& converter = PixelTypeFactory::GetConverter(row.from, row.to);
    // Planes lie stride x height apart; the two extra lines are room for the documented
    // overruns of some kernels past the frame.
    const auto bytes = [&](uint32_t line, int64 type) {
        const size_t frame = static_cast<size_t>(line) * height;
        return ((type & kPlanarBit) != 0 ? 3 * frame : frame) + 2 * static_cast<size_t>(line);
    };
    const size_t sourceBytes = bytes(converter.GetSourceLineSize(width), row.from);
    std::mt19937 rng(7);
    c.source.resize(sourceBytes);
    if (row.sampleMask > 0xFF) {
        for (size_t i = 0; i + 1 < sourceBytes; i += 2) {
            const uint32_t v = rng() & row.sampleMask;
            c.source[i] = static_cast<uint8_t>(v);
            c.source[i + 1] = static_cast<uint8_t>(v >> 8);
        }
    } else {
        for (auto& b : c.source) b = static_cast<uint8_t>(rng());
    }
    c.destination.assign(bytes(converter.GetDestinationLineSize(width), row.to), 0);
    c.copyBytes = static_cast<size_t>(converter.GetDestinationPixelSize()) * width * height *
                  ((row.to & kPlanarBit) != 0 ? 3 : 1);
    c.copy.assign(c.copyBytes, 0);
    return c;
}

void SetRate(benchmark::State& state, const Case& c) {
    state.counters["MPix/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * c.size.width * c.size.height / 1e6,
        benchmark::Counter::kIsRate);
}

void Ours(benchmark::State& state, Case* c) {
    const PixelConverter& converter = PixelTypeFactory::GetConverter(c->row->from, c->row->to);
    Prepared(*c);
    const uint32_t w = c->size.width, h = c->size.height;
    for (auto _ : state) {
        converter.Convert(c->source.data(), w, h, c->destination.data(), w, h, w, h, c->row->flags,
                          0, nullptr, nullptr, 0);
        benchmark::ClobberMemory();
    }
    SetRate(state, *c);
}

// The same conversion with a white balance: the filter's look-ups run on every channel.
void OursWhiteBalanced(benchmark::State& state, Case* c) {
    static const RGBFilter* const filter = [] {
        auto* f = new RGBFilter(8);
        f->SetMultipliers(1.2, 1.0, 1.4);
        return f;
    }();
    const PixelConverter& converter = PixelTypeFactory::GetConverter(c->row->from, c->row->to);
    Prepared(*c);
    const uint32_t w = c->size.width, h = c->size.height;
    for (auto _ : state) {
        converter.ConvertFiltered(filter, c->source.data(), w, h, c->destination.data(), w, h, w, h,
                                  c->row->flags, 0, nullptr, nullptr, 0);
        benchmark::ClobberMemory();
    }
    SetRate(state, *c);
}

// Gray sources are never filtered.
bool ColourSource(const Row& row) {
    return ((row.from >> 16) & 0xF) != 1;
}

void RunPeer(benchmark::State& state, Case* c, const Peer* peer) {
    cv::setNumThreads(1);
    Prepared(*c);
    const int w = static_cast<int>(c->size.width), h = static_cast<int>(c->size.height);
    for (auto _ : state) {
        (*peer)(c->source.data(), c->destination.data(), w, h);
        benchmark::ClobberMemory();
    }
    SetRate(state, *c);
}

// The floor every row is held to: writing the destination frame.
void Memcpy(benchmark::State& state, Case* c) {
    Prepared(*c);
    for (auto _ : state) {
        std::memcpy(c->destination.data(), c->copy.data(), c->copyBytes);
        benchmark::ClobberMemory();
    }
    SetRate(state, *c);
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

    // MPix/s of a case's variant, 0 when not run.
    double Rate(const Case& c, const char* variant) const {
        const auto it = mSeconds.find(c.name + "/" + variant);
        if (it == mSeconds.end() || it->second <= 0) return 0;
        return static_cast<double>(c.size.width) * c.size.height / it->second / 1e6;
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
        std::printf("%-28s %-10s", cells[0].c_str(), cells[1].c_str());
        for (size_t i = 2; i < cells.size(); ++i) std::printf(" %14s", cells[i].c_str());
        std::printf("\n");
    }
}

void PrintTable(const std::vector<Case>& cases, const TableReporter& table, bool markdown) {
    std::printf("\n");
    PrintLine({"conversion", "size", "ours", "libyuv", "OpenCV", "memcpy", "ours/best peer",
               "white-balanced/ours"},
              markdown);
    if (markdown) std::printf("|---|---|--:|--:|--:|--:|--:|--:|\n");
    const auto rate = [](double value) { return value > 0 ? Format("%.0f", value) : "-"; };
    for (const Case& c : cases) {
        const double ours = table.Rate(c, "ours");
        const double libyuv = table.Rate(c, "libyuv");
        const double opencv = table.Rate(c, "opencv");
        const double copy = table.Rate(c, "memcpy");
        const double balanced = table.Rate(c, "white-balanced");
        if (ours == 0) continue;
        const double best = std::max(libyuv, opencv);
        std::string ratio = "-";
        if (best > 0) {
            ratio = Format("%.2f", ours / best);
        } else if (copy > 0) {
            ratio = Format("%.2f x memcpy", ours / copy);
        }
        PrintLine({c.row->name, c.size.Name(), rate(ours), rate(libyuv), rate(opencv), rate(copy),
                   ratio, balanced > 0 ? Format("%.2f", balanced / ours) : "-"},
                  markdown);
    }
    if (!markdown) std::printf("(MPix/s)\n");
}

// Appends the sizes of "WxH[,WxH...]"; false, having said why, when one is malformed.
// Even sizes only: YUV 4:2:2 pairs pixels and the mosaics pair lines.
bool ParseSizes(const char* text, std::vector<Size>& sizes) {
    const char* p = text;
    while (true) {
        char* end = nullptr;
        const unsigned long width = std::strtoul(p, &end, 10);
        if (end == p || (*end != 'x' && *end != 'X')) break;
        p = end + 1;
        const unsigned long height = std::strtoul(p, &end, 10);
        if (end == p || width == 0 || height == 0 || width > 65536 || height > 65536 ||
            width % 2 != 0 || height % 2 != 0) {
            break;
        }
        sizes.push_back({static_cast<uint32_t>(width), static_cast<uint32_t>(height)});
        if (*end == '\0') return true;
        if (*end != ',') break;
        p = end + 1;
    }
    std::fprintf(stderr, "--size %s: expected WxH[,WxH...] with even, non-zero W and H\n", text);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (!ZnBench::TakeTargetOption(argc, argv)) return 2;
    bool quick = false, markdown = false;
    std::vector<Size> sizes;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0) {
            quick = true;
        } else if (std::strcmp(argv[i], "--markdown") == 0) {
            markdown = true;
        } else if (std::strcmp(argv[i], "--size") == 0 && i + 1 < argc) {
            if (!ParseSizes(argv[++i], sizes)) return 2;
        } else if (std::strncmp(argv[i], "--size=", 7) == 0) {
            if (!ParseSizes(argv[i] + 7, sizes)) return 2;
        } else {
            args.push_back(argv[i]);
        }
    }
    if (sizes.empty()) sizes = kDefaultSizes;
    std::string repetitions = quick ? "--benchmark_repetitions=2" : "--benchmark_repetitions=5";
    std::string minTime = quick ? "--benchmark_min_time=0.05" : "--benchmark_min_time=0.2";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    args.insert(args.begin() + 1,
                {repetitions.data(), minTime.data(), interleave.data(), aggregates.data()});
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;

    for (const Row& row : Rows()) {
        if (!PixelTypeFactory::HasConverter(row.from, row.to)) {
            std::fprintf(stderr, "no converter for %s\n", row.name);
            return 1;
        }
    }
    // Complete before registering: the benchmarks keep pointers to the cases.
    std::vector<Case> cases;
    for (const Size& size : sizes) {
        for (const Row& row : Rows()) {
            cases.push_back({&row, size, std::string(row.name) + " @" + size.Name()});
        }
    }
    for (Case& c : cases) {
        const Row& row = *c.row;
        benchmark::RegisterBenchmark((c.name + "/ours").c_str(), Ours, &c);
        if (row.libyuv)
            benchmark::RegisterBenchmark((c.name + "/libyuv").c_str(), RunPeer, &c, &row.libyuv);
        if (row.opencv)
            benchmark::RegisterBenchmark((c.name + "/opencv").c_str(), RunPeer, &c, &row.opencv);
        benchmark::RegisterBenchmark((c.name + "/memcpy").c_str(), Memcpy, &c);
        if (ColourSource(row)) {
            benchmark::RegisterBenchmark((c.name + "/white-balanced").c_str(), OursWhiteBalanced,
                                         &c);
        }
    }
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintTable(cases, reporter, markdown);
    benchmark::Shutdown();
    return 0;
}
