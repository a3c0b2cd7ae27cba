// Writes frame_fuzzer's seed corpus: a few pairs of each layout the frame API treats on its
// own, each in a geometry it accepts and one it refuses or pads, with strides, options and
// filters varied across them. Inputs name pairs by registry index, so the seeds are
// rewritten (build/fuzz/fuzz/frame_fuzzer_seeds fuzz/corpus) when types are added.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "FrameFuzzInput.h"
#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;
using namespace ZnConvertersLib::PixelTypeBits;
using namespace ZnFrameFuzz;

namespace {

struct Family {
    const char* name;
    std::function<bool(int64 from, int64 to, const PixelConverter&)> has;
};

bool IsGevPacked(int64 id) {
    const uint32_t code = Low32(id) & (kColorSpaceMask | kFormatMask);
    return code == 0x10008 || code == 0x10009 || code == 0x20040 || code == 0x20041 ||
           code == 0x20046;
}

struct Geometry {
    uint8_t width, height, sourceStride, destinationStride;
};

// Per pair of a family: accepted by most layouts, then odd sizes (refused, or written with
// their overrun), then padded lines, then one line pair.
constexpr Geometry kGeometries[] = {
    {16, 4, kTightStride, kTightStride},
    {7, 3, StridePlus(3), kTightStride},
    {24, 6, StridePlus(15), StridePlus(5)},
    {32, 2, kTightStride, kTightStride},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[1];
    const Family families[] = {
        {"bayer",
         [](int64 from, int64, const PixelConverter& c) {
             return PixelTypeFactory::GetPixelType(from).IsBayerPattern() &&
                    !Has(from, kTapLayoutMask) && c.GetLineGranularity() == 2;
         }},
        {"yuv", [](int64 from, int64, const PixelConverter&) { return Has(from, kYUV); }},
        {"gev-packed", [](int64 from, int64, const PixelConverter&) { return IsGevPacked(from); }},
        {"packed", [](int64 from, int64,
                      const PixelConverter&) { return Has(from, kPacked) && !IsGevPacked(from); }},
        {"planar",
         [](int64 from, int64 to, const PixelConverter&) { return Has(from | to, kPlanar); }},
        {"interlaced",
         [](int64 from, int64, const PixelConverter&) { return Has(from, kInterlaced); }},
        {"taps",
         [](int64 from, int64, const PixelConverter&) { return Has(from, kTapLayoutMask); }},
        {"chain",
         [](int64, int64, const PixelConverter& c) {
             return dynamic_cast<const ComplexConverter*>(&c) != nullptr;
         }},
        {"camera",
         [](int64 from, int64, const PixelConverter&) {
             const uint32_t code = Low32(from) & kFormatMask;
             return code >= kPixelTypeExtensionFormatFirst && code <= kPixelTypeExtensionFormatLast;
         }},
        {"identity", [](int64 from, int64 to, const PixelConverter&) { return from == to; }},
    };

    RegisterCameraFormats();  // as the fuzzer does before it numbers the pairs
    std::vector<uint16_t> members[sizeof families / sizeof families[0]];
    int64 from = 0, to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        const PixelConverter& converter = PixelTypeFactory::GetConverter(from, to);
        for (size_t f = 0; f < sizeof families / sizeof families[0]; ++f) {
            if (families[f].has(from, to, converter))
                members[f].push_back(static_cast<uint16_t>(i));
        }
    }

    uint8_t seed = 1;
    int written = 0;
    const auto write = [&](const std::string& name, const Header& h) {
        uint8_t bytes[kHeaderBytes + 96];
        Encode(h, bytes);
        for (size_t i = kHeaderBytes; i < sizeof bytes; ++i) bytes[i] = seed = seed * 73 + 41;
        const std::string path = directory + "/" + name;
        FILE* file = std::fopen(path.c_str(), "wb");
        const bool ok = file != nullptr && std::fwrite(bytes, sizeof bytes, 1, file) == 1;
        if (file != nullptr) std::fclose(file);
        if (!ok) {
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
            std::exit(1);
        }
        ++written;
        int64 a = 0, b = 0;
        PixelTypeFactory::EnumConverters(h.pair, a, b);
        const PixelConverter& converter = PixelTypeFactory::GetConverter(a, b);
        const FrameFootprint footprint = GetFrameFootprint(
            converter, h.width, h.height,
            StrideFor(h.sourceStride, converter.GetSourceLineSize(h.width)),
            StrideFor(h.destinationStride, converter.GetDestinationLineSize(h.width)));
        std::printf("%-14s pair %4u 0x%llX -> 0x%llX %ux%u: %s\n", name.c_str(), h.pair,
                    static_cast<unsigned long long>(a), static_cast<unsigned long long>(b), h.width,
                    h.height,
                    footprint.result ? "geometry accepted" : footprint.result.message.c_str());
    };

    for (size_t f = 0; f < sizeof families / sizeof families[0]; ++f) {
        const std::vector<uint16_t>& pairs = members[f];
        for (uint8_t k = 0; k < 4 && !pairs.empty(); ++k) {
            const Geometry& g = kGeometries[k];
            Header h;
            h.pair = pairs[(k * 2 + 1) * pairs.size() / 8];  // spread over the family
            h.width = g.width;
            h.height = g.height;
            h.sourceStride = g.sourceStride;
            h.destinationStride = g.destinationStride;
            h.sourceSize = kExactSize;
            h.destinationSize = k == 2 ? SizePlus(7) : kExactSize;
            h.tile = k;
            h.options = static_cast<uint8_t>((k & 1) | (k & 2 ? 4 : 0) | (k + 1) << 3);
            h.filter = k % 3;
            for (uint8_t& b : h.filterBytes) b = seed += 37;
            h.fill = k & 1 ? 0xFF : 0x00;
            write(std::string(families[f].name) + "-" + std::to_string(k), h);
        }
    }

    // Calls every check must refuse, on an otherwise valid mosaic.
    if (!members[0].empty()) {
        Header valid;
        valid.pair = members[0].front();
        valid.width = 8;
        valid.height = 4;
        valid.fill = 0x5A;
        Header h = valid;
        h.tile = 0xF1;  // two tiles at once
        write("refused-tile", h);
        h = valid;
        h.options = 3;  // a method the flags word cannot carry
        write("refused-method", h);
        h = valid;
        h.sourceStride = StrideShortBy(1);
        write("refused-stride", h);
        h = valid;
        h.destinationSize = SizeShortBy(1);
        write("refused-size", h);
    }
    std::printf("%d seeds\n", written);
    return 0;
}
