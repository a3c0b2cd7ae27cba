// The zn-demosaic-quality program on small images written for each case: its limits, its
// exit statuses, and the images it refuses.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace fs = std::filesystem;

#ifndef ZN_DEMOSAIC_QUALITY
#define ZN_DEMOSAIC_QUALITY ""  // not built: every test skips
#endif

namespace {

// A P6 image of w x h pixels: one colour, with a two-pixel frame of noise when asked.
std::string Ppm(uint32_t width, uint32_t height, bool noisyBorder, const char* header = nullptr) {
    std::string ppm = header != nullptr ? header
                                        : "P6\n# a comment\n" + std::to_string(width) + " " +
                                              std::to_string(height) + "\n255\n";
    std::mt19937 noise(5);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const bool border = x < 2 || y < 2 || x + 2 >= width || y + 2 >= height;
            for (const unsigned char flat : {200, 90, 30}) {
                ppm += static_cast<char>(noisyBorder && border ? noise() : flat);
            }
        }
    }
    return ppm;
}

struct QualityCase {
    const char* label;
    std::string image;      // written to image.ppm
    const char* arguments;  // the command line, run in the directory of image.ppm
    int exitCode;
    const char* message;  // on standard output for status 0, else on standard error
};

// Each row label names the test.
std::ostream& operator<<(std::ostream& os, const QualityCase& c) {
    return os << c.label;
}

const QualityCase kCases[] = {
    // One colour comes back exactly from the better methods, borders included.
    {"FlatColourIsExact", Ppm(10, 7, false),
     "--min-interior edge-directed=100 --max-border-loss edge-directed=0 "
     "--max-border-loss=gradient-corrected=0 --min-interior=gradient-corrected=100 image.ppm",
     0, "gradient-corrected        inf      inf      inf      inf        inf      inf"},
    {"InteriorBelowTheMinimum", Ppm(24, 24, true), "--min-interior bilinear=99 image.ppm", 1,
     "bilinear: mean interior PSNR "},
    {"BorderLossAboveTheMaximum", Ppm(24, 24, true),
     "--max-border-loss edge-directed=0.5 image.ppm", 1,
     "edge-directed: the full image's mean PSNR is "},
    {"UnknownMethod", Ppm(8, 8, false), "--min-interior vng=30 image.ppm", 2,
     "unknown method 'vng'"},
    {"LimitWithoutMethod", Ppm(8, 8, false), "--min-interior 30 image.ppm", 2,
     "is not of the form"},
    {"LimitNotANumber", Ppm(8, 8, false), "--max-border-loss bilinear=0.5dB image.ppm", 2,
     "'0.5dB' is not a number"},
    {"UnknownOption", Ppm(8, 8, false), "--tiles 4 image.ppm", 2, "unknown option '--tiles'"},
    {"NoImage", Ppm(8, 8, false), "--min-interior block=1", 2, "no image given"},
    {"MissingFile", "", "missing.ppm", 2, "cannot read 'missing.ppm'"},
    {"AsciiPpm", "P3\n2 2\n255\n0 0 0 0 0 0 0 0 0 0 0 0\n", "image.ppm", 2,
     "not a binary PPM (P6)"},
    {"Pgm", Ppm(8, 8, false, "P5\n8 8\n255\n"), "image.ppm", 2, "not a binary PPM (P6)"},
    {"SixteenBitPpm", Ppm(8, 8, false, "P6\n8 8\n65535\n"), "image.ppm", 2, "samples up to 65535"},
    {"TruncatedSamples", Ppm(8, 8, false).substr(0, 100), "image.ppm", 2, "bytes of samples"},
    {"TooSmallForAnInterior", Ppm(5, 8, false), "image.ppm", 2, "both sides must lie between 6"},
};

class DemosaicQuality : public testing::TestWithParam<QualityCase> {
protected:
    void SetUp() override {
        if (std::string(ZN_DEMOSAIC_QUALITY).empty()) GTEST_SKIP() << "not built";
        std::string pattern = (fs::temp_directory_path() / "zn-quality-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mDirectory = pattern;
    }
    void TearDown() override {
        if (!mDirectory.empty()) fs::remove_all(mDirectory);
    }
    std::string Read(const char* name) const {
        std::ifstream in(mDirectory / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    fs::path mDirectory;
};

TEST_P(DemosaicQuality, ExitsWithTheStatusAndSaysWhy) {
    const QualityCase& c = GetParam();
    if (!c.image.empty()) std::ofstream(mDirectory / "image.ppm", std::ios::binary) << c.image;
    const std::string command = "cd '" + mDirectory.string() + "' && '" ZN_DEMOSAIC_QUALITY "' " +
                                c.arguments + " > out.txt 2> err.txt";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    const std::string out = Read("out.txt"), err = Read("err.txt");
    EXPECT_EQ(WEXITSTATUS(status), c.exitCode) << err;
    EXPECT_NE((c.exitCode == 0 ? out : err).find(c.message), std::string::npos) << out << err;
    // The table is printed whenever the image could be measured.
    EXPECT_EQ(out.find("edge-directed ") != std::string::npos, c.exitCode != 2) << out;
    if (c.exitCode == 0) {
        EXPECT_TRUE(err.empty()) << err;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, DemosaicQuality, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<QualityCase>& info) {
                             return std::string(info.param.label);
                         });

}  // namespace
