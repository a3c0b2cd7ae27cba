// Converts a raw frame with the converter's own Convert call, for the Python tests to
// compare the module against a conversion that takes no path through the frame API.
//
//   reference_convert [--method=M] SOURCE_ID DESTINATION_ID WIDTH HEIGHT STRIDE FLAGS IN OUT
//                     [R G B]
//
// Numbers in any base strtoull reads (0x... included). STRIDE: bytes from one source line
// to the next, 0 for lines without padding; the output has none. M, gradient-corrected or
// edge-directed, converts with the method's own converter object instead of the
// registered one; FLAGS still give the tile.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ZnConvertersLib/Demosaic.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"

using namespace ZnConvertersLib;

int main(int argc, char** argv) {
    const char* program = argv[0];
    std::optional<DemosaicMethod> method;
    if (argc > 1 && std::strncmp(argv[1], "--method=", 9) == 0) {
        const std::string name = argv[1] + 9;
        if (name == "gradient-corrected") method = DemosaicMethod::kGradientCorrected;
        if (name == "edge-directed") method = DemosaicMethod::kEdgeDirected;
        if (!method) {
            std::fprintf(stderr, "unknown method '%s'\n", name.c_str());
            return 2;
        }
        ++argv;
        --argc;
    }
    if (argc != 9 && argc != 12) {
        std::fprintf(stderr,
                     "usage: %s [--method=M] SOURCE DESTINATION WIDTH HEIGHT STRIDE FLAGS IN OUT "
                     "[R G B]\n",
                     program);
        return 2;
    }
    // The module registers the camera formats at import; so must its reference.
    RegisterCameraFormats();
    const auto number = [&](int k) { return std::strtoull(argv[k], nullptr, 0); };
    const int64 source = static_cast<int64>(number(1));
    const int64 destination = static_cast<int64>(number(2));
    const auto width = static_cast<uint32_t>(number(3));
    const auto height = static_cast<uint32_t>(number(4));
    const auto stride = static_cast<uint32_t>(number(5));
    const auto flags = static_cast<uint32_t>(number(6));
    std::unique_ptr<PixelConverter> methodConverter;
    if (method) methodConverter = CreateDemosaicConverter(source, destination, *method);
    const PixelConverter* converter =
        method ? methodConverter.get() : PixelTypeFactory::FindConverter(source, destination);
    if (converter == nullptr) {
        std::fprintf(stderr, "no converter for the pair\n");
        return 1;
    }

    std::ifstream in(argv[7], std::ios::binary);
    std::vector<unsigned char> frame((std::istreambuf_iterator<char>(in)),
                                     std::istreambuf_iterator<char>());
    // Room for what odd sizes write past the frame: a line more, a pixel more.
    const size_t line = converter->GetDestinationLineSize(width);
    const bool planar = PixelTypeBits::Has(destination, PixelTypeBits::kPlanar);
    const size_t frameBytes = line * height * (planar ? 3 : 1);
    std::vector<unsigned char> out(frameBytes + 2 * line + 64);

    std::unique_ptr<RGBFilter> filter;
    if (argc == 12) {
        const PixelType* type = PixelTypeFactory::FindPixelType(source);
        uint32_t bits = type ? type->GetPixelBitSize() : 8;
        if (bits < 8 || bits > 16) bits = 8;
        filter = std::make_unique<RGBFilter>(bits);
        filter->SetMultipliers(std::atof(argv[9]), std::atof(argv[10]), std::atof(argv[11]));
    }
    const uint32_t padding = stride ? stride - converter->GetSourceLineSize(width) : 0;
    const ZnUtilsLib::Result result =
        converter->ConvertFiltered(filter.get(), frame.data(), width, height, out.data(), width,
                                   height, width, height, flags, 0, nullptr, nullptr, padding);
    if (result.IsFailure()) {
        std::fprintf(stderr, "the converter refused the frame (code %u)\n", result.GetCode());
        return 1;
    }
    std::ofstream(argv[8], std::ios::binary)
        .write(reinterpret_cast<const char*>(out.data()), static_cast<std::streamsize>(frameBytes));
    return 0;
}
