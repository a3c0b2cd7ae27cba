#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "ZnConvertersLib/Bayer.h"

namespace znconvert {

// Bayer tile at the top-left corner of the frame, named by its four samples read row by
// row.
enum class BayerPattern : uint32_t {
    GRBG = ZnConvertersLib::kBayerTileGRBG,
    GBRG = ZnConvertersLib::kBayerTileGBRG,
    RGGB = ZnConvertersLib::kBayerTileRGGB,
    BGGR = ZnConvertersLib::kBayerTileBGGR,
};
// Which field of an interlaced frame the file holds first.
enum class FieldOrder { TopFirst, BottomFirst };

// Frames beyond these are refused before anything is allocated; they keep every size the
// library computes (strides, planes, field offsets) far from its 32-bit limits.
constexpr uint32_t kMaxDimension = 1u << 20;
constexpr uint32_t kMaxPadding = 1u << 16;
constexpr double kMaxMultiplier = 255.0;
// The library uses no more threads than it can gain from; beyond this a count is a typo.
constexpr uint32_t kMaxThreads = 1024;
// Each frame gets its own output file; more than this many is a typo, not a recording.
constexpr uint32_t kMaxFrames = 100000;

struct Options {
    bool help = false;
    bool version = false;
    bool list = false;
    std::string from;
    std::string to;
    uint32_t width = 0;
    uint32_t height = 0;
    bool widthGiven = false;
    bool heightGiven = false;
    uint32_t sourcePadding = 0;
    uint32_t destinationPadding = 0;
    bool destinationPaddingGiven = false;
    std::optional<BayerPattern> pattern;
    std::optional<ZnConvertersLib::DemosaicMethod> demosaic;
    std::optional<FieldOrder> fieldOrder;
    std::optional<std::array<double, 3>> whiteBalance;
    uint32_t threads = 1;  // 0: every hardware thread
    bool raw = false;
    bool allowTrailing = false;
    bool stats = false;
    uint32_t frames = 1;
    bool sourcePaddingGiven = false;
    bool pnmInput = false;  // the input starts with a PGM/PPM header
    std::string input;      // "-": standard input
    std::string output;     // "-": standard output
};

// Parses the command line; throws CommandError (usage) for anything it cannot accept.
Options ParseOptions(int argc, const char* const* argv);

const char* HelpText();
// PGM and PPM inputs carry their own size and type in a header.
bool IsPnmName(const std::string& path);

// What an output file holds, by its extension (any case): PNG, BMP, or else raw bytes.
enum class FileFormat { Raw, Bmp, Png };
FileFormat FormatByName(const std::string& path);
const char* PatternName(BayerPattern pattern);
// The name --demosaic takes for the method.
const char* DemosaicName(ZnConvertersLib::DemosaicMethod method);

}  // namespace znconvert
