// zn-demosaic-quality: how close each demosaicing method comes to a full-colour original.
// The photograph is turned into a mosaic in each of the four tiles, every method rebuilds
// it through the frame API, and the result is compared with the original by PSNR. The
// interior figure leaves out the borders, where each method has to make up neighbours it
// does not have; the full-image one says what that costs.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

namespace {

using namespace ZnConvertersLib;

constexpr int kExitBelowThreshold = 1;
constexpr int kExitUsage = 2;
constexpr int64 kBayer8 = 0x20010;
constexpr int64 kRGB24 = 0x420002;
// Pixels left out at each border for the interior figure: a 5x5 neighbourhood reaches two
// pixels out, so from here inwards no method needs a mirrored sample.
constexpr uint32_t kBorder = 2;
// Anything smaller has no interior; anything larger is surely not a photograph.
constexpr uint32_t kMinDimension = 2 * kBorder + 2;
constexpr uint32_t kMaxDimension = 1u << 15;

// A wrong command line; the help says what a right one is.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
// An image that cannot be read or measured.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Method {
    const char* name;
    DemosaicMethod method;
};
constexpr Method kMethods[] = {
    {"block", DemosaicMethod::kBlock},
    {"bilinear", DemosaicMethod::kBilinear},
    {"gradient-corrected", DemosaicMethod::kGradientCorrected},
    {"edge-directed", DemosaicMethod::kEdgeDirected},
};

struct Tile {
    const char* name;  // the tile's four filters, read row by row
    uint32_t flag;
};
constexpr Tile kTiles[] = {
    {"GRBG", kBayerTileGRBG},
    {"GBRG", kBayerTileGBRG},
    {"RGGB", kBayerTileRGGB},
    {"BGGR", kBayerTileBGGR},
};

const char* const kHelp =
    R"(Usage: zn-demosaic-quality [options] IMAGE.ppm

Measures how well each demosaicing method restores a photograph. IMAGE (a binary PPM,
P6, 8 bits a channel) is turned into an 8-bit Bayer mosaic in each of the tiles GRBG,
GBRG, RGGB and BGGR (every pixel keeps only the channel its filter passes); each method
(block, bilinear, gradient-corrected, edge-directed) converts every mosaic back to RGB,
and the result is compared with IMAGE.

The table gives PSNR = 10 log10(255^2 / MSE) in dB, the error pooled over the three
channels: for each tile over the interior (the image without the 2 pixels next to each
border), then the mean of the four tiles' values for the interior and for the whole
image. Higher is better; "inf" means the image came back exactly.

Options:
  --min-interior METHOD=DB     fail unless METHOD's mean interior PSNR is at least DB
  --max-border-loss METHOD=DB  fail if METHOD's mean full-image PSNR is more than DB
                               below its mean interior PSNR
  -h, --help                   show this help

Both may be given for several methods.

Exit status: 0 when every limit holds, 1 when one does not (each is named on standard
error) or a conversion fails, 2 for a wrong command line or an IMAGE that cannot be read.
)";

const Method& MethodNamed(const std::string& name) {
    for (const Method& method : kMethods) {
        if (name == method.name) return method;
    }
    throw UsageError("unknown method '" + name +
                     "' (one of block, bilinear, gradient-corrected, edge-directed)");
}

// METHOD=DB, keyed by the method's place in kMethods.
void ParseLimit(const std::string& option, const std::string& text, std::map<size_t, double>& to) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw UsageError(option + " '" + text + "' is not of the form METHOD=DB");
    }
    const Method& method = MethodNamed(text.substr(0, equals));
    const std::string number = text.substr(equals + 1);
    char* end = nullptr;
    const double value = number.empty() ? NAN : std::strtod(number.c_str(), &end);
    if (number.empty() || *end != '\0' || !std::isfinite(value)) {
        throw UsageError(option + " '" + text + "': '" + number + "' is not a number");
    }
    if (!to.emplace(&method - kMethods, value).second) {
        throw UsageError(option + " given twice for " + method.name);
    }
}

struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<unsigned char> rgb;  // packed R, G, B, no padding
};

bool IsSpace(int c) {
    return c != EOF && std::isspace(static_cast<unsigned char>(c)) != 0;
}

// The next header token of a PNM file: whitespace and '#' comments before it are skipped.
std::string HeaderToken(std::FILE* file) {
    int c = std::fgetc(file);
    for (;;) {
        if (c == '#') {
            while (c != EOF && c != '\n' && c != '\r') c = std::fgetc(file);
        } else if (IsSpace(c)) {
            c = std::fgetc(file);
        } else {
            break;
        }
    }
    std::string token;
    while (c != EOF && token.size() < 16 && !IsSpace(c) && c != '#') {
        token += static_cast<char>(c);
        c = std::fgetc(file);
    }
    // Exactly one whitespace character ends the token; after the maximum value the samples
    // start right behind it.
    if (c == '#' || (c != EOF && !IsSpace(c))) token += '?';
    return token;
}

