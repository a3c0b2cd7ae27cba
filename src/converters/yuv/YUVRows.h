#pragma once

// Row loop shared by the YUV layouts: the layouts differ only in where a group keeps its
// samples and how many pixels share its chroma, so each is a small description type and
// one loop serves them all.

#include <array>
#include <cstddef>
#include <cstdint>

#include "converters/common/KernelSupport.h"
#include "converters/yuv/YUVKernels.h"

namespace ZnConvertersLib {
namespace YUVDetail {

// Studio-range YCbCr to RGB in fixed point with 10 fractional bits.
constexpr int32_t kFractionBits = 10;
constexpr int32_t kLumaGain = 1196;
constexpr int32_t kVToRed = 1642;
constexpr int32_t kUToGreen = 400;
constexpr int32_t kVToGreen = 832;
constexpr int32_t kUToBlue = 2064;
constexpr int32_t kRoundingBias = 512;  // half of 1 << kFractionBits: round half up
constexpr int32_t kLumaBlack = 16;
constexpr int32_t kChromaZero = 128;

// The saturation table has 1280 entries read at v + kSaturationOffset; 8-bit inputs give
// results in -277 ... 535, well inside its range.
constexpr uint32_t kSaturationSize = 1280;
constexpr int32_t kSaturationOffset = 512;

// Chroma terms of one group, rounding bias included, shared by every pixel of the group.
struct ChromaTerms {
    int32_t red;
    int32_t green;
    int32_t blue;
};

inline ChromaTerms MakeChromaTerms(int32_t u, int32_t v) {
    const int32_t cu = u - kChromaZero;
    const int32_t cv = v - kChromaZero;
    return {kVToRed * cv + kRoundingBias, kRoundingBias - kUToGreen * cu - kVToGreen * cv,
            kUToBlue * cu + kRoundingBias};
}

// Sample readers. Deep samples are little-endian words shifted down to 8 bits; the result
// must stay within 8 bits to index the saturation table safely, so a sample above its
// declared depth counts as full scale.
struct Bytes {
    static constexpr std::size_t kSampleSize = 1;
    static int32_t Load(const unsigned char* group, uint32_t index, uint32_t) {
        return group[index];
    }
};

struct ShiftedWords {
    static constexpr std::size_t kSampleSize = 2;
    static int32_t Load(const unsigned char* group, uint32_t index, uint32_t shift) {
        const uint32_t v = LoadLE16(group + 2 * index) >> shift;
        return static_cast<int32_t>(v < 255u ? v : 255u);
    }
};

// Layout descriptions: sample positions within one group, and the vector row's name for
// the layout.
struct Layout422 {  // Y0 U Y1 V
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::k422;
    static constexpr uint32_t kPixels = 2, kSamples = 4, kU = 1, kV = 3;
    static constexpr std::array<uint32_t, kPixels> kY{0, 2};
};
struct Layout422GEV {  // U Y0 V Y1
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::k422GEV;
    static constexpr uint32_t kPixels = 2, kSamples = 4, kU = 0, kV = 2;
    static constexpr std::array<uint32_t, kPixels> kY{1, 3};
};
struct Layout411 {  // U Y0 Y1 V Y2 Y3
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::k411;
    static constexpr uint32_t kPixels = 4, kSamples = 6, kU = 0, kV = 3;
    static constexpr std::array<uint32_t, kPixels> kY{1, 2, 4, 5};
};
struct Layout444 {  // Y U V
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::k444;
    static constexpr uint32_t kPixels = 1, kSamples = 3, kU = 1, kV = 2;
    static constexpr std::array<uint32_t, kPixels> kY{0};
};
struct Layout444GEV {  // U Y V
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::k444GEV;
    static constexpr uint32_t kPixels = 1, kSamples = 3, kU = 0, kV = 2;
    static constexpr std::array<uint32_t, kPixels> kY{1};
};
struct LayoutYCrCb {  // Y Cr Cb
    using Reader = Bytes;
    static constexpr YUVLayout kKernel = YUVLayout::kYCrCb;
    static constexpr uint32_t kPixels = 1, kSamples = 3, kU = 2, kV = 1;
    static constexpr std::array<uint32_t, kPixels> kY{0};
};
struct Layout422Words {  // Y0 U Y1 V, 16-bit samples
    using Reader = ShiftedWords;
    static constexpr YUVLayout kKernel = YUVLayout::k422Words;
    static constexpr uint32_t kPixels = 2, kSamples = 4, kU = 1, kV = 3;
    static constexpr std::array<uint32_t, kPixels> kY{0, 2};
};

// Reference row: converts groups begin ... end-1 of one line. saturate points at entry
// kSaturationOffset of the saturation table. Each pixel: matrix, saturation, then (unless
// the filter is the identity) the channel's filter table, then the store.
template <class Layout, bool kFiltered, class Output>
void ConvertGroupsRow(const unsigned char* source, const LineWriter<Output>& out,
                      const FilterTables8& tables, const uint8_t* saturate, uint32_t begin,
                      uint32_t end, uint32_t shift) {
    using Reader = typename Layout::Reader;
    constexpr std::size_t kGroupBytes = Layout::kSamples * Reader::kSampleSize;
    for (uint32_t group = begin; group < end; ++group) {
        const unsigned char* p = source + static_cast<std::size_t>(group) * kGroupBytes;
        const ChromaTerms chroma =
            MakeChromaTerms(Reader::Load(p, Layout::kU, shift), Reader::Load(p, Layout::kV, shift));
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(group) * Layout::kPixels;
        for (uint32_t k = 0; k < Layout::kPixels; ++k) {
            const int32_t luma = (Reader::Load(p, Layout::kY[k], shift) - kLumaBlack) * kLumaGain;
            uint8_t r = saturate[(luma + chroma.red) >> kFractionBits];
            uint8_t g = saturate[(luma + chroma.green) >> kFractionBits];
            uint8_t b = saturate[(luma + chroma.blue) >> kFractionBits];
            if constexpr (kFiltered) {
                r = tables.red[r];
                g = tables.green[g];
                b = tables.blue[b];
            }
            out.Store(first + k, r, g, b);
        }
    }
}

}  // namespace YUVDetail
}  // namespace ZnConvertersLib
