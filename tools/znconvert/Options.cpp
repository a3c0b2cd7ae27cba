#include "Options.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include "Errors.h"

namespace znconvert {

namespace {

constexpr const char* kDefaultDestination = "0x420006";

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// Decimal digits only: signs, spaces, exponents and trailing garbage are refused rather
// than read as something the user did not mean.
uint32_t ParseCount(const std::string& text, const std::string& what, uint32_t minimum,
                    uint32_t maximum) {
    if (text.empty()) UsageFail(what + " is empty");
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') UsageFail(what + " '" + text + "' is not a whole number");
        value = value * 10 + static_cast<uint64_t>(c - '0');
        if (value > maximum) {
            UsageFail(what + " " + text + " is too large (at most " + std::to_string(maximum) +
                      ")");
        }
    }
    if (value < minimum) {
        UsageFail(what + " must be at least " + std::to_string(minimum) + ", not " + text);
    }
    return static_cast<uint32_t>(value);
}

std::pair<uint32_t, uint32_t> ParseSize(const std::string& text) {
    const size_t x = Lower(text).find('x');
    if (x == std::string::npos) UsageFail("--size '" + text + "' is not of the form WIDTHxHEIGHT");
    return {ParseCount(text.substr(0, x), "width", 1, kMaxDimension),
            ParseCount(text.substr(x + 1), "height", 1, kMaxDimension)};
}

bool EndsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::array<double, 3> ParseWhiteBalance(const std::string& text) {
    std::array<double, 3> values{};
    size_t start = 0;
    for (size_t i = 0; i < 3; ++i) {
        const size_t comma = text.find(',', start);
        if ((i < 2) != (comma != std::string::npos)) {
            UsageFail("--white-balance '" + text + "' must be three numbers R,G,B");
        }
        const std::string part =
            text.substr(start, comma == std::string::npos ? comma : comma - start);
        char* end = nullptr;
        const double value = part.empty() ? NAN : std::strtod(part.c_str(), &end);
        if (part.empty() || end == nullptr || *end != '\0' || !std::isfinite(value)) {
            UsageFail("--white-balance '" + text + "': '" + part + "' is not a number");
        }
        if (value < 0.0 || value > kMaxMultiplier) {
            UsageFail("--white-balance multipliers must lie between 0 and 255, not " + part);
        }
        values[i] = value;
        start = comma + 1;
    }
    return values;
}

BayerPattern ParsePattern(const std::string& text) {
    const std::string name = Lower(text);
    if (name == "grbg") return BayerPattern::GRBG;
    if (name == "gbrg") return BayerPattern::GBRG;
    if (name == "rggb") return BayerPattern::RGGB;
    if (name == "bggr") return BayerPattern::BGGR;
    UsageFail("--pattern '" + text + "' is not one of GRBG, GBRG, RGGB, BGGR");
}

ZnConvertersLib::DemosaicMethod ParseDemosaic(const std::string& text) {
    using ZnConvertersLib::DemosaicMethod;
    const std::string name = Lower(text);
    if (name == "block") return DemosaicMethod::kBlock;
    if (name == "bilinear") return DemosaicMethod::kBilinear;
    if (name == "gradient-corrected" || name == "gradient") {
        return DemosaicMethod::kGradientCorrected;
    }
    if (name == "edge-directed" || name == "edge") return DemosaicMethod::kEdgeDirected;
    UsageFail("--demosaic '" + text +
              "' is not one of block, bilinear, gradient-corrected, edge-directed");
}

FieldOrder ParseFieldOrder(const std::string& text) {
    const std::string name = Lower(text);
    if (name == "top") return FieldOrder::TopFirst;
    if (name == "bottom") return FieldOrder::BottomFirst;
    UsageFail("--field-order '" + text + "' is not one of top, bottom");
}

}  // namespace

bool IsPnmName(const std::string& path) {
    const std::string name = Lower(path);
    return EndsWith(name, ".pgm") || EndsWith(name, ".ppm") || EndsWith(name, ".pnm");
}

