#pragma once

// `--target NAME` for the benchmarks: runs our kernels for one SIMD target the CPU
// supports (AVX2, SSE4, ...), so an AVX-512 machine also reports what older ones get.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "converters/common/KernelChoice.h"

namespace ZnBench {

// Takes `--target NAME` out of the arguments and holds the kernels to that target; false
// (having said why) when the CPU does not have it.
inline bool TakeTargetOption(int& argc, char** argv) {
    using ZnConvertersLib::KernelChoice::AvailableTargets;
    using ZnConvertersLib::KernelChoice::TargetName;
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--target") != 0 || i + 1 == argc) {
            argv[kept++] = argv[i];
            continue;
        }
        const char* name = argv[++i];
        std::string known;
        bool found = false;
        for (int64_t target : AvailableTargets()) {
            if (TargetName(target) == name) {
                ZnConvertersLib::KernelChoice::UseOnlyTargetForTest(target);
                found = true;
            }
            known += " " + TargetName(target);
        }
        if (!found) {
            std::fprintf(stderr, "target %s is not available here; this CPU has:%s\n", name,
                         known.c_str());
            return false;
        }
    }
    argc = kept;
    return true;
}

}  // namespace ZnBench

// BENCHMARK_MAIN with `--target NAME`.
#define ZN_BENCHMARK_MAIN_WITH_TARGET()                                   \
    int main(int argc, char** argv) {                                     \
        if (!ZnBench::TakeTargetOption(argc, argv)) return 2;             \
        benchmark::Initialize(&argc, argv);                               \
        if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1; \
        benchmark::RunSpecifiedBenchmarks();                              \
        benchmark::Shutdown();                                            \
        return 0;                                                         \
    }
