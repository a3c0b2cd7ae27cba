#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ZnConvertersLib/BMPSaver.h"
#include "ZnConvertersLib/Types.h"

using namespace ZnConvertersLib;
namespace fs = std::filesystem;

namespace {

class BMPSaverFiles : public testing::Test {
protected:
    void SetUp() override {
        const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("zn-bmpsaver-") + info->test_suite_name() + "-" +
                           info->name() + "-" + std::to_string(::getpid());
        for (char& c : name) {
            if (c == '/') c = '_';  // parameterised test names contain slashes
        }
        mDirectory = fs::temp_directory_path() / name;
        fs::remove_all(mDirectory);
        fs::create_directories(mDirectory);
    }
    void TearDown() override { fs::remove_all(mDirectory); }

    std::string PathOf(const std::string& name) const { return (mDirectory / name).string(); }

    static std::vector<unsigned char> ReadAll(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::vector<unsigned char>(std::istreambuf_iterator<char>(in),
                                          std::istreambuf_iterator<char>());
    }

    fs::path mDirectory;
};

uint32_t U16(const std::vector<unsigned char>& b, size_t at) {
    return b[at] | (b[at + 1] << 8);
}
uint32_t U32(const std::vector<unsigned char>& b, size_t at) {
    return U16(b, at) | (U16(b, at + 2) << 16);
}

std::vector<unsigned char> Pattern(size_t size) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 13 + 5);
    return bytes;
}

struct HeaderCase {
    const char* label;
    int32_t width;
    int32_t height;
    unsigned short bitsPerPixel;
    int32_t imageSize;  // what the header states
};

void PrintTo(const HeaderCase& c, std::ostream* os) {
    *os << c.label;
}

class BMPSaverHeaders : public BMPSaverFiles, public testing::WithParamInterface<HeaderCase> {};

TEST_P(BMPSaverHeaders, WritesExactHeadersAndTheImageSizeBytesOfTheBuffer) {
    const HeaderCase c = GetParam();
    const std::vector<unsigned char> pixels = Pattern(64);
    const std::string path = PathOf("image.bmp");
    ASSERT_EQ(BMPSaver::SaveBMP(path, pixels.data(), c.width, c.height, c.bitsPerPixel).GetCode(),
              0u);

    const std::vector<unsigned char> file = ReadAll(path);
    const size_t written = c.imageSize > 0 ? static_cast<size_t>(c.imageSize) : 0;
    ASSERT_EQ(file.size(), 54 + written);
    EXPECT_EQ(file[0], 'B');
    EXPECT_EQ(file[1], 'M');
    EXPECT_EQ(U32(file, 2), static_cast<uint32_t>(c.imageSize) + 54u);
    EXPECT_EQ(U32(file, 6), 0u);  // both reserved words
    EXPECT_EQ(U32(file, 10), 54u);
    EXPECT_EQ(U32(file, 14), 40u);
    EXPECT_EQ(U32(file, 18), static_cast<uint32_t>(c.width));
    EXPECT_EQ(U32(file, 22), 0u - static_cast<uint32_t>(c.height));
    EXPECT_EQ(U16(file, 26), 1u);
    EXPECT_EQ(U16(file, 28), c.bitsPerPixel);
    EXPECT_EQ(U32(file, 30), 0u);
    EXPECT_EQ(U32(file, 34), static_cast<uint32_t>(c.imageSize));
    for (size_t at = 38; at < 54; at += 4) EXPECT_EQ(U32(file, at), 0u) << "offset " << at;
    // No palette and no padding: the buffer's first bytes follow the headers directly.
    EXPECT_TRUE(std::equal(file.begin() + 54, file.end(), pixels.begin()));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BMPSaverHeaders,
    testing::Values(HeaderCase{"Rgb4x2", 4, 2, 24, 24}, HeaderCase{"Gray3x1NoPadding", 3, 1, 8, 3},
                    HeaderCase{"OneBitTruncates", 5, 1, 1, 0}, HeaderCase{"Bgr32x3", 3, 3, 32, 36},
                    HeaderCase{"ZeroHeight", 7, 0, 24, 0},
                    // Negative products divide toward zero: -5 / 8 is 0, not -1.
                    HeaderCase{"NegativeWidthTruncatesTowardZero", -5, 1, 1, 0},
                    HeaderCase{"NegativeWidth", -4, 2, 24, -24},
                    HeaderCase{"NegativeHeight", 4, -2, 24, -24},
                    // 8 × 2^27 × 2 = 2^31 wraps to the most negative value.
                    HeaderCase{"ProductWrapsNegative", 0x08000000, 2, 8, INT32_MIN / 8},
                    // 32 × (2^30 + 1) wraps to 32: four bytes.
                    HeaderCase{"ProductWrapsToSmallSize", 0x40000001, 1, 32, 4},
                    HeaderCase{"ProductWrapsToZero", 0x10000, 0x10000, 24, 0}),
    [](const testing::TestParamInfo<HeaderCase>& info) { return info.param.label; });

TEST_F(BMPSaverFiles, HeightIsStoredNegatedForTopDownRows) {
    const std::vector<unsigned char> pixels = Pattern(24);
    const std::string path = PathOf("topdown.bmp");
    ASSERT_TRUE(BMPSaver::SaveBMP(path, pixels.data(), 4, 2, 24).IsSuccess());
    const std::vector<unsigned char> file = ReadAll(path);
    ASSERT_EQ(file.size(), 78u);
    EXPECT_EQ(std::vector<unsigned char>(file.begin() + 22, file.begin() + 26),
              (std::vector<unsigned char>{0xFE, 0xFF, 0xFF, 0xFF}));
}

TEST_F(BMPSaverFiles, UnopenablePathsReportFileOpenFailureAndCreateNothing) {
    const std::vector<unsigned char> pixels = Pattern(16);
    const std::string missingDirectory = PathOf("no-such-directory/image.bmp");
    EXPECT_EQ(BMPSaver::SaveBMP(missingDirectory, pixels.data(), 2, 2, 24).GetCode(),
              ResultCode::kFileOpenFailed);
    EXPECT_FALSE(fs::exists(missingDirectory));
    EXPECT_FALSE(fs::exists(PathOf("no-such-directory")));

    // A directory cannot be opened as a file either.
    EXPECT_EQ(BMPSaver::SaveBMP(mDirectory.string(), pixels.data(), 2, 2, 24).GetCode(),
              ResultCode::kFileOpenFailed);
    EXPECT_TRUE(fs::is_directory(mDirectory));
}

TEST_F(BMPSaverFiles, ReplacesTheWholeContentOfAnExistingFile) {
    const std::string path = PathOf("existing.bmp");
    {
        std::ofstream out(path, std::ios::binary);
        out << std::string(500, 'x');
    }
    const std::vector<unsigned char> pixels = Pattern(12);
    ASSERT_TRUE(BMPSaver::SaveBMP(path, pixels.data(), 4, 1, 24).IsSuccess());
    EXPECT_EQ(fs::file_size(path), 54u + 12u);
}

TEST_F(BMPSaverFiles, OpensUtf8PathsAsGiven) {
    const std::string name = "bild-\xC3\xA4-\xE2\x82\xAC.bmp";  // "bild-ä-€.bmp"
    const std::vector<unsigned char> pixels = Pattern(4);
    ASSERT_TRUE(BMPSaver::SaveBMP(PathOf(name), pixels.data(), 1, 1, 32).IsSuccess());
    EXPECT_EQ(fs::file_size(mDirectory / fs::u8path(name)), 58u);
}

}  // namespace
