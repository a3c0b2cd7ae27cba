// End-to-end runs of the znconvert program: real files in, real files out.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ZnConvertersLib/PixelTypeFactory.h"

using namespace ZnConvertersLib;
namespace fs = std::filesystem;

namespace {

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

std::vector<unsigned char> ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in),
                                      std::istreambuf_iterator<char>());
}

std::string ReadText(const fs::path& path) {
    const std::vector<unsigned char> bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

void WriteBytes(const fs::path& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

uint32_t U16(const std::vector<unsigned char>& b, size_t at) {
    return b[at] | (b[at + 1] << 8);
}
uint32_t U32(const std::vector<unsigned char>& b, size_t at) {
    return U16(b, at) | (U16(b, at + 2) << 16);
}

std::vector<unsigned char> Ramp(size_t size, unsigned seed = 1) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 29 + seed);
    return bytes;
}

class Znconvert : public testing::Test {
protected:
    void SetUp() override {
#ifndef ZN_ZNCONVERT
        GTEST_SKIP() << "znconvert is not built";
#else
        const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("zn-znconvert-") + info->test_suite_name() + "-" +
                           info->name() + "-" + std::to_string(::getpid());
        std::replace(name.begin(), name.end(), '/', '_');
        mDirectory = fs::temp_directory_path() / name;
        fs::remove_all(mDirectory);
        fs::create_directories(mDirectory);
#endif
    }
    void TearDown() override {
        if (!mDirectory.empty()) fs::remove_all(mDirectory);
    }

    fs::path PathOf(const std::string& name) const {
        return mDirectory / name;
    }

