#include "PngFile.h"

#ifdef ZN_HAVE_PNG

#include <png.h>

#include <csetjmp>
#include <cstring>
#include <vector>

namespace ZnTools {

namespace {

bool IsGray(PngLayout layout) {
    return layout == PngLayout::kGray8 || layout == PngLayout::kGray16;
}

bool IsWide(PngLayout layout) {
    return layout == PngLayout::kGray16 || layout == PngLayout::kRGB16 ||
           layout == PngLayout::kBGR16;
}

// One line in PNG's own order: R,G,B (or gray) samples, 16-bit ones big-endian and
// scaled to the full range.
void PackRow(const unsigned char* in, const PngImage& image, unsigned char* out) {
    const uint32_t width = image.width;
    const uint32_t maximum = 0xFFFFu >> (16 - image.significantBits);
    // Scaling rather than shifting maps the largest sample to 65535.
    const auto put16 = [maximum](unsigned char* at, const unsigned char* from) {
        const uint32_t sample = (from[0] | (from[1] << 8)) & maximum;
        const uint32_t value = (sample * 0xFFFFu + maximum / 2) / maximum;
        at[0] = static_cast<unsigned char>(value >> 8);
        at[1] = static_cast<unsigned char>(value);
    };
    switch (image.layout) {
        case PngLayout::kGray8:
            std::memcpy(out, in, width);
            break;
        case PngLayout::kGray16:
            for (uint32_t x = 0; x < width; ++x) put16(out + 2 * x, in + 2 * x);
            break;
        case PngLayout::kRGB8:
        case PngLayout::kBGR8:
        case PngLayout::kRGBX8:
        case PngLayout::kBGRX8: {
            const bool bgr = image.layout == PngLayout::kBGR8 || image.layout == PngLayout::kBGRX8;
            const uint32_t step =
                image.layout == PngLayout::kRGBX8 || image.layout == PngLayout::kBGRX8 ? 4 : 3;
            for (uint32_t x = 0; x < width; ++x, in += step, out += 3) {
                out[0] = in[bgr ? 2 : 0];
                out[1] = in[1];
                out[2] = in[bgr ? 0 : 2];
            }
            break;
        }
        case PngLayout::kRGB16:
        case PngLayout::kBGR16: {
            const bool bgr = image.layout == PngLayout::kBGR16;
            for (uint32_t x = 0; x < width; ++x, in += 6, out += 6) {
                put16(out, in + (bgr ? 4 : 0));
                put16(out + 2, in + 2);
                put16(out + 4, in + (bgr ? 0 : 4));
            }
            break;
        }
    }
}

void OnError(png_structp png, png_const_charp message) {
    auto* error = static_cast<std::string*>(png_get_error_ptr(png));
    *error = message;
    std::longjmp(png_jmpbuf(png), 1);
}

void OnWarning(png_structp, png_const_charp) {}

// libpng jumps out of the calls below on error, so nothing with a destructor lives in
// this frame; the caller owns the line buffer and the message.
bool Encode(std::FILE* file, const PngImage& image, unsigned char* row, std::string* error) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, error, OnError, OnWarning);
    if (png == nullptr) {
        *error = "out of memory";
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        if (error->empty()) *error = "out of memory";
        return false;
    }
    const bool wide = IsWide(image.layout);
    const bool gray = IsGray(image.layout);
    png_init_io(png, file);
    png_set_IHDR(png, info, image.width, image.height, wide ? 16 : 8,
                 gray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (wide && image.significantBits < 16) {
        png_color_8 significant{};
        const auto depth = static_cast<png_byte>(image.significantBits);
        significant.red = significant.green = significant.blue = significant.gray = depth;
        png_set_sBIT(png, info, &significant);
    }
    png_write_info(png, info);
    for (uint32_t y = 0; y < image.height; ++y) {
        PackRow(image.pixels + y * image.stride, image, row);
        png_write_row(png, row);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

bool PngAvailable() {
    return true;
}

std::string WritePng(std::FILE* file, const PngImage& image) {
    if (image.width == 0 || image.height == 0) return "an empty image cannot be saved as PNG";
    if (IsWide(image.layout) && (image.significantBits < 1 || image.significantBits > 16)) {
        return "16-bit PNG samples must have 1 to 16 significant bits";
    }
    const size_t samples = IsGray(image.layout) ? 1 : 3;
    std::vector<unsigned char> row(size_t{image.width} * samples * (IsWide(image.layout) ? 2 : 1));
    std::string error;
    if (!Encode(file, image, row.data(), &error)) return error;
    return {};
}

}  // namespace ZnTools

#else  // no libpng

namespace ZnTools {

bool PngAvailable() {
    return false;
}

std::string WritePng(std::FILE*, const PngImage&) {
    return "this build has no PNG support (libpng was not found)";
}

}  // namespace ZnTools

#endif
