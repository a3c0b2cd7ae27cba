// End-to-end runs of the znconvert program: real files in, real files out.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;
namespace fs = std::filesystem;

#ifndef ZN_ZNCONVERT
#define ZN_ZNCONVERT ""  // not built: every test skips
#endif

namespace {

using Bytes = std::vector<unsigned char>;

struct ProgramRun {
    int exitCode;
    std::string out;
    std::string err;
};

std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

Bytes ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string ReadText(const fs::path& path) {
    const Bytes bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

void WriteBytes(const fs::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

uint32_t U16(const Bytes& b, size_t at) {
    return b[at] | (b[at + 1] << 8);
}
uint32_t U32(const Bytes& b, size_t at) {
    return U16(b, at) | (U16(b, at + 2) << 16);
}
uint32_t BigEndian32(const Bytes& b, size_t at) {
    return (b[at] << 24) | (b[at + 1] << 16) | (b[at + 2] << 8) | b[at + 3];
}

Bytes Concat(std::string text, const Bytes& bytes) {
    Bytes all(text.begin(), text.end());
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

// Every table row below carries a label: it names the test and prints the row.
template <class Case>
auto operator<<(std::ostream& os, const Case& c) -> decltype(c.label, os) {
    return os << c.label;
}
struct ByLabel {
    template <class Case>
    std::string operator()(const testing::TestParamInfo<Case>& info) const {
        return info.param.label;
    }
};

// 1, 1 + step, 1 + 2 × step, ...: with step 1 every byte tells where it came from.
Bytes Count(size_t n, unsigned step = 1) {
    Bytes bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(1 + i * step);
    return bytes;
}

class Znconvert : public testing::Test {
protected:
    void SetUp() override {
        if (std::string(ZN_ZNCONVERT).empty()) GTEST_SKIP() << "znconvert is not built";
        std::string pattern = (fs::temp_directory_path() / "zn-znconvert-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mDirectory = pattern;
    }
    void TearDown() override {
        if (!mDirectory.empty()) fs::remove_all(mDirectory);
    }

    fs::path PathOf(const std::string& name) const { return mDirectory / name; }

    // Runs znconvert in the test directory on a command line read by the shell; $GRAY,
    // $BAYER and $RGB hold the types of most runs.
    ProgramRun Run(const std::string& commandLine) const {
        // A run that hangs fails here instead of stalling the whole suite.
        const std::string command =
            "cd " + Quote(mDirectory.string()) +
            " && GRAY='-f 0x10001 -t 0x10001' BAYER='-f 0x20010 -t 0x20010'"
            " RGB='-f 0x420002 -t 0x420006' && " +
            (fs::exists("/usr/bin/timeout") ? "/usr/bin/timeout 120 " : "") + Quote(ZN_ZNCONVERT) +
            " " + commandLine + " > .stdout 2> .stderr";
        const int status = std::system(command.c_str());
        ProgramRun run{-1, ReadText(PathOf(".stdout")), ReadText(PathOf(".stderr"))};
        fs::remove(PathOf(".stdout"));
        fs::remove(PathOf(".stderr"));
        if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
        if (WIFSIGNALED(status)) run.exitCode = 128 + WTERMSIG(status);
        return run;
    }

    // Names of the files in the test directory, for spotting leftovers.
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(mDirectory)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path mDirectory;
};

TEST_F(Znconvert, HelpDescribesTheOptionsAndSucceeds) {
    const ProgramRun run = Run("--help");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.err.empty()) << run.err;
    for (const char* option :
         {"--from", "--to", "--size", "--source-padding", "--dest-padding", "--pattern", "GRBG",
          "--demosaic", "--field-order", "--white-balance", "--threads", "--list", "--raw",
          "--allow-trailing", "--frames", "--stats", "PNG", "PGM"}) {
        EXPECT_NE(run.out.find(option), std::string::npos) << option;
    }
}

TEST_F(Znconvert, ListShowsEveryTypeOnceWithLayoutAndGenicamName) {
    const ProgramRun run = Run("--list");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // This process loaded the same library, so it knows the same registry.
    RegisterCameraFormats();
    size_t types = 0;
    int64 from = 0, to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        types += from == to && PixelTypeFactory::HasPixelType(from);
    }
    EXPECT_NE(run.out.find("Pixel types (" + std::to_string(types) + "):"), std::string::npos);
    EXPECT_NE(run.out.find("Converters (" +
                           std::to_string(PixelTypeFactory::CountRegisteredConverters()) + "):"),
              std::string::npos);
    EXPECT_NE(run.out.find("0x20010        8      1  8-bit                     BayerGR8          "
                           "Bayer RGB8-bits  [Bayer]"),
              std::string::npos);
    EXPECT_NE(run.out.find("0x20007       32      4  8-bit B,G,R,x             BGRa8             "
                           "RGB32-bits [0x20007]"),
              std::string::npos);

    // Names start where the header's "name" does; none may be shown for two types.
    std::istringstream lines(run.out);
    std::string line;
    std::getline(lines, line);
    std::getline(lines, line);
    const size_t column = line.find("name");
    ASSERT_NE(column, std::string::npos) << line;
    std::set<std::string> names;
    size_t rows = 0;
    while (std::getline(lines, line) && !line.empty()) {
        ++rows;
        EXPECT_TRUE(names.insert(line.substr(column)).second) << line;
    }
    EXPECT_EQ(rows, types);

    const ProgramRun filtered = Run("--list --from 'grayscale8 bits, interlaced'");
    ASSERT_EQ(filtered.exitCode, 0) << filtered.err;
    EXPECT_EQ(filtered.out.find("Pixel types"), std::string::npos);
    EXPECT_NE(filtered.out.find("0x210001   -> 0x10001 "), std::string::npos);
    EXPECT_EQ(filtered.out.find("0x10001    -> "), std::string::npos);
}

struct BmpCase {
    const char* label;
    const char* types;       // --from and --to
    uint32_t bytesPerPixel;  // in the frame and in the BMP; 1 is gray, with a palette
    bool redFirst;           // the frame holds R,G,B; BMP wants B,G,R
};

class ZnconvertBmp : public Znconvert, public testing::WithParamInterface<BmpCase> {};

// 5 pixels a row leave 3, 1 and 0 padding bytes for 1, 3 and 4 bytes per pixel.
TEST_P(ZnconvertBmp, WritesBottomUpBlueGreenRedRowsPaddedToFourBytes) {
    const BmpCase c = GetParam();
    const uint32_t width = 5, height = 3, bytes = c.bytesPerPixel;
    const Bytes frame = Count(width * height * bytes);
    WriteBytes(PathOf("in"), frame);
    const ProgramRun run = Run(std::string(c.types) + " --size 5x3 in out.BMP");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out.rfind("out.BMP: 5x3 ", 0), 0u) << run.out;
    EXPECT_EQ(Files(), (std::vector<std::string>{"in", "out.BMP"}));

    const Bytes bmp = ReadBytes(PathOf("out.BMP"));
    const uint32_t paddedRow = (width * bytes + 3) & ~3u, palette = bytes == 1 ? 256 : 0;
    const uint32_t offset = 54 + 4 * palette;
    ASSERT_EQ(bmp.size(), offset + paddedRow * height);
    // File size, pixel offset, width, height (positive: bottom up), bits per pixel, image
    // size, palette entries.
    EXPECT_EQ((std::vector<uint32_t>{U32(bmp, 2), U32(bmp, 10), U32(bmp, 18), U32(bmp, 22),
                                     U16(bmp, 28), U32(bmp, 34), U32(bmp, 46)}),
              (std::vector<uint32_t>{offset + paddedRow * height, offset, width, height, 8 * bytes,
                                     paddedRow * height, palette}));
    for (uint32_t i = 0; i < palette; i += 51) {
        EXPECT_EQ(U32(bmp, 54 + 4 * i), i * 0x010101u) << "palette entry " << i;
    }
    Bytes rows;  // the frame's lines bottom up, blue first, each padded with zeros
    for (uint32_t y = height; y-- > 0;) {
        for (uint32_t x = 0; x < width; ++x) {
            const size_t at = rows.size();
            rows.insert(rows.end(), &frame[(y * width + x) * bytes],
                        &frame[(y * width + x + 1) * bytes]);
            if (c.redFirst) std::swap(rows[at], rows[at + 2]);
        }
        rows.resize(rows.size() + paddedRow - width * bytes, 0);
    }
    EXPECT_EQ(Bytes(bmp.begin() + offset, bmp.end()), rows);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, ZnconvertBmp,
    testing::Values(BmpCase{"Gray8", "--from Grayscale8-bits --to 0x10001", 1, false},
                    BmpCase{"PackedRGB24", "-f RGB8 -t 0x420002", 3, true},
                    BmpCase{"PackedBGR24", "-f 'BGR 24-bits, Packed' -t 0x420006", 3, false},
                    BmpCase{"RGB32", "-f 0x20003 -t 0x20003", 4, true},
                    BmpCase{"BGR32", "-f 'RGB32-bits [0x20007]' -t 0x20007", 4, false},
                    // Unpacked 24-bit types take four bytes per pixel.
                    BmpCase{"UnpackedBGR24", "-f 'BGR 24-bits' -t 'BGR 24-bits'", 4, false}),
    ByLabel());

// The same picture in different layouts must give the same PNG, byte for byte: that
// checks the channel order and the dropped fourth byte without decoding the image.
TEST_F(Znconvert, PngHoldsEachLayoutAsTheSamePicture) {
    const Bytes rgb = Count(5 * 3 * 3, 7), rgb16 = Count(5 * 3 * 6, 11);
    const auto reorder = [](const Bytes& in, size_t step, std::vector<int> order) {
        Bytes out;
        for (size_t at = 0; at < in.size(); at += step) {
            for (int i : order) out.push_back(i < 0 ? 0xEE : in[at + i]);
        }
        return out;
    };
    const struct {
        const char* types;
        Bytes frame;
        const char* picture;  // rows with the same picture give the same file
        int bitDepth, colourType;
    } cases[] = {
        {"-f RGB8 -t RGB8", rgb, "rgb", 8, 2},
        {"-f BGR8 -t BGR8", reorder(rgb, 3, {2, 1, 0}), "rgb", 8, 2},
        {"-f RGBa8 -t 0x20003", reorder(rgb, 3, {0, 1, 2, -1}), "rgb", 8, 2},
        {"-f 0x20007 -t BGRa8", reorder(rgb, 3, {2, 1, 0, -1}), "rgb", 8, 2},
        {"-f 0x20004 -t 0x20004", rgb16, "rgb16", 16, 2},
        {"-f 0x20804 -t 0x20804", reorder(rgb16, 6, {4, 5, 2, 3, 0, 1}), "rgb16", 16, 2},
        {"-f Mono8 -t Mono8", Count(15), "gray", 8, 0},
        {"-f Mono16 -t Mono16", Count(30), "gray16", 16, 0},
    };
    std::map<std::string, Bytes> pictures;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.types);
        WriteBytes(PathOf("in"), c.frame);
        const ProgramRun run = Run(std::string(c.types) + " -s 5x3 in out.png");
        if (run.err.find("without PNG support") != std::string::npos) GTEST_SKIP() << run.err;
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const Bytes png = ReadBytes(PathOf("out.png"));
        ASSERT_GT(png.size(), 33u);
        EXPECT_EQ(
            Bytes(png.begin(), png.begin() + 16),
            (Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R'}));
        EXPECT_EQ(
            (std::vector<uint32_t>{BigEndian32(png, 16), BigEndian32(png, 20), png[24], png[25]}),
            (std::vector<uint32_t>{5, 3, uint32_t(c.bitDepth), uint32_t(c.colourType)}));
        const auto first = pictures.emplace(c.picture, png).first;
        EXPECT_EQ(first->second, png) << "differs from the first " << c.picture << " PNG";
    }
}

struct RunCase {
    const char* label;
    const char* commandLine;
    const char* inputName;
    Bytes input;             // empty: an endless input
    const char* outputName;  // null: standard output
    Bytes expected;
};

const Bytes kPgm = Concat("P5\n# a comment\n4 2\n255\n", Count(8));

const RunCase kRunCases[] = {
    // Grayscale10: two bytes a pixel, 3 × 2 pixels, two padding bytes after each line.
    {"SourceAndDestinationPadding",
     "-f Grayscale10-bits -t 0x10002 --width 3 --height 2 --source-padding 2 --dest-padding 3 "
     "in out",
     "in", Count(16), "out", Bytes{1, 2, 3, 4, 5, 6, 0, 0, 0, 9, 10, 11, 12, 13, 14, 0, 0, 0}},
    // Three planes of 2x1: R, G, B.
    {"PlanarSourceIsReadWhole", "-f 0x820002 -t 0x420002 -s 2x1 in out", "in",
     Bytes{1, 2, 3, 4, 5, 6}, "out", Bytes{1, 3, 5, 2, 4, 6}},
    // Two fields of two 2-pixel lines: the first half holds lines a0, a1, the second b0, b1.
    {"TopFieldFirstByDefault", "-f 0x210001 -t 0x10001 -s 2x4 in out", "in",
     Bytes{10, 11, 12, 13, 20, 21, 22, 23}, "out", Bytes{10, 11, 20, 21, 12, 13, 22, 23}},
    {"BottomFieldFirst", "-f 0x210001 -t 0x10001 -s 2x4 --field-order bottom in out", "in",
     Bytes{10, 11, 12, 13, 20, 21, 22, 23}, "out", Bytes{20, 21, 10, 11, 22, 23, 12, 13}},
    {"TrailingBytesAllowed", "$GRAY -s 4x3 --allow-trailing in out", "in", Count(16), "out",
     Count(12)},
    {"EndlessInputIsReadOnlyAsFarAsTheFrame", "$GRAY -s 8x8 --allow-trailing in out", "in", Bytes(),
     "out", Bytes(64, 0)},
    {"GenicamNameAndCode", "-f Mono8 -t 0x01080001 -s 4x2 in out", "in", Count(8), "out", Count(8)},
    {"RawWhateverTheName", "$GRAY -s 4x2 --raw in out.bmp", "in", Count(8), "out.bmp", Count(8)},
    {"PgmGray8", "-t Mono8 in.pgm out", "in.pgm", kPgm, "out", Count(8)},
    {"PgmWithMatchingOptions", "-f 0x10001 -t Mono8 -s 4x2 in.pgm out", "in.pgm", kPgm, "out",
     Count(8)},
    // 16-bit samples are big-endian in the file, little-endian in the library.
    {"PgmGray16", "-t Mono16 in.PGM out", "in.PGM", Concat("P5 2 1 65535\n", Bytes{1, 2, 3, 4}),
     "out", Bytes{2, 1, 4, 3}},
    {"PpmRgb8", "-t BGR8 in.ppm out", "in.ppm", Concat("P6\n2 1\n255\n", Count(6)), "out",
     Bytes{3, 2, 1, 6, 5, 4}},
    {"PgmFromStandardInput", "-t Mono8 - out < in", "in", kPgm, "out", Count(8)},
    {"RawFromStandardInputToStandardOutput", "$GRAY -s 4x2 - - < in", "in", Count(8), nullptr,
     Count(8)},
};

class ZnconvertRuns : public Znconvert, public testing::WithParamInterface<RunCase> {};

TEST_P(ZnconvertRuns, WriteTheConvertedLinesAsTheyAre) {
    const RunCase& c = GetParam();
    if (c.input.empty()) {
        fs::create_symlink("/dev/zero", PathOf(c.inputName));
    } else {
        WriteBytes(PathOf(c.inputName), c.input);
    }
    const ProgramRun run = Run(c.commandLine);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(run.err.empty()) << run.err;
    if (c.outputName == nullptr) {
        EXPECT_EQ(Bytes(run.out.begin(), run.out.end()), c.expected);
        EXPECT_EQ(Files(), (std::vector<std::string>{c.inputName}));
    } else {
        EXPECT_EQ(ReadBytes(PathOf(c.outputName)), c.expected);
        EXPECT_EQ(Files(), (std::vector<std::string>{c.inputName, c.outputName}));
    }
}

INSTANTIATE_TEST_SUITE_P(Runs, ZnconvertRuns, testing::ValuesIn(kRunCases), ByLabel());

TEST_F(Znconvert, FramesGoToNumberedFilesAndStatsTimeTheConversion) {
    WriteBytes(PathOf("in"), Count(24));
    const ProgramRun run = Run("$GRAY -s 4x2 --frames 3 --stats in out.raw");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Files(),
              (std::vector<std::string>{"in", "out-0000.raw", "out-0001.raw", "out-0002.raw"}));
    for (int i = 0; i < 3; ++i) {
        const Bytes all = Count(24);
        EXPECT_EQ(ReadBytes(PathOf("out-000" + std::to_string(i) + ".raw")),
                  Bytes(all.begin() + 8 * i, all.begin() + 8 * (i + 1)))
            << i;
    }
    EXPECT_EQ(run.out.rfind("out-0000.raw ... out-0002.raw (3 frames): 4x2 ", 0), 0u) << run.out;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find("converted 3 frames of 4x2 in "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(" MPix/s)"), std::string::npos) << run.err;
}

TEST_F(Znconvert, ReplacingAFileKeepsItsPermissions) {
    WriteBytes(PathOf("in"), Count(8));
    WriteBytes(PathOf("out"), {'o', 'l', 'd'});
    const auto mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    fs::permissions(PathOf("out"), mode);
    ASSERT_EQ(Run("$GRAY -s 4x2 in out").exitCode, 0);
    EXPECT_EQ(ReadBytes(PathOf("out")), Count(8));
    EXPECT_EQ(fs::status(PathOf("out")).permissions(), mode);
}

struct BadCase {
    const char* label;
    const char* commandLine;
    int exitCode;
    const char* message;
};

const BadCase kBadCases[] = {
    {"UnknownOption", "$GRAY -s 4x4 --colour in out", 2, "unknown option '--colour'"},
    {"OptionWithoutValue", "$GRAY in out --size", 2, "--size needs a value"},
    {"OptionTwiceWithDifferentValues", "$GRAY -s 4x4 --width 5 in out", 2,
     "width given twice with different values ('4' and '5')"},
    {"UnknownTypeName", "-f 'Bayer RGB' -s 4x4 in out", 2, "unknown source type 'Bayer RGB'"},
    {"AmbiguousTypeName", "-f RGB32-bits -s 4x4 in out", 2, "ambiguous"},
    {"UnknownIdentifier", "-f 0x12345 -s 4x4 in out", 2, "0x12345 is not a registered pixel type"},
    {"UnknownGenicamCode", "-f 0x01080099 -s 4x4 in out", 2, "or GenICam format"},
    {"MalformedIdentifier", "-f 0x12G -s 4x4 in out", 2, "not a valid hex identifier"},
    {"GenicamFormatWithoutDecoder", "-f RGB16 -s 2x2 in out", 1, "no converter reads yet"},
    {"PatternContradictsGenicamName", "-f BayerRG8 --pattern GRBG -s 4x4 in out", 2,
     "--from BayerRG8 has tile RGGB, but --pattern says GRBG"},
    {"NoConverterForThePair", "-f Grayscale8-bits -t RGB48-bits -s 4x4 in out", 1,
     "no converter from 'Grayscale8-bits' (0x10001) to 'RGB48-bits' (0x20004)"},
    {"InputShorterThanTheFrame", "$GRAY -s 5x4 in out", 1,
     "holds 16 bytes, but a 5x4 frame of 'Grayscale8-bits' (0x10001) needs 20"},
    // The padding after the last line is never read, so it need not be there.
    {"PaddingMakesTheInputShort", "$GRAY -s 4x4 --source-padding 1 in out", 1, "needs 19"},
    {"InputLongerThanTheFrame", "$GRAY -s 4x3 in out", 1,
     "holds 4 bytes after the frame; give --allow-trailing"},
    // Standard output too gets nothing from a run that fails.
    {"InputLongerThanTheFrameToStandardOutput", "$GRAY -s 4x2 in -", 1,
     "holds 8 bytes after the frame"},
    {"FewerFramesThanAskedFor", "$GRAY -s 4x2 --frames 3 in out", 1,
     "has 0 bytes left, but frame 2 (a 4x2 frame"},
    {"ZeroWidth", "$GRAY -s 0x4 in out", 2, "width must be at least 1"},
    {"AbsurdWidth", "$GRAY -s 99999999999x4 in out", 2, "too large"},
    {"NegativeThreadCount", "$GRAY -s 4x4 --threads -1 in out", 2,
     "thread count '-1' is not a whole number"},
    {"OddWidthOf422Yuv", "-f 0x40001 -s 3x2 in out", 1,
     "cannot convert a 3x2 frame of 'YUV 8-bits 4:2:2' (0x40001) to 'BGR 24-bits, Packed' "
     "(0x420006): width 3 is not a multiple of 2"},
    {"MosaicOnePixelWide", "-f 0x20010 -t 0x420006 -s 1x16 in out", 1, "too small to demosaic"},
    {"MalformedSize", "$GRAY -s 4by4 in out", 2, "WIDTHxHEIGHT"},
    {"MissingSize", "$GRAY in out", 2, "no frame size"},
    {"MissingSourceType", "-s 4x4 in out", 2, "no source type"},
    {"MissingOutputName", "$GRAY -s 4x4 in", 2, "missing"},
    {"TooManyNames", "$GRAY -s 4x4 in out out", 2, "too many file names"},
    {"MissingInputFile", "$GRAY -s 4x4 none.raw out", 1, "cannot read input"},
    {"InputIsADirectory", "$GRAY -s 4x4 subdir out", 1, "is a directory"},
    {"OutputInMissingDirectory", "$GRAY -s 4x4 in missing/out", 1, "cannot write output"},
    {"OutputIsADirectory", "$GRAY -s 4x4 in subdir", 1, "is a directory"},
    {"OutputIsTheInput", "$GRAY -s 4x4 in ./subdir/../in", 2, "is the input file"},
    {"OutputIsASymbolicLink", "$GRAY -s 4x4 in link", 1, "'link' is a symbolic link"},
    {"PngCannotHoldYuv", "-f 0x40001 -t 0x40001 -s 4x2 in out.png", 2,
     "PNG files cannot hold 'YUV 8-bits 4:2:2' (0x40001)"},
    {"PngCannotHoldPlanes", "-f RGB8_Planar -t RGB8_Planar -s 2x2 in out.png", 2,
     "PNG files cannot hold"},
    {"BmpCannotHold16BitGray", "-f Mono16 -t Mono16 -s 4x2 in out.bmp", 2, "BMP files cannot hold"},
    {"SizeContradictsThePgmHeader", "-s 4x3 in.pgm out", 1,
     "--size 4x3 contradicts the header of input 'in.pgm' (PGM, 4x2, 8-bit)"},
    {"TypeContradictsThePgmHeader", "-f RGB8 in.pgm out", 1, "contradicts the header"},
    {"StandardInputWithoutHeader", "- out < in", 1, "is not a binary PGM or PPM file"},
    {"PaddingForAPgm", "--source-padding 2 in.pgm out", 2, "does not apply to PGM/PPM"},
    {"UnknownPattern", "$BAYER -s 4x4 --pattern RGBG in out", 2, "--pattern 'RGBG'"},
    {"PatternForAGraySource", "$GRAY -s 4x4 --pattern RGGB in out", 2,
     "--pattern applies to Bayer sources"},
    {"UnknownDemosaicMethod", "$BAYER -s 4x4 --demosaic vng in out", 2,
     "--demosaic 'vng' is not one of block, bilinear, gradient-corrected, edge-directed"},
    {"DemosaicShortFormAndFullNameAgreeButNotAnother",
     "$BAYER -s 4x4 --demosaic edge --demosaic Edge-Directed --demosaic gradient in out", 2,
     "--demosaic given twice with different values ('edge-directed' and 'gradient-corrected')"},
    {"FieldOrderForAProgressiveSource", "$GRAY -s 4x4 --field-order bottom in out", 2,
     "--field-order applies to interlaced sources"},
    {"NegativeWhiteBalance", "$RGB -s 2x2 --white-balance 1,-1,1 in out", 2, "between 0 and 255"},
    {"IncompleteWhiteBalance", "$RGB -s 2x2 --white-balance 1,1 in out", 2, "three numbers"},
    {"WhiteBalanceOnGray", "$GRAY -s 4x4 --white-balance 1,2,1 in out", 2,
     "no effect on grayscale sources"},
    {"DestinationPaddingForABmp", "$GRAY -s 4x4 --dest-padding 2 in out.bmp", 2,
     "--dest-padding applies to raw output"},
};

class ZnconvertRejects : public Znconvert, public testing::WithParamInterface<BadCase> {};

// An output left from an earlier run must survive every failure whole, and nothing may
// be written through a link to it.
TEST_P(ZnconvertRejects, WithOneLineErrorNonZeroStatusAndOutputsLeftAsTheyWere) {
    const BadCase& c = GetParam();
    WriteBytes(PathOf("in"), Count(16));
    WriteBytes(PathOf("in.pgm"), kPgm);
    WriteBytes(PathOf("out"), {'k', 'e', 'e', 'p'});
    fs::create_symlink("out", PathOf("link"));
    fs::create_directories(PathOf("subdir"));
    const ProgramRun run = Run(c.commandLine);
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
    EXPECT_EQ(run.err.rfind("znconvert: error: ", 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty()) << run.out;
    EXPECT_EQ(Files(), (std::vector<std::string>{"in", "in.pgm", "link", "out", "subdir"}));
    EXPECT_EQ(ReadBytes(PathOf("out")), (Bytes{'k', 'e', 'e', 'p'}));
    EXPECT_TRUE(fs::is_symlink(PathOf("link")));
    EXPECT_TRUE(fs::is_empty(PathOf("subdir")));
}

INSTANTIATE_TEST_SUITE_P(BadInput, ZnconvertRejects, testing::ValuesIn(kBadCases), ByLabel());

struct ThreadsCase {
    const char* label;
    const char* options;  // converting the sample frame's bytes
};

class ZnconvertThreads : public Znconvert, public testing::WithParamInterface<ThreadsCase> {};

// The sample is large enough to be cut into bands; an odd height leaves a last line to
// convert on its own, and a chain converts twice through an intermediate image.
TEST_P(ZnconvertThreads, GiveTheBytesOfOneThread) {
    const std::string sample = Quote(ZN_SOURCE_DIR "/samples/raccoon-1024x768-bayer-grbg8.raw");
    // The frames of less than the whole sample leave its last lines unread.
    const std::string command =
        std::string(GetParam().options) + " --allow-trailing " + sample + " out";
    ASSERT_EQ(Run(command + " --threads 1").exitCode, 0);
    const Bytes one = ReadBytes(PathOf("out"));
    for (const char* threads : {"2", "0"}) {
        SCOPED_TRACE(threads);
        const ProgramRun run = Run(command + " --threads " + threads);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(ReadBytes(PathOf("out")), one);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Frames, ZnconvertThreads,
    testing::Values(ThreadsCase{"BayerBilinearBmp", "-f 0x20010 -t 0x420006 -s 1024x768"},
                    ThreadsCase{"EvenHeightBayerBlockPlanar",
                                "-f 0x20010 -t 0x820002 -s 1024x766 --demosaic block"},
                    ThreadsCase{"OddHeightBayerBlockRaw",
                                "-f 0x20010 -t 0x20007 -s 1024x767 --demosaic block"},
                    ThreadsCase{"OddHeightBayerEdgeDirectedRaw",
                                "-f 0x20010 -t 0x420002 -s 1024x767 --demosaic edge-directed"},
                    ThreadsCase{"ChainedQuadTaps", "-f 0x10006 -t 0x420006 -s 1024x768"}),
    ByLabel());

// One line pair of two 2×2 blocks: the block rule gives each block's four pixels the
// block's red and blue sites and the mean of its two green sites, by the pattern's tile.
TEST_F(Znconvert, BayerBlocksFollowThePatternAndTheWhiteBalance) {
    WriteBytes(PathOf("in"), {10, 20, 30, 200, 50, 60, 70, 80});
    const struct {
        const char* options;
        Bytes bgr;  // of each block
    } cases[] = {
        {"-f 0x20010 --pattern GRBG", {50, 35, 20, 70, 55, 200}},
        {"-f 0x20010 --pattern GBRG", {20, 35, 50, 200, 55, 70}},
        {"-f 0x20010 --pattern RGGB", {60, 35, 10, 80, 135, 30}},
        {"-f 0x20010 --pattern BGGR", {10, 35, 60, 30, 135, 80}},
        // A GenICam name or code of a mosaic names its tile too.
        {"-f BayerRG8", {60, 35, 10, 80, 135, 30}},
        {"-f 0x0108000B --pattern bggr", {10, 35, 60, 30, 135, 80}},
        {"-f 0x20010 --white-balance 2,1,0.5", {25, 35, 40, 35, 55, 255}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        const ProgramRun run =
            Run("-t 0x420006 -s 4x2 --demosaic block " + std::string(c.options) + " in out");
        ASSERT_EQ(run.exitCode, 0) << run.err;
        Bytes expected;  // two lines of four pixels, two of each block
        for (size_t pixel = 0; pixel < 8; ++pixel) {
            const auto block = c.bgr.begin() + 3 * (pixel % 4 / 2);
            expected.insert(expected.end(), block, block + 3);
        }
        EXPECT_EQ(ReadBytes(PathOf("out")), expected);
    }
}

TEST_F(Znconvert, BayerSourcesDefaultToBilinearGrbgIntoPackedBgr24) {
    WriteBytes(PathOf("in"), Count(16 * 6, 29));
    const ProgramRun run = Run("-f 'Bayer RGB8-bits' -s 16x6 in out");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("pattern GRBG, bilinear"), std::string::npos) << run.out;
    const Bytes defaults = ReadBytes(PathOf("out"));
    ASSERT_EQ(
        Run("-f 0x20010 -t 0x420006 -s 16x6 --pattern GRBG --demosaic bilinear in out").exitCode,
        0);
    EXPECT_EQ(ReadBytes(PathOf("out")), defaults);
    ASSERT_EQ(Run("-f 0x20010 -t 0x420006 -s 16x6 --pattern GRBG --demosaic block in out").exitCode,
              0);
    EXPECT_NE(ReadBytes(PathOf("out")), defaults) << "the interior is interpolated";
}

struct DemosaicCase {
    const char* label;
    const char* options;  // --demosaic as a user may spell it, and the types
    DemosaicMethod method;
    uint32_t tile;
    int64 destination;
    uint32_t bytesPerPixel;
    const char* summary;
};

class ZnconvertDemosaic : public Znconvert, public testing::WithParamInterface<DemosaicCase> {};

// Each name must reach its own method: the program's bytes are the library's for that
// method and tile, and differ from what the default method gives.
TEST_P(ZnconvertDemosaic, GivesTheLibrarysBytesForTheNamedMethod) {
    const DemosaicCase& c = GetParam();
    const std::string sample = ZN_SOURCE_DIR "/samples/raccoon-1024x768-bayer-grbg8.raw";
    const ProgramRun run =
        Run(std::string("-s 1024x768 ") + c.options + " " + Quote(sample) + " out");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find(c.summary), std::string::npos) << run.out;

    const Bytes mosaic = ReadBytes(sample);
    const auto convert = [&](DemosaicMethod method) {
        Bytes image(size_t{1024} * 768 * c.bytesPerPixel);
        ConvertOptions options;
        options.bayerTile = c.tile;
        options.demosaic = method;
        const FrameResult result = ConvertFrame(
            FrameView{0x20010, 1024, 768, 0, mosaic.data(), mosaic.size()},
            MutableFrameView{c.destination, 1024, 768, 0, image.data(), image.size()}, options);
        EXPECT_TRUE(result) << result.message;
        return image;
    };
    const Bytes out = ReadBytes(PathOf("out"));
    EXPECT_TRUE(out == convert(c.method)) << "not the library's " << c.summary;
    EXPECT_FALSE(out == convert(DemosaicMethod::kBilinear));
}

INSTANTIATE_TEST_SUITE_P(
    Methods, ZnconvertDemosaic,
    testing::Values(
        DemosaicCase{"GradientCorrectedRgb24", "-f BayerGR8 --demosaic gradient-corrected -t RGB8",
                     DemosaicMethod::kGradientCorrected, kBayerTileGRBG, 0x420002, 3,
                     "pattern GRBG, gradient-corrected"},
        DemosaicCase{"GradientShortFormBggrBgr24", "-f 0x20010 --demosaic Gradient --pattern BGGR",
                     DemosaicMethod::kGradientCorrected, kBayerTileBGGR, 0x420006, 3,
                     "pattern BGGR, gradient-corrected"},
        DemosaicCase{"EdgeDirectedBgr32", "-f 0x20010 --demosaic EDGE-DIRECTED -t 0x20007",
                     DemosaicMethod::kEdgeDirected, kBayerTileGRBG, 0x20007, 4,
                     "pattern GRBG, edge-directed"},
        DemosaicCase{"EdgeShortFormRggbRgb24", "--demosaic edge -f BayerRG8 -t RGB8",
                     DemosaicMethod::kEdgeDirected, kBayerTileRGGB, 0x420002, 3,
                     "pattern RGGB, edge-directed"}),
    ByLabel());

}  // namespace