FileFormat FormatByName(const std::string& path) {
    const std::string name = Lower(path);
    if (EndsWith(name, ".png")) return FileFormat::Png;
    if (EndsWith(name, ".bmp")) return FileFormat::Bmp;
    return FileFormat::Raw;
}

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    options.to = kDefaultDestination;
    std::vector<std::string> positional;
    bool toGiven = false;
    // A second value for an option is refused rather than silently replacing the first:
    // scripts that build command lines piecewise otherwise convert with the wrong setting.
    std::map<std::string, std::string> seen;
    const auto once = [&seen](const std::string& what, const std::string& value) {
        const auto inserted = seen.emplace(what, value);
        if (!inserted.second && inserted.first->second != value) {
            UsageFail(what + " given twice with different values ('" + inserted.first->second +
                      "' and '" + value + "')");
        }
    };
    const auto size = [&](uint32_t width, uint32_t height) {
        once("width", std::to_string(width));
        once("height", std::to_string(height));
        options.width = width;
        options.height = height;
        options.widthGiven = options.heightGiven = true;
    };

    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--") {
            for (++i; i < argc; ++i) positional.emplace_back(argv[i]);
            break;
        }
        if (arg.size() < 2 || arg[0] != '-') {
            positional.push_back(arg);
            continue;
        }

        // "--name=value" and "--name value" are both accepted.
        std::string name = arg;
        std::optional<std::string> inlineValue;
        if (arg.compare(0, 2, "--") == 0) {
            const size_t equals = arg.find('=');
            if (equals != std::string::npos) {
                name = arg.substr(0, equals);
                inlineValue = arg.substr(equals + 1);
            }
        }
        const auto value = [&]() -> std::string {
            if (inlineValue) return *inlineValue;
            if (i + 1 >= argc) UsageFail("option " + name + " needs a value");
            return argv[++i];
        };
        const auto noValue = [&] {
            if (inlineValue) UsageFail("option " + name + " takes no value");
        };

        if (name == "-h" || name == "--help") {
            noValue();
            options.help = true;
        } else if (name == "--version") {
            noValue();
            options.version = true;
        } else if (name == "-l" || name == "--list") {
            noValue();
            options.list = true;
        } else if (name == "-f" || name == "--from") {
            options.from = value();
            once("--from", Lower(options.from));
        } else if (name == "-t" || name == "--to") {
            options.to = value();
            once("--to", Lower(options.to));
            toGiven = true;
        } else if (name == "-s" || name == "--size") {
            const auto parsed = ParseSize(value());
            size(parsed.first, parsed.second);
        } else if (name == "--width") {
            const uint32_t width = ParseCount(value(), "width", 1, kMaxDimension);
            once("width", std::to_string(width));
            options.width = width;
            options.widthGiven = true;
        } else if (name == "--height") {
            const uint32_t height = ParseCount(value(), "height", 1, kMaxDimension);
            once("height", std::to_string(height));
            options.height = height;
            options.heightGiven = true;
        } else if (name == "--source-padding") {
            options.sourcePadding = ParseCount(value(), "source padding", 0, kMaxPadding);
            once("--source-padding", std::to_string(options.sourcePadding));
            options.sourcePaddingGiven = true;
        } else if (name == "--dest-padding") {
            options.destinationPadding = ParseCount(value(), "destination padding", 0, kMaxPadding);
            once("--dest-padding", std::to_string(options.destinationPadding));
            options.destinationPaddingGiven = true;
        } else if (name == "--pattern") {
            options.pattern = ParsePattern(value());
            once("--pattern", PatternName(*options.pattern));
        } else if (name == "--demosaic") {
            options.demosaic = ParseDemosaic(value());
            // By the method, so that a short form and the full name agree.
            once("--demosaic", DemosaicName(*options.demosaic));
        } else if (name == "--field-order") {
            const std::string text = value();
            options.fieldOrder = ParseFieldOrder(text);
            once("--field-order", Lower(text));
        } else if (name == "--white-balance") {
            const std::string text = value();
            options.whiteBalance = ParseWhiteBalance(text);
            once("--white-balance", text);
        } else if (name == "--threads") {
            options.threads = ParseCount(value(), "thread count", 0, kMaxThreads);
            once("--threads", std::to_string(options.threads));
        } else if (name == "--frames") {
            options.frames = ParseCount(value(), "frame count", 1, kMaxFrames);
            once("--frames", std::to_string(options.frames));
        } else if (name == "--raw") {
            noValue();
            options.raw = true;
        } else if (name == "--allow-trailing") {
            noValue();
            options.allowTrailing = true;
        } else if (name == "--stats") {
            noValue();
            options.stats = true;
        } else {
            UsageFail("unknown option '" + name + "'");
        }
    }

    if (options.help || options.version) return options;
    if (options.list) {
        if (!positional.empty()) UsageFail("--list takes no file names");
        if (toGiven) UsageFail("--list filters by --from only");
        return options;
    }
    if (positional.size() != 2) {
        UsageFail(positional.size() < 2 ? "missing input or output file name"
                                        : "too many file names (expected INPUT OUTPUT)");
    }
    options.input = positional[0];
    options.output = positional[1];
    if (options.input.empty() || options.output.empty()) UsageFail("empty file name");
    // Only a header says what standard input holds, so without a type and size it must
    // bring one.
    const bool pnm = IsPnmName(options.input) || (options.input == "-" && options.from.empty() &&
                                                  !options.widthGiven && !options.heightGiven);
    if (pnm && options.sourcePaddingGiven) {
        UsageFail("--source-padding does not apply to PGM/PPM input, whose lines are unpadded");
    }
    if (!pnm && options.from.empty()) UsageFail("no source type: give --from TYPE");
    if (!pnm && (!options.widthGiven || !options.heightGiven)) {
        UsageFail("no frame size: give --size WIDTHxHEIGHT (or --width and --height)");
    }
    options.pnmInput = pnm;
    if (pnm && options.widthGiven != options.heightGiven) {
        UsageFail("give both --width and --height, or --size WIDTHxHEIGHT");
    }
    return options;
}