    ProgramRun Execute(const std::vector<std::string>& args) const {
#ifdef ZN_ZNCONVERT
        // A run that hangs fails here instead of stalling the whole suite.
        std::string command = fs::exists("/usr/bin/timeout") ? "/usr/bin/timeout 120 " : "";
        command += Quote(ZN_ZNCONVERT);
        for (const std::string& arg : args) command += " " + Quote(arg);
        const fs::path out = mDirectory / ".stdout", err = mDirectory / ".stderr";
        command += " > " + Quote(out.string()) + " 2> " + Quote(err.string());
        const int status = std::system(command.c_str());
        ProgramRun run{-1, ReadText(out), ReadText(err)};
        fs::remove(out);
        fs::remove(err);
        if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
        if (WIFSIGNALED(status)) run.exitCode = 128 + WTERMSIG(status);
        return run;
#else
        (void)args;
        return ProgramRun{-1, "", ""};
#endif
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
    const ProgramRun run = Execute({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.err.empty()) << run.err;
    for (const char* option :
         {"--from", "--to", "--size", "--source-padding", "--dest-padding", "--pattern", "GRBG",
          "--demosaic", "--field-order", "--white-balance", "--list", "--raw"}) {
        EXPECT_NE(run.out.find(option), std::string::npos) << option;
    }
}

TEST_F(Znconvert, ListShowsEveryTypeWithSizesAndEveryConverterPair) {
    const ProgramRun run = Execute({"--list"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // This process loaded the same library, so it knows the same registry.
    EXPECT_NE(run.out.find("Pixel types (151):"), std::string::npos);
    EXPECT_NE(run.out.find("Converters (" +
                           std::to_string(PixelTypeFactory::CountRegisteredConverters()) + "):"),
              std::string::npos);
    EXPECT_NE(run.out.find("0x20010        8      1  Bayer RGB8-bits"), std::string::npos);
    EXPECT_NE(run.out.find("0x820008      10      6  RGB10-bits, Planar"), std::string::npos);
    EXPECT_NE(run.out.find("0x210001   -> 0x10001     Grayscale8-bits, Interlaced -> "
                           "Grayscale8-bits"),
              std::string::npos);

    const ProgramRun filtered = Execute({"--list", "--from", "grayscale8 bits, interlaced"});
    ASSERT_EQ(filtered.exitCode, 0) << filtered.err;
    EXPECT_EQ(filtered.out.find("Pixel types"), std::string::npos);
    EXPECT_NE(filtered.out.find("0x210001   -> 0x10001 "), std::string::npos);
    EXPECT_EQ(filtered.out.find("0x10001    -> "), std::string::npos);
}

TEST_F(Znconvert, GrayFrameBecomesAPalettedBottomUpBmpWithPaddedRows) {
    const uint32_t width = 5, height = 3;
    const std::vector<unsigned char> frame = Ramp(width * height);
    WriteBytes(PathOf("gray.raw"), frame);
    const ProgramRun run = Execute({"--from", "Grayscale8-bits", "--to", "0x10001", "--size", "5x3",
                                    PathOf("gray.raw").string(), PathOf("gray.bmp").string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("gray.bmp"), std::string::npos);

    const std::vector<unsigned char> bmp = ReadBytes(PathOf("gray.bmp"));
    const uint32_t paddedRow = 8;
    ASSERT_EQ(bmp.size(), 54u + 1024u + paddedRow * height);
    EXPECT_EQ(U32(bmp, 2), bmp.size());
    EXPECT_EQ(U32(bmp, 10), 54u + 1024u);
    EXPECT_EQ(U32(bmp, 18), width);
    EXPECT_EQ(U32(bmp, 22), height);
    EXPECT_EQ(U16(bmp, 28), 8u);
    EXPECT_EQ(U32(bmp, 34), paddedRow * height);
    EXPECT_EQ(U32(bmp, 46), 256u);
    for (uint32_t i = 0; i < 256; i += 51) {
        EXPECT_EQ(U32(bmp, 54 + 4 * i), i * 0x010101u) << "palette entry " << i;
    }
    for (uint32_t y = 0; y < height; ++y) {
        const size_t row = 54 + 1024 + (height - 1 - y) * paddedRow;
        for (uint32_t x = 0; x < width; ++x) EXPECT_EQ(bmp[row + x], frame[y * width + x]);
        for (uint32_t x = width; x < paddedRow; ++x) EXPECT_EQ(bmp[row + x], 0);
    }
    EXPECT_EQ(Files(), (std::vector<std::string>{"gray.bmp", "gray.raw"}));
}

struct ColourCase {
    const char* label;
    const char* type;
    uint32_t bytesPerPixel;  // in the frame and in the BMP
    bool redFirst;           // the frame holds R,G,B; BMP wants B,G,R
};

void PrintTo(const ColourCase& c, std::ostream* os) {
    *os << c.label;
}

class ZnconvertColourBmp : public Znconvert, public testing::WithParamInterface<ColourCase> {};

TEST_P(ZnconvertColourBmp, WritesBlueGreenRedRowsPaddedToFourBytes) {
    const ColourCase c = GetParam();
    const uint32_t width = 3, height = 2;
    const std::vector<unsigned char> frame = Ramp(width * height * c.bytesPerPixel, 7);
    WriteBytes(PathOf("in.raw"), frame);
    const ProgramRun run = Execute({"--from", c.type, "--to", c.type, "--size", "3x2",
                                    PathOf("in.raw").string(), PathOf("out.bmp").string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;

    const std::vector<unsigned char> bmp = ReadBytes(PathOf("out.bmp"));
    const uint32_t rowBytes = width * c.bytesPerPixel, paddedRow = (rowBytes + 3) & ~3u;
    ASSERT_EQ(bmp.size(), 54u + paddedRow * height);
    EXPECT_EQ(U16(bmp, 28), c.bytesPerPixel * 8);
    EXPECT_EQ(U32(bmp, 46), 0u) << "no palette";
    for (uint32_t y = 0; y < height; ++y) {
        const unsigned char* row = &bmp[54 + (height - 1 - y) * paddedRow];
        for (uint32_t x = 0; x < width; ++x) {
            const unsigned char* pixel = &frame[(y * width + x) * c.bytesPerPixel];
            const unsigned char blue = c.redFirst ? pixel[2] : pixel[0];
            const unsigned char red = c.redFirst ? pixel[0] : pixel[2];
            EXPECT_EQ(row[x * c.bytesPerPixel + 0], blue);
            EXPECT_EQ(row[x * c.bytesPerPixel + 1], pixel[1]);
            EXPECT_EQ(row[x * c.bytesPerPixel + 2], red);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, ZnconvertColourBmp,
                         testing::Values(ColourCase{"PackedRGB24", "0x420002", 3, true},
                                         ColourCase{"PackedBGR24", "BGR 24-bits, Packed", 3, false},
                                         ColourCase{"RGB32", "0x20003", 4, true},
                                         ColourCase{"BGR32", "0x20007", 4, false},
                                         // Unpacked 24-bit types take four bytes per pixel.
                                         ColourCase{"UnpackedBGR24", "BGR 24-bits", 4, false}),
                         [](const testing::TestParamInfo<ColourCase>& info) {
                             return info.param.label;
                         });

TEST_F(Znconvert, RawOutputHonoursSourceAndDestinationPadding) {
    // Grayscale10: two bytes per pixel, 3 × 2 pixels, two padding bytes after each line.
    std::vector<unsigned char> frame = Ramp(2 * (6 + 2));
    WriteBytes(PathOf("in.raw"), frame);
    const ProgramRun run = Execute({"-f", "Grayscale10-bits", "-t", "0x10002", "--width", "3",
                                    "--height", "2", "--source-padding", "2", "--dest-padding", "3",
                                    PathOf("in.raw").string(), PathOf("out.raw").string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::vector<unsigned char> out = ReadBytes(PathOf("out.raw"));
    ASSERT_EQ(out.size(), 2u * (6 + 3));
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(out[y * 9 + i], frame[y * 8 + i]);
        for (uint32_t i = 6; i < 9; ++i) EXPECT_EQ(out[y * 9 + i], 0);
    }

    // --raw keeps a BMP-capable destination raw.
    const ProgramRun raw = Execute({"-f", "0x10001", "-t", "0x10001", "-s", "4x4", "--raw",
                                    PathOf("in.raw").string(), PathOf("gray.raw").string()});
    ASSERT_EQ(raw.exitCode, 0) << raw.err;
    EXPECT_EQ(ReadBytes(PathOf("gray.raw")), frame);
}

TEST_F(Znconvert, FieldOrderChoosesWhichHalfOfAnInterlacedFrameComesFirst) {
    // Two fields of two 2-pixel lines: the first half holds lines a0, a1, the second b0, b1.
    const std::vector<unsigned char> fields = {10, 11, 12, 13, 20, 21, 22, 23};
    WriteBytes(PathOf("fields.raw"), fields);
    const std::vector<std::string> common = {
        "-f", "0x210001", "-t", "0x10001", "-s", "2x4", "--raw", PathOf("fields.raw").string()};

    std::vector<std::string> top = common;
    top.push_back(PathOf("top.raw").string());
    ASSERT_EQ(Execute(top).exitCode, 0);
    EXPECT_EQ(ReadBytes(PathOf("top.raw")),
              (std::vector<unsigned char>{10, 11, 20, 21, 12, 13, 22, 23}));

    std::vector<std::string> bottom = common;
    bottom.insert(bottom.end(), {"--field-order", "bottom", PathOf("bottom.raw").string()});
    ASSERT_EQ(Execute(bottom).exitCode, 0);
    EXPECT_EQ(ReadBytes(PathOf("bottom.raw")),
              (std::vector<unsigned char>{20, 21, 10, 11, 22, 23, 12, 13}));
}

struct BadCase {
    const char* label;
    std::vector<std::string> args;  // "IN" and "OUT" stand for the test's files
    int exitCode;
    const char* message;
};

void PrintTo(const BadCase& c, std::ostream* os) {
    *os << c.label;
}

class ZnconvertRejects : public Znconvert, public testing::WithParamInterface<BadCase> {};

TEST_P(ZnconvertRejects, WithOneLineErrorNonZeroStatusAndNoOutputFile) {
    const BadCase c = GetParam();
    WriteBytes(PathOf("in.raw"), Ramp(16));
    fs::create_directories(PathOf("subdir"));
    std::vector<std::string> args;
    for (const std::string& arg : c.args) {
        if (arg == "IN") {
            args.push_back(PathOf("in.raw").string());
        } else if (arg == "OUT") {
            args.push_back(PathOf("out.bmp").string());
        } else if (arg.rfind("DIR/", 0) == 0) {
            args.push_back(PathOf(arg.substr(4)).string());
        } else {
            args.push_back(arg);
        }
    }
    const ProgramRun run = Execute(args);
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
    EXPECT_EQ(run.err.rfind("znconvert: error: ", 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty()) << run.out;
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.raw", "subdir"})) << "nothing written";
    EXPECT_TRUE(fs::is_empty(PathOf("subdir")));
}

const std::vector<std::string> kGray = {"-f", "0x10001", "-t", "0x10001"};
const std::vector<std::string> kBayer = {"-f", "0x20010", "-t", "0x20010"};
const std::vector<std::string> kPackedRGB = {"-f", "0x420002", "-t", "0x420006"};

std::vector<std::string> With(std::vector<std::string> args, const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

INSTANTIATE_TEST_SUITE_P(
    BadInput, ZnconvertRejects,
    testing::Values(
        BadCase{"UnknownOption", With(kGray, {"-s", "4x4", "--colour", "IN", "OUT"}), 2,
                "unknown option '--colour'"},
        BadCase{"OptionWithoutValue", With(kGray, {"IN", "OUT", "--size"}), 2,
                "--size needs a value"},
        BadCase{"UnknownTypeName",
                {"-f", "Bayer RGB", "-s", "4x4", "IN", "OUT"},
                1,
                "unknown source type 'Bayer RGB'"},
        BadCase{
            "AmbiguousTypeName", {"-f", "RGB32-bits", "-s", "4x4", "IN", "OUT"}, 1, "ambiguous"},
        BadCase{"UnknownIdentifier",
                {"-f", "0x12345", "-s", "4x4", "IN", "OUT"},
                1,
                "0x12345 is not a registered pixel type"},
        BadCase{"MalformedIdentifier",
                {"-f", "0x12G", "-s", "4x4", "IN", "OUT"},
                1,
                "not a valid hex identifier"},
        BadCase{"NoConverterForThePair",
                {"-f", "Grayscale8-bits", "-t", "RGB48-bits", "-s", "4x4", "IN", "OUT"},
                1,
                "no converter from 'Grayscale8-bits' (0x10001) to 'RGB48-bits' (0x20004)"},
        BadCase{"InputShorterThanTheFrame", With(kGray, {"-s", "5x4", "IN", "OUT"}), 1,
                "holds 16 bytes, but a 5x4 frame of 'Grayscale8-bits' (0x10001) needs 20"},
        BadCase{"PaddingMakesTheInputShort",
                With(kGray, {"-s", "4x4", "--source-padding", "1", "IN", "OUT"}), 1, "needs 20"},
        BadCase{"ZeroWidth", With(kGray, {"-s", "0x4", "IN", "OUT"}), 2,
                "width must be at least 1"},
        BadCase{"ZeroHeight", With(kGray, {"--width", "4", "--height", "0", "IN", "OUT"}), 2,
                "height must be at least 1"},
        BadCase{"AbsurdWidth", With(kGray, {"-s", "99999999999x4", "IN", "OUT"}), 2, "too large"},
        BadCase{"AbsurdFrame",
                {"-f", "0x10005", "-t", "0x10005", "-s", "1048576x1048576", "IN", "OUT"},
                1,
                "more than znconvert handles"},
        BadCase{"NegativeSize", With(kGray, {"--width", "-4", "--height", "4", "IN", "OUT"}), 2,
                "not a whole number"},
        BadCase{"MalformedSize", With(kGray, {"-s", "4by4", "IN", "OUT"}), 2, "WIDTHxHEIGHT"},
        BadCase{"MissingSize", With(kGray, {"IN", "OUT"}), 2, "no frame size"},
        BadCase{"MissingSourceType", {"-s", "4x4", "IN", "OUT"}, 2, "no source type"},
        BadCase{"MissingOutputName", With(kGray, {"-s", "4x4", "IN"}), 2, "missing"},
        BadCase{"TooManyNames", With(kGray, {"-s", "4x4", "IN", "OUT", "OUT"}), 2,
                "too many file names"},
        BadCase{"MissingInputFile", With(kGray, {"-s", "4x4", "DIR/none.raw", "OUT"}), 1,
                "cannot read input"},
        BadCase{"InputIsADirectory", With(kGray, {"-s", "4x4", "DIR/subdir", "OUT"}), 1,
                "is a directory"},
        BadCase{"OutputInMissingDirectory", With(kGray, {"-s", "4x4", "IN", "DIR/missing/out.bmp"}),
                1, "cannot write output"},
        BadCase{"OutputIsADirectory", With(kGray, {"-s", "4x4", "IN", "DIR/subdir"}), 1,
                "is a directory"},
        BadCase{"UnknownPattern", With(kBayer, {"-s", "4x4", "--pattern", "RGBG", "IN", "OUT"}), 2,
                "--pattern 'RGBG'"},
        BadCase{"PatternForAGraySource",
                With(kGray, {"-s", "4x4", "--pattern", "RGGB", "IN", "OUT"}), 2,
                "--pattern applies to Bayer sources"},
        BadCase{"UnknownDemosaicMethod",
                With(kBayer, {"-s", "4x4", "--demosaic", "vng", "IN", "OUT"}), 2,
                "--demosaic 'vng'"},
        BadCase{"FieldOrderForAProgressiveSource",
                With(kGray, {"-s", "4x4", "--field-order", "bottom", "IN", "OUT"}), 2,
                "--field-order applies to interlaced sources"},
        BadCase{"NegativeWhiteBalance",
                With(kPackedRGB, {"-s", "2x2", "--white-balance", "1,-1,1", "IN", "OUT"}), 2,
                "between 0 and 255"},
        BadCase{"IncompleteWhiteBalance",
                With(kPackedRGB, {"-s", "2x2", "--white-balance", "1,1", "IN", "OUT"}), 2,
                "three numbers"},
        BadCase{"WhiteBalanceOnGray",
                With(kGray, {"-s", "4x4", "--white-balance", "1,2,1", "IN", "OUT"}), 2,
                "no effect on grayscale sources"},
        BadCase{"DestinationPaddingForABmp",
                With(kGray, {"-s", "4x4", "--dest-padding", "2", "IN", "OUT"}), 2,
                "--dest-padding applies to raw output"}),
    [](const testing::TestParamInfo<BadCase>& info) { return info.param.label; });

TEST_F(Znconvert, FailedRunLeavesAnExistingOutputAsItWas) {
    WriteBytes(PathOf("in.raw"), Ramp(10));
    WriteBytes(PathOf("out.bmp"), {'k', 'e', 'e', 'p'});
    const ProgramRun run = Execute({"-f", "0x10001", "-t", "0x10001", "-s", "4x4",
                                    PathOf("in.raw").string(), PathOf("out.bmp").string()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(ReadText(PathOf("out.bmp")), "keep");
    EXPECT_EQ(Files(), (std::vector<std::string>{"in.raw", "out.bmp"}));
}

TEST_F(Znconvert, LongerInputIsConvertedWithAWarningAboutTheIgnoredBytes) {
    WriteBytes(PathOf("in.raw"), Ramp(20));
    const ProgramRun run = Execute({"-f", "0x10001", "-t", "0x10001", "-s", "4x4", "--raw",
                                    PathOf("in.raw").string(), PathOf("out.raw").string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.err.find("warning"), std::string::npos);
    EXPECT_NE(run.err.find("4 bytes after the frame"), std::string::npos);
    EXPECT_EQ(ReadBytes(PathOf("out.raw")), Ramp(16));
}

TEST_F(Znconvert, EndlessInputIsReadOnlyAsFarAsTheFrame) {
    if (!fs::exists("/dev/zero")) GTEST_SKIP() << "no /dev/zero";
    const ProgramRun run = Execute({"-f", "0x10001", "-t", "0x10001", "-s", "8x8", "--raw",
                                    "/dev/zero", PathOf("out.raw").string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.err.find("goes on after the frame"), std::string::npos) << run.err;
    EXPECT_EQ(ReadBytes(PathOf("out.raw")), std::vector<unsigned char>(64, 0));
}

// The Bayer sample through the demosaicer, checked pixel by pixel against the block rule
// computed here from the mosaic. Needs the built-in Bayer converters.
constexpr int64 kBayer8 = 0x20010;
constexpr int64 kBGR24 = 0x420006;
constexpr uint32_t kSampleWidth = 1024, kSampleHeight = 768;

struct PatternCase {
    const char* name;
    int layout;  // block layout of the top-left 2×2 tile
};

void PrintTo(const PatternCase& c, std::ostream* os) {
    *os << c.name;
}

class BayerSample : public Znconvert {
protected:
    void SetUp() override {
        Znconvert::SetUp();
        if (IsSkipped()) return;
        if (!PixelTypeFactory::HasConverter(kBayer8, kBGR24)) {
            GTEST_SKIP() << "no converter from 0x20010 to 0x420006 is registered yet";
        }
        mSample = fs::path(ZN_SOURCE_DIR) / "samples" / "raccoon-1024x768-bayer-grbg8.raw";
        mMosaic = ReadBytes(mSample);
        ASSERT_EQ(mMosaic.size(), size_t{kSampleWidth} * kSampleHeight);
    }

    // B, G, R of output pixel (x, y) by the block rule for the given tile layout.
    void BlockColour(int layout, uint32_t x, uint32_t y, int& red, int& green, int& blue) const {
        const uint32_t bx = x & ~1u, by = y & ~1u;
        const int t0 = mMosaic[by * kSampleWidth + bx], t1 = mMosaic[by * kSampleWidth + bx + 1];
        const int b0 = mMosaic[(by + 1) * kSampleWidth + bx];
        const int b1 = mMosaic[(by + 1) * kSampleWidth + bx + 1];
        switch (layout) {
            case 0:
                red = t1, green = (t0 + b1) >> 1, blue = b0;
                break;  // G R / B G
            case 1:
                red = b0, green = (t0 + b1) >> 1, blue = t1;
                break;  // G B / R G
            case 2:
                red = t0, green = (t1 + b0) >> 1, blue = b1;
                break;  // R G / G B
            default:
                red = b1, green = (t1 + b0) >> 1, blue = t0;
                break;  // B G / G R
        }
    }

    std::vector<unsigned char> Convert(const std::vector<std::string>& extra) {
        std::vector<std::string> args = {"--from",   "Bayer RGB8-bits", "--size",
                                         "1024x768", mSample.string(),  PathOf("out.bmp").string()};
        args.insert(args.begin(), extra.begin(), extra.end());
        const ProgramRun run = Execute(args);
        EXPECT_EQ(run.exitCode, 0) << run.err;
        std::vector<unsigned char> bmp = ReadBytes(PathOf("out.bmp"));
        EXPECT_EQ(bmp.size(), 54u + kSampleWidth * 3 * kSampleHeight);
        return bmp;
    }

    static const unsigned char* Pixel(const std::vector<unsigned char>& bmp, uint32_t x,
                                      uint32_t y) {
        return &bmp[54 + size_t{kSampleHeight - 1 - y} * kSampleWidth * 3 + x * 3];
    }

    fs::path mSample;
    std::vector<unsigned char> mMosaic;
};

class ZnconvertBayerSample : public BayerSample, public testing::WithParamInterface<PatternCase> {};

TEST_P(ZnconvertBayerSample, BlockMethodMatchesTheTileNamedByThePattern) {
    const PatternCase c = GetParam();
    const std::vector<unsigned char> bmp = Convert({"--pattern", c.name, "--demosaic", "block"});
    ASSERT_EQ(bmp.size(), 54u + kSampleWidth * 3 * kSampleHeight);
    for (uint32_t y = 0; y < kSampleHeight; ++y) {
        for (uint32_t x = 0; x < kSampleWidth; ++x) {
            int red, green, blue;
            BlockColour(c.layout, x, y, red, green, blue);
            const unsigned char* pixel = Pixel(bmp, x, y);
            ASSERT_EQ(pixel[0], blue) << x << "," << y;
            ASSERT_EQ(pixel[1], green) << x << "," << y;
            ASSERT_EQ(pixel[2], red) << x << "," << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Patterns, ZnconvertBayerSample,
                         testing::Values(PatternCase{"GRBG", 0}, PatternCase{"GBRG", 1},
                                         PatternCase{"RGGB", 2}, PatternCase{"BGGR", 3}),
                         [](const testing::TestParamInfo<PatternCase>& info) {
                             return info.param.name;
                         });

class ZnconvertBayerDefaults : public BayerSample {};

TEST_F(ZnconvertBayerDefaults, DefaultIsBilinearOnAGrbgTileWithBlockEdges) {
    const std::vector<unsigned char> bmp = Convert({});
    ASSERT_EQ(bmp.size(), 54u + kSampleWidth * 3 * kSampleHeight);
    uint64_t interiorDifferences = 0;
    for (uint32_t y = 0; y < kSampleHeight; ++y) {
        for (uint32_t x = 0; x < kSampleWidth; ++x) {
            int red, green, blue;
            BlockColour(0, x, y, red, green, blue);
            const unsigned char* pixel = Pixel(bmp, x, y);
            const bool same = pixel[0] == blue && pixel[1] == green && pixel[2] == red;
            if (y < 2 || y >= kSampleHeight - 2) {
                ASSERT_TRUE(same) << "the first and last line pairs are block-converted, " << x
                                  << "," << y;
            } else {
                interiorDifferences += !same;
            }
        }
    }
    EXPECT_GT(interiorDifferences, uint64_t{kSampleWidth} * kSampleHeight / 4)
        << "the interior is interpolated";
}

TEST_F(ZnconvertBayerDefaults, WhiteBalanceScalesEachChannel) {
    const std::vector<unsigned char> bmp =
        Convert({"--demosaic", "block", "--white-balance", "2,1,0.5"});
    ASSERT_EQ(bmp.size(), 54u + kSampleWidth * 3 * kSampleHeight);
    for (uint32_t y = 0; y < kSampleHeight; y += 7) {
        for (uint32_t x = 0; x < kSampleWidth; x += 5) {
            int red, green, blue;
            BlockColour(0, x, y, red, green, blue);
            const unsigned char* pixel = Pixel(bmp, x, y);
            ASSERT_EQ(pixel[2], std::min(2 * red, 255)) << x << "," << y;
            ASSERT_EQ(pixel[1], green) << x << "," << y;
            ASSERT_EQ(pixel[0], blue / 2) << x << "," << y;
        }
    }
}

}  // namespace
