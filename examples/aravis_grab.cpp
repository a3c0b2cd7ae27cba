// Grabs frames from a GigE Vision (or USB3 Vision) camera through Aravis, converts each
// to something a screen shows (Gray8 for mono formats, BGR32 for every other one) by
// looking the pixel format the frame carries up by its PFNC code, and writes PNG files.
//
//   aravis_grab [--camera NAME|ADDRESS] [--format PFNC_NAME] [--frames N]
//               [--output PREFIX] [--threads N] [--timeout SECONDS]
//
// Writes PREFIX_000.png, PREFIX_001.png, ... (default prefix "frame"). Without --camera
// the first camera found is used; --format sets the camera's PixelFormat first.
// Exit status: 0 on success, 2 for a bad command line, 1 when the camera, a conversion
// or a file fails.

#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "PngFile.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

namespace {

using namespace ZnConvertersLib;

constexpr int64 kGray8 = 0x10001;
constexpr int64 kBGR32 = 0x20007;

struct Options {
    std::string camera;  // empty: the first one found
    std::string format;  // empty: keep the camera's
    unsigned frames = 1;
    std::string output = "frame";
    unsigned threads = 1;
    unsigned timeout = 5;  // seconds to wait for one frame
};

[[noreturn]] void Usage(const std::string& problem) {
    std::fprintf(stderr,
                 "aravis_grab: %s\nusage: aravis_grab [--camera NAME|ADDRESS] [--format "
                 "PFNC_NAME] [--frames N] [--output PREFIX] [--threads N] [--timeout SECONDS]\n",
                 problem.c_str());
    std::exit(2);
}

unsigned Count(const char* text, const std::string& option) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || value == 0 || value > 100000) {
        Usage(option + " takes a whole number from 1 to 100000");
    }
    return static_cast<unsigned>(value);
}

Options Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (i + 1 >= argc) Usage(option + " needs a value");
        const char* value = argv[++i];
        if (option == "--camera") {
            options.camera = value;
        } else if (option == "--format") {
            options.format = value;
        } else if (option == "--frames") {
            options.frames = Count(value, option);
        } else if (option == "--output") {
            options.output = value;
        } else if (option == "--threads") {
            options.threads = Count(value, option);
        } else if (option == "--timeout") {
            options.timeout = Count(value, option);
        } else {
            Usage("unknown option " + option);
        }
    }
    return options;
}

struct GObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using GPtr = std::unique_ptr<T, GObjectDeleter>;

// Takes ownership of error.
int Fail(const std::string& message, GError* error = nullptr) {
    std::fprintf(stderr, "aravis_grab: %s%s%s\n", message.c_str(), error ? ": " : "",
                 error ? error->message : "");
    if (error) g_error_free(error);
    return 1;
}

// Converts one frame to Gray8 or BGR32 and writes it as a PNG; an empty string on
// success, otherwise what went wrong.
std::string Save(ArvBuffer* buffer, const Options& options, const std::string& path) {
    const uint32_t code = arv_buffer_get_image_pixel_format(buffer);
    const PfncFormat* format = FindPfncFormat(code);
    if (format == nullptr || !format->convertible) {
        char text[128];
        std::snprintf(text, sizeof text, "pixel format 0x%08x (%s) is not one this library reads",
                      code, format ? format->name : "unknown");
        return text;
    }
    size_t size = 0;
    const void* data = arv_buffer_get_image_data(buffer, &size);
    const auto width = static_cast<uint32_t>(arv_buffer_get_image_width(buffer));
    const auto height = static_cast<uint32_t>(arv_buffer_get_image_height(buffer));
    const bool gray = PixelTypeBits::Has(format->pixelType, PixelTypeBits::kGrayscale);
    const int64 target = gray ? kGray8 : kBGR32;

    // Sized from what the conversion writes, which for some layouts runs past the frame.
    const PixelConverter* converter = PixelTypeFactory::FindConverter(format->pixelType, target);
    if (converter == nullptr) return std::string("no conversion from ") + format->name;
    const FrameFootprint footprint = GetFrameFootprint(*converter, width, height);
    if (!footprint.result) return footprint.result.message;
    std::vector<unsigned char> pixels(footprint.destinationBytes);

    ConvertOptions convert;
    if (format->flags != 0) convert.bayerTile = format->flags;
    convert.demosaic = DemosaicMethod::kBilinear;
    convert.threads = options.threads;
    const FrameResult result =
        ConvertFrame({format->pixelType, width, height, 0, data, size},
                     {target, width, height, 0, pixels.data(), pixels.size()}, convert);
    if (!result) return std::string(format->name) + ": " + result.message;

    const ZnTools::PngImage image{pixels.data(), width, height, footprint.destinationLineBytes,
                                  gray ? ZnTools::PngLayout::kGray8 : ZnTools::PngLayout::kBGRX8};
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return "cannot create " + path;
    std::string problem = ZnTools::WritePng(file, image);
    if (std::fclose(file) != 0 && problem.empty()) problem = "cannot write " + path;
    return problem;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = Parse(argc, argv);
    if (!ZnTools::PngAvailable()) return Fail("this build has no PNG support");
    GError* error = nullptr;
    GPtr<ArvCamera> camera(
        arv_camera_new(options.camera.empty() ? nullptr : options.camera.c_str(), &error));
    if (!camera) return Fail("cannot open the camera", error);
    if (!options.format.empty()) {
        arv_camera_set_pixel_format_from_string(camera.get(), options.format.c_str(), &error);
        if (error) return Fail("the camera refuses PixelFormat " + options.format, error);
    }
    arv_camera_set_acquisition_mode(camera.get(), ARV_ACQUISITION_MODE_CONTINUOUS, &error);
    if (error) return Fail("cannot set continuous acquisition", error);
    const size_t payload = arv_camera_get_payload(camera.get(), &error);
    if (error) return Fail("cannot read the payload size", error);
    GPtr<ArvStream> stream(arv_camera_create_stream(camera.get(), nullptr, nullptr, &error));
    if (!stream) return Fail("cannot open a stream", error);
    // A few buffers in flight, so that a frame arriving during a conversion is kept.
    for (int i = 0; i < 4; ++i) {
        arv_stream_push_buffer(stream.get(), arv_buffer_new(payload, nullptr));
    }
    arv_camera_start_acquisition(camera.get(), &error);
    if (error) return Fail("cannot start the acquisition", error);

    int status = 0;
    unsigned incomplete = 0;
    for (unsigned n = 0; n < options.frames && status == 0;) {
        ArvBuffer* buffer =
            arv_stream_timeout_pop_buffer(stream.get(), guint64{options.timeout} * 1000000);
        if (buffer == nullptr) {
            status = Fail("no frame within " + std::to_string(options.timeout) + " s");
            break;
        }
        if (arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS &&
            arv_buffer_get_payload_type(buffer) == ARV_BUFFER_PAYLOAD_TYPE_IMAGE) {
            char suffix[16];
            std::snprintf(suffix, sizeof suffix, "_%03u.png", n++);
            const std::string problem = Save(buffer, options, options.output + suffix);
            if (!problem.empty()) status = Fail(problem);
        } else if (++incomplete > 10 + options.frames) {
            // Lost packets now and then are normal on a busy network; a stream of them is not.
            status = Fail("the camera keeps sending incomplete frames");
        }
        arv_stream_push_buffer(stream.get(), buffer);
    }
    arv_camera_stop_acquisition(camera.get(), nullptr);
    return status;
}
