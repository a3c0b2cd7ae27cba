// znconvert: converts a raw camera frame between any two pixel types the converter
// registry connects. The library's conversion call trusts its arguments completely, so
// every check on the command line, the input file and the sizes is made here, before
// anything is converted.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "Errors.h"
#include "Options.h"
#include "OutputFile.h"
#include "TypeCatalogue.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"

#ifndef ZN_VERSION
#define ZN_VERSION "unknown"
#endif

namespace znconvert {
namespace {

using ZnConvertersLib::IdentityConverter;
using ZnConvertersLib::PixelConverter;
using ZnConvertersLib::PixelType;
using ZnConvertersLib::PixelTypeFactory;
using ZnConvertersLib::RGBFilter;
namespace Bits = ZnConvertersLib::PixelTypeBits;
namespace fs = std::filesystem;

// Largest buffer znconvert allocates for a frame, with room to spare below the 4 GiB at
// which the library's 32-bit size arithmetic would wrap.
constexpr uint64_t kMaxBufferBytes = uint64_t{1} << 31;
// Beyond the frame: kernels write past their lines in documented cases (one pixel on odd
// widths, a whole 4:1:1 group, one line after an odd-height Bayer frame) and a few read a
// little past theirs.
constexpr uint64_t kSlackBytes = 256;

constexpr uint32_t kFlagSecondFieldFirst = 0x1;
constexpr uint32_t kFlagNeighbourhoodDemosaic = 0x100;

std::string SizeText(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::optional<BmpLayout> BmpLayoutFor(int64 destination, uint32_t lineSize, uint32_t width) {
    const uint32_t bits = Bits::Low32(destination);
    if ((bits & (Bits::kPlanar | Bits::kTapLayoutMask)) != 0) return std::nullopt;
    const PixelType* type = PixelTypeFactory::FindPixelType(destination);
    if (type == nullptr) return std::nullopt;
    const uint32_t format = bits & Bits::kFormatMask;
    const uint32_t space = bits & Bits::kColorSpaceMask;
    if (space == Bits::kGrayscale && format == 0x1 && type->GetPixelBitSize() == 8 &&
        lineSize == width) {
        return BmpLayout{1, false};
    }
    if (space == Bits::kRGB && !type->IsBayerPattern()) {
        const bool bgr = format == 0x6 || format == 0x7;
        const bool rgb = format == 0x2 || format == 0x3 || format == 0xA || format == 0xB;
        if (!bgr && !rgb) return std::nullopt;
        if (lineSize == 3 * width) return BmpLayout{3, !bgr};
        if (lineSize == 4 * width) return BmpLayout{4, !bgr};
    }
    return std::nullopt;
}

// Reads exactly `size` bytes of the frame into the front of buffer.
void ReadFrame(const std::string& path, std::vector<unsigned char>& buffer, uint64_t size,
               const std::string& frameText) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (in == nullptr) Fail("cannot read input '" + path + "': " + std::strerror(errno));
    const size_t got = std::fread(buffer.data(), 1, static_cast<size_t>(size), in);
    const int readErrno = errno;
    const bool readError = std::ferror(in) != 0;
    // Only peek past the frame: the input may be a device or pipe that never ends.
    const bool more = got == size && !readError && std::fgetc(in) != EOF;
    std::fclose(in);
    if (readError) {
        Fail("cannot read input '" + path + "': " +
             (readErrno == EISDIR ? std::string("it is a directory") : std::strerror(readErrno)));
    }
    if (got < size) {
        Fail("input '" + path + "' holds " + std::to_string(got) + " bytes, but " + frameText +
             " needs " + std::to_string(size));
    }
    if (more) {
        std::error_code error;
        const fs::path file = fs::u8path(path);
        const bool regular = fs::is_regular_file(file, error);
        const uintmax_t total = regular ? fs::file_size(file, error) : 0;
        if (regular && !error && total > size) {
            std::fprintf(stderr,
                         "znconvert: warning: input '%s' holds %ju bytes after the frame; they "
                         "are ignored\n",
                         path.c_str(), static_cast<uintmax_t>(total - size));
        } else {
            std::fprintf(stderr,
                         "znconvert: warning: input '%s' goes on after the frame; the rest is "
                         "ignored\n",
                         path.c_str());
        }
    }
}

std::vector<unsigned char> Allocate(uint64_t size, const std::string& what) {
    try {
        return std::vector<unsigned char>(static_cast<size_t>(size), 0);
    } catch (const std::bad_alloc&) {
        Fail("not enough memory for " + what + " (" + std::to_string(size) + " bytes)");
    }
}

int Run(int argc, const char* const* argv) {
    const Options options = ParseOptions(argc, argv);
    if (options.help) {
        std::fputs(HelpText(), stdout);
        return 0;
    }
    if (options.version) {
        std::printf("znconvert %s\n", ZN_VERSION);
        return 0;
    }

    const TypeCatalogue catalogue;
    if (options.list) {
        if (options.from.empty()) {
            catalogue.List(stdout, nullptr);
        } else {
            const int64 from = catalogue.Resolve(options.from, "source");
            catalogue.List(stdout, &from);
        }
        return 0;
    }

    const int64 source = catalogue.Resolve(options.from, "source");
    const int64 destination = catalogue.Resolve(options.to, "destination");
    const PixelConverter* converter = PixelTypeFactory::FindConverter(source, destination);
    if (converter == nullptr) {
        Fail("no converter from " + catalogue.Describe(source) + " to " +
             catalogue.Describe(destination) + "; 'znconvert --list --from " + HexID(source) +
             "' shows the destinations it has");
    }

    // What the source is decides which options mean anything; an option that would be
    // silently ignored is refused, since the user clearly expected it to act.
    const PixelType* sourceType = PixelTypeFactory::FindPixelType(source);
    const bool knownNotBayer = sourceType != nullptr && !sourceType->IsBayerPattern();
    const bool interlaced = Bits::Has(source, Bits::kInterlaced);
    const bool grayscale = (Bits::Low32(source) & Bits::kColorSpaceMask) == Bits::kGrayscale;
    const bool copy = dynamic_cast<const IdentityConverter*>(converter) != nullptr;
    const std::string sourceText = catalogue.Describe(source);
    if (knownNotBayer && options.pattern) {
        UsageFail("--pattern applies to Bayer sources; " + sourceText + " is not one");
    }
    if (knownNotBayer && options.demosaic) {
        UsageFail("--demosaic applies to Bayer sources; " + sourceText + " is not one");
    }
    if (!interlaced && options.fieldOrder) {
        UsageFail("--field-order applies to interlaced sources; " + sourceText + " is not one");
    }
    if (options.whiteBalance && (grayscale || copy)) {
        UsageFail(std::string("--white-balance has no effect on ") +
                  (grayscale ? "grayscale sources" : "a plain copy") + " (" + sourceText + " to " +
                  catalogue.Describe(destination) + ")");
    }

    uint32_t flags = 0;
    const BayerPattern pattern = options.pattern.value_or(BayerPattern::GRBG);
    const Demosaic demosaic = options.demosaic.value_or(Demosaic::Bilinear);
    if (!knownNotBayer) {
        flags |= static_cast<uint32_t>(pattern);
        if (demosaic == Demosaic::Bilinear) flags |= kFlagNeighbourhoodDemosaic;
    }
    if (options.fieldOrder == FieldOrder::BottomFirst) flags |= kFlagSecondFieldFirst;

    const uint32_t width = options.width;
    const uint32_t height = options.height;
    const std::string frameText = "a " + SizeText(width, height) + " frame of " + sourceText;

    const uint64_t sourceStride =
        uint64_t{converter->GetSourceLineSize(width)} + options.sourcePadding;
    const uint64_t frameBytes = sourceStride * height;
    if (frameBytes > kMaxBufferBytes) {
        Fail(frameText + " needs " + std::to_string(frameBytes) +
             " bytes, more than znconvert handles (2 GiB)");
    }

    const uint32_t lineSize = converter->GetDestinationLineSize(width);
    const std::optional<BmpLayout> bmp =
        options.raw ? std::nullopt : BmpLayoutFor(destination, lineSize, width);
    if (bmp && options.destinationPaddingGiven) {
        UsageFail(
            "--dest-padding applies to raw output (BMP rows are padded to 4 bytes "
            "anyway); add --raw to get padded raw lines");
    }
    const uint32_t destinationPadding = bmp ? 0 : options.destinationPadding;
    const uint64_t destinationStride = uint64_t{lineSize} + destinationPadding;
    // A planar destination's planes are stride × destination height apart; one spare line
    // per plane keeps an odd-height Bayer frame's extra line inside its own plane.
    const bool planar = Bits::Has(destination, Bits::kPlanar);
    const uint32_t callHeight = planar ? height + 1 : height;
    const uint64_t planeBytes = destinationStride * callHeight;
    const uint64_t destinationBytes = (planar ? 3 * planeBytes : destinationStride * (height + 2)) +
                                      destinationStride + kSlackBytes;
    if (destinationBytes > kMaxBufferBytes) {
        Fail("converting " + frameText + " to " + catalogue.Describe(destination) + " needs " +
             std::to_string(destinationBytes) + " bytes, more than znconvert handles (2 GiB)");
    }

    std::vector<unsigned char> input =
        Allocate(frameBytes + sourceStride + kSlackBytes, "the input frame");
    ReadFrame(options.input, input, frameBytes, frameText);
    std::vector<unsigned char> output = Allocate(destinationBytes, "the converted frame");

    std::unique_ptr<RGBFilter> filter;
    if (options.whiteBalance) {
        // The kernels read the filter's 8-bit tables; its depth only has to be sane.
        uint32_t bits = sourceType ? sourceType->GetPixelBitSize() : 8;
        if (bits < 8 || bits > 16) bits = 8;
        filter = std::make_unique<RGBFilter>(bits);
        const auto& m = *options.whiteBalance;
        filter->SetMultipliers(m[0], m[1], m[2]);
    }

    const ZnUtilsLib::Result result = converter->ConvertFiltered(
        filter.get(), input.data(), width, height, output.data(), width, callHeight, width, height,
        flags, destinationPadding, nullptr, nullptr, options.sourcePadding);
    if (!result.IsSuccess()) {
        Fail("the conversion failed with code " + std::to_string(result.GetCode()));
    }

    OutputFile file(options.output);
    std::string format;
    if (bmp) {
        WriteBmp(file, output.data(), width, height, static_cast<size_t>(destinationStride), *bmp);
        format = "BMP, " + std::to_string(bmp->bytesPerPixel * 8) + " bits per pixel";
    } else if (planar) {
        for (int plane = 0; plane < 3; ++plane) {
            file.Write(output.data() + plane * planeBytes,
                       static_cast<size_t>(destinationStride * height));
        }
        format = "raw, three planes of " + std::to_string(destinationStride * height) + " bytes";
    } else {
        file.Write(output.data(), static_cast<size_t>(destinationStride * height));
        format = "raw, " + std::to_string(destinationStride * height) + " bytes";
    }
    file.Commit();

    std::string details;
    if (!knownNotBayer && sourceType != nullptr && !copy) {
        details = std::string(", pattern ") + PatternName(pattern) +
                  (demosaic == Demosaic::Bilinear ? ", bilinear" : ", block");
    }
    std::printf("%s: %s %s -> %s%s (%s)\n", options.output.c_str(), SizeText(width, height).c_str(),
                sourceText.c_str(), catalogue.Describe(destination).c_str(), details.c_str(),
                format.c_str());
    return 0;
}

}  // namespace
}  // namespace znconvert

int main(int argc, char** argv) {
    using znconvert::CommandError;
    try {
        return znconvert::Run(argc, argv);
    } catch (const CommandError& error) {
        std::fprintf(stderr, "znconvert: error: %s%s\n", error.what(),
                     error.ExitCode() == znconvert::kExitUsage ? " (see znconvert --help)" : "");
        return error.ExitCode();
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "znconvert: error: out of memory\n");
        return znconvert::kExitFailure;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "znconvert: error: %s\n", error.what());
        return znconvert::kExitFailure;
    }
}
