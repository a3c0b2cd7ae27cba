// Converts a camera frame named by its GenICam pixel format into an image file, with the
// checked frame API: sizes, strides and buffers are verified before anything is written,
// and the frame is split over every hardware thread.
//
//   camera_frame_example samples/raccoon-1024x768-bayer-grbg8.raw 1024 768 BayerGR8 out.ppm
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"

int main(int argc, char** argv) {
    using namespace ZnConvertersLib;
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s RAW WIDTH HEIGHT PFNC-NAME OUT.ppm\n", argv[0]);
        return 2;
    }
    const PfncFormat* format = FindPfncFormat(argv[4]);
    if (format == nullptr || !format->convertible) {
        std::fprintf(stderr, "%s: not a pixel format this library converts\n", argv[4]);
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    const std::vector<unsigned char> raw{std::istreambuf_iterator<char>(in), {}};
    const auto width = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10));
    const auto height = static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10));

    constexpr int64 kRGB24 = 0x420002;
    std::vector<unsigned char> rgb(size_t{width} * height * 3);
    ConvertOptions options;
    if (format->flags != 0) options.bayerTile = format->flags;  // the mosaic's tile
    options.demosaic = DemosaicMethod::kBilinear;
    options.threads = 0;
    const FrameResult result =
        ConvertFrame({format->pixelType, width, height, 0, raw.data(), raw.size()},
                     {kRGB24, width, height, 0, rgb.data(), rgb.size()}, options);
    if (!result) {
        std::fprintf(stderr, "%s\n", result.message.c_str());
        return 1;
    }
    std::ofstream out(argv[5], std::ios::binary);
    out << "P6\n" << width << " " << height << "\n255\n";
    out.write(reinterpret_cast<const char*>(rgb.data()), static_cast<std::streamsize>(rgb.size()));
    std::printf("%s %ux%u -> %s\n", format->name, width, height, argv[5]);
    return out ? 0 : 1;
}
