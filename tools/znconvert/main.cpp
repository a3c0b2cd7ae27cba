// znconvert: converts a raw camera frame between any two pixel types the converter
// registry connects. The library's checked frame call vets sizes, strides and buffers and
// says how much each conversion reads and writes; znconvert checks the command line and
// the input file, and sizes its buffers by what the call says.
#include <algorithm>
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
#include "ZnConvertersLib/Frame.h"
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

using ZnConvertersLib::ConvertFrame;
using ZnConvertersLib::ConvertOptions;
using ZnConvertersLib::DemosaicMethod;
using ZnConvertersLib::FrameFootprint;
using ZnConvertersLib::FrameResult;
using ZnConvertersLib::FrameView;
using ZnConvertersLib::GetFrameFootprint;
using ZnConvertersLib::IdentityConverter;
using ZnConvertersLib::MutableFrameView;
using ZnConvertersLib::PixelConverter;
using ZnConvertersLib::PixelType;
using ZnConvertersLib::PixelTypeFactory;
using ZnConvertersLib::RGBFilter;
namespace Bits = ZnConvertersLib::PixelTypeBits;
namespace fs = std::filesystem;

std::string SizeText(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::optional<BmpLayout> BmpLayoutFor(int64 destination, size_t lineSize, uint32_t width) {
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
        if (lineSize == size_t{3} * width) return BmpLayout{3, !bgr};
        if (lineSize == size_t{4} * width) return BmpLayout{4, !bgr};
    }
    return std::nullopt;
}

// Reads the frame into the front of buffer, which spans the frame as the file lays it out
// (padding after the last line included); the file must hold at least the `needed` bytes
// the conversion reads.
void ReadFrame(const std::string& path, std::vector<unsigned char>& buffer, size_t needed,
               const std::string& frameText) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (in == nullptr) Fail("cannot read input '" + path + "': " + std::strerror(errno));
    const size_t size = buffer.size();
    const size_t got = std::fread(buffer.data(), 1, size, in);
    const int readErrno = errno;
    const bool readError = std::ferror(in) != 0;
    // Only peek past the frame: the input may be a device or pipe that never ends.
    const bool more = got == size && !readError && std::fgetc(in) != EOF;
    std::fclose(in);
    if (readError) {
        Fail("cannot read input '" + path + "': " +
             (readErrno == EISDIR ? std::string("it is a directory") : std::strerror(readErrno)));
    }
    if (got < needed) {
        Fail("input '" + path + "' holds " + std::to_string(got) + " bytes, but " + frameText +
             " needs " + std::to_string(needed));
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

std::vector<unsigned char> Allocate(size_t size, const std::string& what) {
    try {
        return std::vector<unsigned char>(size, 0);
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

    ConvertOptions convert;
    const BayerPattern pattern = options.pattern.value_or(BayerPattern::GRBG);
    const Demosaic demosaic = options.demosaic.value_or(Demosaic::Bilinear);
    if (!knownNotBayer) {
        convert.bayerTile = static_cast<uint32_t>(pattern);
        if (demosaic == Demosaic::Bilinear) convert.demosaic = DemosaicMethod::kBilinear;
    }
    convert.secondFieldFirst = options.fieldOrder == FieldOrder::BottomFirst;
    convert.threads = options.threads;

    const uint32_t width = options.width;
    const uint32_t height = options.height;
    const std::string frameText = "a " + SizeText(width, height) + " frame of " + sourceText;
    const auto refuse = [&](const FrameResult& result) {
        Fail("cannot convert " + frameText + " to " + catalogue.Describe(destination) + ": " +
             result.message);
    };

    // Line sizes first: whether the output can be a BMP decides the destination stride.
    const FrameFootprint lines = GetFrameFootprint(*converter, width, height);
    if (!lines.result) refuse(lines.result);
    const std::optional<BmpLayout> bmp =
        options.raw ? std::nullopt : BmpLayoutFor(destination, lines.destinationLineBytes, width);
    if (bmp && options.destinationPaddingGiven) {
        UsageFail(
            "--dest-padding applies to raw output (BMP rows are padded to 4 bytes "
            "anyway); add --raw to get padded raw lines");
    }
    const size_t sourceStride = lines.sourceLineBytes + options.sourcePadding;
    const size_t destinationStride =
        lines.destinationLineBytes + (bmp ? 0 : options.destinationPadding);
    const FrameFootprint footprint =
        GetFrameFootprint(*converter, width, height, sourceStride, destinationStride);
    if (!footprint.result) refuse(footprint.result);

    // The files hold whole planes of whole lines, padding after the last line included; the
    // conversion may read or write a little past that, or stop short of the last padding.
    const auto planeCount = [](int64 type) { return Bits::Has(type, Bits::kPlanar) ? 3 : 1; };
    const size_t sourceFileBytes = planeCount(source) * sourceStride * height;
    const size_t planeBytes = destinationStride * height;
    const int planes = planeCount(destination);

    std::vector<unsigned char> input =
        Allocate(std::max(footprint.sourceBytes, sourceFileBytes), "the input frame");
    ReadFrame(options.input, input, footprint.sourceBytes, frameText);
    std::vector<unsigned char> output =
        Allocate(std::max(footprint.destinationBytes, planes * planeBytes), "the converted frame");

    std::unique_ptr<RGBFilter> filter;
    if (options.whiteBalance) {
        // The kernels read the filter's 8-bit tables; its depth only has to be sane.
        uint32_t bits = sourceType ? sourceType->GetPixelBitSize() : 8;
        if (bits < 8 || bits > 16) bits = 8;
        filter = std::make_unique<RGBFilter>(bits);
        const auto& m = *options.whiteBalance;
        filter->SetMultipliers(m[0], m[1], m[2]);
    }
    convert.filter = filter.get();

    const FrameView in{source, width, height, sourceStride, input.data(), input.size()};
    const MutableFrameView out{destination,       width,         height,
                               destinationStride, output.data(), output.size()};
    const FrameResult result = ConvertFrame(in, out, convert);
    if (!result) refuse(result);

    OutputFile file(options.output);
    std::string format;
    if (bmp) {
        WriteBmp(file, output.data(), width, height, destinationStride, *bmp);
        format = "BMP, " + std::to_string(bmp->bytesPerPixel * 8) + " bits per pixel";
    } else {
        // Only the frame: an odd-height mosaic's extra line is not part of it.
        file.Write(output.data(), planes * planeBytes);
        format = planes == 3 ? "raw, three planes of " + std::to_string(planeBytes) + " bytes"
                             : "raw, " + std::to_string(planeBytes) + " bytes";
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
