#include "Options.h"

#include <cmath>
#include <cstdlib>
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

void ParseSize(const std::string& text, Options& options) {
    const size_t x = Lower(text).find('x');
    if (x == std::string::npos) UsageFail("--size '" + text + "' is not of the form WIDTHxHEIGHT");
    options.width = ParseCount(text.substr(0, x), "width", 1, kMaxDimension);
    options.height = ParseCount(text.substr(x + 1), "height", 1, kMaxDimension);
    options.widthGiven = options.heightGiven = true;
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

Demosaic ParseDemosaic(const std::string& text) {
    const std::string name = Lower(text);
    if (name == "block") return Demosaic::Block;
    if (name == "bilinear") return Demosaic::Bilinear;
    UsageFail("--demosaic '" + text + "' is not one of block, bilinear");
}

FieldOrder ParseFieldOrder(const std::string& text) {
    const std::string name = Lower(text);
    if (name == "top") return FieldOrder::TopFirst;
    if (name == "bottom") return FieldOrder::BottomFirst;
    UsageFail("--field-order '" + text + "' is not one of top, bottom");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    options.to = kDefaultDestination;
    std::vector<std::string> positional;
    bool toGiven = false;

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
        } else if (name == "-t" || name == "--to") {
            options.to = value();
            toGiven = true;
        } else if (name == "-s" || name == "--size") {
            ParseSize(value(), options);
        } else if (name == "--width") {
            options.width = ParseCount(value(), "width", 1, kMaxDimension);
            options.widthGiven = true;
        } else if (name == "--height") {
            options.height = ParseCount(value(), "height", 1, kMaxDimension);
            options.heightGiven = true;
        } else if (name == "--source-padding") {
            options.sourcePadding = ParseCount(value(), "source padding", 0, kMaxPadding);
        } else if (name == "--dest-padding") {
            options.destinationPadding = ParseCount(value(), "destination padding", 0, kMaxPadding);
            options.destinationPaddingGiven = true;
        } else if (name == "--pattern") {
            options.pattern = ParsePattern(value());
        } else if (name == "--demosaic") {
            options.demosaic = ParseDemosaic(value());
        } else if (name == "--field-order") {
            options.fieldOrder = ParseFieldOrder(value());
        } else if (name == "--white-balance") {
            options.whiteBalance = ParseWhiteBalance(value());
        } else if (name == "--threads") {
            options.threads = ParseCount(value(), "thread count", 0, kMaxThreads);
        } else if (name == "--raw") {
            noValue();
            options.raw = true;
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
    if (options.from.empty()) UsageFail("no source type: give --from TYPE");
    if (!options.widthGiven || !options.heightGiven) {
        UsageFail("no frame size: give --size WIDTHxHEIGHT (or --width and --height)");
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

const char* HelpText() {
    return R"(Usage: znconvert [options] INPUT OUTPUT
       znconvert --list [--from TYPE]

Converts one raw frame (pixel data without any header) from a source pixel type to a
destination pixel type with the converters registered in ZnConvertersLib.

Pixel types are named by hex identifier (0x20010) or by display name ("Bayer RGB8-bits");
names match regardless of case, spaces and punctuation. 'znconvert --list' shows every
registered type and every converter pair.

Options:
  -f, --from TYPE            source pixel type (required)
  -t, --to TYPE              destination pixel type (default 0x420006, "BGR 24-bits, Packed")
  -s, --size WxH             frame size in pixels, e.g. 1024x768 (required)
      --width N, --height N  the frame size given separately
      --source-padding N     bytes after each line of the input (default 0)
      --dest-padding N       bytes after each line of raw output (default 0)
      --pattern P            Bayer sources: the 2x2 tile at the top-left corner, read row
                             by row: GRBG (default), GBRG, RGGB or BGGR
      --demosaic M           Bayer sources: bilinear (default; every pixel interpolated
                             from its 3x3 neighbourhood) or block (one colour per 2x2
                             block, faster)
      --field-order F        interlaced sources, which field the file holds first:
                             top (default; even lines first) or bottom
      --white-balance R,G,B  per-channel multipliers for colour sources, e.g. 1.6,1,1.3
      --threads N            convert in bands on up to N threads (default 1; 0: every
                             hardware thread); small frames stay on one thread
      --raw                  write raw bytes even where a BMP file could be written
  -l, --list                 list pixel types and converters (with --from: that source's)
  -h, --help                 show this help
      --version              show the version

Output:
  Destinations with 24- or 32-bit RGB or BGR pixels, and 8-bit grayscale, are written as
  BMP files: bottom-up rows padded to 4 bytes, channels in BMP's blue-green-red order, a
  gray palette for 8-bit. (The library's BMPSaver writes buffers as they stand, without
  padding or palette, so znconvert writes these files itself.) Every other destination is
  written as raw bytes exactly as the converter produced them: lines of the converter's
  line size plus --dest-padding, planar outputs as three planes one after the other.
  The file is first written under a temporary name next to OUTPUT and then renamed, so a
  failed run never leaves a partial OUTPUT (an existing OUTPUT stays as it was).

Exit status: 0 on success, 1 when the conversion cannot be done (no such converter, a
frame size the layout cannot take, input too short, output not writable), 2 for a wrong
command line.

Example:
  znconvert --from "Bayer RGB8-bits" --to "BGR 24-bits, Packed" --size 1024x768 \
      samples/raccoon-1024x768-bayer-grbg8.raw raccoon.bmp
)";
}

}  // namespace znconvert