uint32_t HeaderNumber(std::FILE* file, const std::string& path, const char* what) {
    const std::string token = HeaderToken(file);
    uint64_t value = 0;
    for (char c : token) {
        if (c < '0' || c > '9' || value > kMaxDimension * uint64_t{16}) {
            throw InputError("'" + path + "': the PPM header's " + what + " '" + token +
                             "' is not a number");
        }
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (token.empty()) throw InputError("'" + path + "': the PPM header ends before its " + what);
    return static_cast<uint32_t>(value);
}

Image ReadPpm(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw InputError("cannot read '" + path + "': " + std::strerror(errno));
    struct Closer {
        std::FILE* file;
        ~Closer() { std::fclose(file); }
    } closer{file};

    char magic[2] = {};
    if (std::fread(magic, 1, 2, file) != 2 || magic[0] != 'P' || magic[1] != '6') {
        throw InputError("'" + path + "' is not a binary PPM (P6) file");
    }
    Image image;
    image.width = HeaderNumber(file, path, "width");
    image.height = HeaderNumber(file, path, "height");
    const uint32_t maxValue = HeaderNumber(file, path, "maximum value");
    if (maxValue != 255) {
        throw InputError("'" + path + "' has samples up to " + std::to_string(maxValue) +
                         "; only 8-bit PPMs (maximum value 255) are read");
    }
    for (const uint32_t size : {image.width, image.height}) {
        if (size < kMinDimension || size > kMaxDimension) {
            throw InputError("'" + path + "' is " + std::to_string(image.width) + "x" +
                             std::to_string(image.height) + "; both sides must lie between " +
                             std::to_string(kMinDimension) + " and " +
                             std::to_string(kMaxDimension));
        }
    }
    // A header that promises more than the file holds is caught before gigabytes are
    // allocated for it.
    const size_t needed = size_t{3} * image.width * image.height;
    const long start = std::ftell(file);
    size_t available = needed;
    if (start >= 0 && std::fseek(file, 0, SEEK_END) == 0) {
        const long end = std::ftell(file);
        available = end >= start ? static_cast<size_t>(end - start) : 0;
        std::fseek(file, start, SEEK_SET);
    }
    if (available >= needed) {
        image.rgb.resize(needed);
        available = std::fread(image.rgb.data(), 1, needed, file);
    }
    if (available < needed) {
        throw InputError("'" + path + "' holds " + std::to_string(available) +
                         " bytes of samples, but a " + std::to_string(image.width) + "x" +
                         std::to_string(image.height) + " image needs " + std::to_string(needed));
    }
    return image;
}

// Each pixel keeps the one channel its filter passes.
std::vector<unsigned char> Mosaic(const Image& image, const Tile& tile) {
    std::vector<unsigned char> mosaic(size_t{image.width} * image.height);
    for (uint32_t y = 0; y < image.height; ++y) {
        for (uint32_t x = 0; x < image.width; ++x) {
            const char filter = tile.name[2 * (y & 1) + (x & 1)];
            const int channel = filter == 'R' ? 0 : filter == 'G' ? 1 : 2;
            const size_t at = size_t{y} * image.width + x;
            mosaic[at] = image.rgb[3 * at + channel];
        }
    }
    return mosaic;
}

struct SquaredErrors {
    double full = 0;
    double interior = 0;
};

SquaredErrors Compare(const Image& image, const unsigned char* restored) {
    SquaredErrors sums;
    for (uint32_t y = 0; y < image.height; ++y) {
        const bool innerLine = y >= kBorder && y < image.height - kBorder;
        for (uint32_t x = 0; x < image.width; ++x) {
            const bool inner = innerLine && x >= kBorder && x < image.width - kBorder;
            const size_t at = 3 * (size_t{y} * image.width + x);
            for (size_t c = 0; c < 3; ++c) {
                const double d = double(image.rgb[at + c]) - restored[at + c];
                sums.full += d * d;
                if (inner) sums.interior += d * d;
            }
        }
    }
    return sums;
}

double Psnr(double squaredErrors, double samples) {
    if (squaredErrors == 0) return INFINITY;
    return 10 * std::log10(255.0 * 255.0 / (squaredErrors / samples));
}

std::string Decibels(double value) {
    if (std::isinf(value)) return "inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

struct Scores {
    double tileInterior[4];
    double interior;  // means of the tiles' dB values
    double full;
};

int Run(int argc, char** argv) {
    std::map<size_t, double> minInterior, maxBorderLoss;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "-h" || arg == "--help") {
            std::fputs(kHelp, stdout);
            return 0;
        }
        bool matched = false;
        for (auto* option : {"--min-interior", "--max-border-loss"}) {
            const std::string name = option;
            std::string value;
            if (arg == name) {
                if (i + 1 >= argc) throw UsageError(name + " needs a value METHOD=DB");
                value = argv[++i];
            } else if (arg.compare(0, name.size() + 1, name + "=") == 0) {
                value = arg.substr(name.size() + 1);
            } else {
                continue;
            }
            ParseLimit(name, value, name == "--min-interior" ? minInterior : maxBorderLoss);
            matched = true;
        }
        if (matched) continue;
        if (arg.size() > 1 && arg[0] == '-') throw UsageError("unknown option '" + arg + "'");
        files.push_back(arg);
    }
    if (files.size() != 1) {
        throw UsageError(files.empty() ? "no image given" : "give one image, not several");
    }
    const Image image = ReadPpm(files.front());

    const PixelConverter* converter = PixelTypeFactory::FindConverter(kBayer8, kRGB24);
    if (converter == nullptr) throw std::runtime_error("the library has no 8-bit Bayer to RGB24");
    // The block and bilinear layouts write a line past an odd height.
    const FrameFootprint footprint = GetFrameFootprint(*converter, image.width, image.height);
    if (!footprint.result) throw std::runtime_error(footprint.result.message);
    std::vector<unsigned char> restored(std::max(footprint.destinationBytes, image.rgb.size()));

    const double samples = 3.0 * image.width * image.height;
    const double innerSamples =
        3.0 * (image.width - 2 * kBorder) * static_cast<double>(image.height - 2 * kBorder);
    std::vector<std::vector<unsigned char>> mosaics;
    for (const Tile& tile : kTiles) mosaics.push_back(Mosaic(image, tile));

    std::printf("%s: %ux%u, PSNR in dB (interior: without the %u pixels next to each border)\n",
                files.front().c_str(), image.width, image.height, kBorder);
    std::printf("%-20s %-35s %s\n", "", "interior, by tile", "mean of the tiles");
    std::printf("%-20s %8s %8s %8s %8s %10s %8s\n", "method", "GRBG", "GBRG", "RGGB", "BGGR",
                "interior", "full");
    std::vector<Scores> scores;
    for (const Method& method : kMethods) {
        Scores score{};
        for (size_t t = 0; t < 4; ++t) {
            ConvertOptions options;
            options.bayerTile = kTiles[t].flag;
            options.demosaic = method.method;
            const FrameResult result =
                ConvertFrame(FrameView{kBayer8, image.width, image.height, 0, mosaics[t].data(),
                                       mosaics[t].size()},
                             MutableFrameView{kRGB24, image.width, image.height, 0, restored.data(),
                                              restored.size()},
                             options);
            if (!result) {
                throw std::runtime_error(std::string(method.name) + " demosaicing of the " +
                                         kTiles[t].name + " mosaic failed: " + result.message);
            }
            const SquaredErrors errors = Compare(image, restored.data());
            score.tileInterior[t] = Psnr(errors.interior, innerSamples);
            score.interior += score.tileInterior[t] / 4;
            score.full += Psnr(errors.full, samples) / 4;
        }
        std::printf(
            "%-20s %8s %8s %8s %8s %10s %8s\n", method.name,
            Decibels(score.tileInterior[0]).c_str(), Decibels(score.tileInterior[1]).c_str(),
            Decibels(score.tileInterior[2]).c_str(), Decibels(score.tileInterior[3]).c_str(),
            Decibels(score.interior).c_str(), Decibels(score.full).c_str());
        scores.push_back(score);
    }

    int status = 0;
    for (const auto& [index, limit] : minInterior) {
        if (!(scores[index].interior >= limit)) {
            std::fprintf(stderr,
                         "zn-demosaic-quality: %s: mean interior PSNR %s dB is below the minimum "
                         "%s dB\n",
                         kMethods[index].name, Decibels(scores[index].interior).c_str(),
                         Decibels(limit).c_str());
            status = kExitBelowThreshold;
        }
    }
    for (const auto& [index, limit] : maxBorderLoss) {
        // Both exact: nothing lost (inf - inf would be NaN and fail).
        const double loss = scores[index].full == scores[index].interior
                                ? 0
                                : scores[index].interior - scores[index].full;
        if (!(loss <= limit)) {
            std::fprintf(stderr,
                         "zn-demosaic-quality: %s: the full image's mean PSNR is %s dB below "
                         "the interior's, more than %s dB\n",
                         kMethods[index].name, Decibels(loss).c_str(), Decibels(limit).c_str());
            status = kExitBelowThreshold;
        }
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "zn-demosaic-quality: error: %s (see zn-demosaic-quality --help)\n",
                     error.what());
        return kExitUsage;
    } catch (const InputError& error) {
        std::fprintf(stderr, "zn-demosaic-quality: error: %s\n", error.what());
        return kExitUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zn-demosaic-quality: error: %s\n", error.what());
        return kExitBelowThreshold;
    }
}