const char* PatternName(BayerPattern pattern) {
    switch (pattern) {
        case BayerPattern::GRBG:
            return "GRBG";
        case BayerPattern::GBRG:
            return "GBRG";
        case BayerPattern::RGGB:
            return "RGGB";
        case BayerPattern::BGGR:
            return "BGGR";
    }
    return "?";
}

const char* DemosaicName(ZnConvertersLib::DemosaicMethod method) {
    using ZnConvertersLib::DemosaicMethod;
    switch (method) {
        case DemosaicMethod::kBlock:
            return "block";
        case DemosaicMethod::kBilinear:
            return "bilinear";
        case DemosaicMethod::kGradientCorrected:
            return "gradient-corrected";
        case DemosaicMethod::kEdgeDirected:
            return "edge-directed";
    }
    return "?";
}

const char* HelpText() {
    return R"(Usage: znconvert [options] INPUT OUTPUT
       znconvert --list [--from TYPE]

Converts raw frames (pixel data without any header), or a PGM/PPM image, from a source
pixel type to a destination pixel type with the converters registered in ZnConvertersLib.

Pixel types are named by hex identifier (0x20010), by GenICam pixel format name or code
(BayerRG8, 0x01080009) or by display name ("Bayer RGB8-bits"); display names match
regardless of case, spaces and punctuation. A GenICam Bayer name also sets the tile.
'znconvert --list' shows every registered type and every converter pair.

INPUT and OUTPUT may be '-' for standard input and standard output.

Options:
  -f, --from TYPE            source pixel type (required for raw input)
  -t, --to TYPE              destination pixel type (default 0x420006, "BGR 24-bits, Packed")
  -s, --size WxH             frame size in pixels, e.g. 1024x768 (required for raw input)
      --width N, --height N  the frame size given separately
      --source-padding N     bytes after each line of the input (default 0)
      --dest-padding N       bytes after each line of raw output (default 0)
      --pattern P            Bayer sources: the 2x2 tile at the top-left corner, read row
                             by row: GRBG (default), GBRG, RGGB or BGGR
      --demosaic M           Bayer sources, how the missing colours are interpolated:
                             bilinear (default): from the 3x3 neighbourhood;
                             block: one colour per 2x2 block, fastest;
                             gradient-corrected (or gradient): bilinear corrected by
                             the Laplacian of the pixel's own colour (5x5 filters);
                             sharper than bilinear;
                             edge-directed (or edge): green along the smoother
                             direction, then red and blue from colour differences;
                             the most faithful to the scene, and the slowest
      --field-order F        interlaced sources, which field the file holds first:
                             top (default; even lines first) or bottom
      --white-balance R,G,B  per-channel multipliers for colour sources, e.g. 1.6,1,1.3
      --threads N            convert in bands on up to N threads (default 1; 0: every
                             hardware thread); small frames stay on one thread
      --frames N             the input holds N frames one after the other; each is
                             written to OUTPUT numbered before its extension
                             (out-0000.png, out-0001.png, ...)
      --allow-trailing       ignore bytes after the last frame instead of refusing them
      --stats                print the conversion time (without file I/O) and MPix/s
                             on standard error
      --raw                  write raw bytes whatever OUTPUT's extension
  -l, --list                 list pixel types and converters (with --from: that source's)
  -h, --help                 show this help
      --version              show the version

An option given twice must have the same value both times.

Input:
  A raw input must hold exactly the frames (the padding after the very last line may be
  missing). An input named *.pgm, *.ppm or *.pnm, or standard input without --from and
  --size, is read as a binary PGM (P5) or PPM (P6) image: its header gives the size and
  type (8-bit gray, 16-bit gray, RGB 8-bits or RGB 16-bits a channel; 16-bit samples are
  big-endian in the file). --size and --from may repeat the header but not contradict it.

Output:
  OUTPUT's extension decides the format. *.png: a PNG image (8-bit gray or RGB, 16-bit
  gray or RGB for 16-bit destinations such as 0x10005 and 0x20004). *.bmp: a BMP image
  (24- or 32-bit RGB or BGR, or 8-bit gray with a palette): bottom-up rows padded to 4
  bytes, channels in BMP's blue-green-red order. A destination the format cannot hold
  (planar, YUV, mosaics, ...) is refused. Any other name: raw bytes exactly as the
  converter produced them, lines of the converter's line size plus --dest-padding, planar
  outputs as three planes one after the other.
  Files are first written under a temporary name next to OUTPUT and then renamed, so a
  failed run never leaves a partial OUTPUT (an existing OUTPUT stays as it was, and a
  replaced one keeps its permissions). An OUTPUT that is a symbolic link, or the input
  itself, is refused.

Exit status: 0 on success, 1 when the conversion cannot be done (no such converter, a
frame size the layout cannot take, an input of the wrong length or with a header that
contradicts the options, output not writable), 2 for a wrong command line (unknown
option or type, conflicting options, a destination the output format cannot hold).

Examples:
  znconvert --from BayerGR8 --size 1024x768 \
      samples/raccoon-1024x768-bayer-grbg8.raw raccoon.png
  znconvert --from Mono8 --to Mono8 --size 640x480 --frames 10 --stats video.raw f.png
)";
}

}  // namespace znconvert
