// znconvert: converts raw camera frames between any two pixel types the converter
// registry connects. The library's checked frame call vets sizes, strides and buffers and
// says how much each conversion reads and writes; znconvert checks the command line and
// the input file, and sizes its buffers by what the call says.
#include <algorithm>
#include <cerrno>
#include <chrono>
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
#include "PngFile.h"
#include "PnmInput.h"
#include "TypeCatalogue.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/Pfnc.h"
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

// The PNG a destination maps onto: the BMP ones, and gray or RGB samples in 16-bit words.
// Normalized types are left out, since their words do not say how many bits count.
std::optional<ZnTools::PngImage> PngLayoutFor(int64 destination, size_t lineSize, uint32_t width) {
    using ZnTools::PngLayout;
    const auto image = [](PngLayout layout, uint32_t bits) {
        ZnTools::PngImage png{};
        png.layout = layout;
        png.significantBits = bits;
        return std::optional<ZnTools::PngImage>(png);
    };
    if (const std::optional<BmpLayout> bmp = BmpLayoutFor(destination, lineSize, width)) {
        if (bmp->bytesPerPixel == 1) return image(PngLayout::kGray8, 8);
        if (bmp->bytesPerPixel == 3) {
            return image(bmp->swapRedBlue ? PngLayout::kRGB8 : PngLayout::kBGR8, 8);
        }
        return image(bmp->swapRedBlue ? PngLayout::kRGBX8 : PngLayout::kBGRX8, 8);
    }
    const uint32_t bits = Bits::Low32(destination);
    if ((bits & (Bits::kPlanar | Bits::kTapLayoutMask | Bits::kNormalized | Bits::kPacked |
                 Bits::kInterlaced)) != 0) {
        return std::nullopt;
    }
    const PixelType* type = PixelTypeFactory::FindPixelType(destination);
    if (type == nullptr || type->IsBayerPattern()) return std::nullopt;
    const uint32_t format = bits & Bits::kFormatMask;
    const uint32_t space = bits & Bits::kColorSpaceMask;
    const uint32_t depth = type->GetPixelBitSize();
    if (space == Bits::kGrayscale && type->GetPixelByteSize() == 2 && depth > 8 && depth <= 16 &&
        lineSize == size_t{2} * width) {
        return image(PngLayout::kGray16, depth);
    }
    if (space == Bits::kRGB && type->GetPixelByteSize() == 6 && lineSize == size_t{6} * width) {
        const uint32_t sample = depth == 48 ? 16 : depth;
        if (sample <= 8 || sample > 16) return std::nullopt;
        const bool bgr =
            destination == ZnConvertersLib::kPixelTypeBGR48 || format == 0x42 || format == 0x43;
        return image(bgr ? PngLayout::kBGR16 : PngLayout::kRGB16, sample);
    }
    return std::nullopt;
}

// out.png -> out-0003.png: the number goes before the extension, so the name still says
// what the file holds.
std::string NumberedPath(const std::string& path, uint32_t index) {
    char number[16];
    std::snprintf(number, sizeof number, "-%04u", static_cast<unsigned>(index));
    const size_t slash = path.find_last_of("/\\");
    const size_t dot = path.find_last_of('.');
    const bool hasExtension =
        dot != std::string::npos && dot != 0 && (slash == std::string::npos || dot > slash + 1);
    if (!hasExtension) return path + number;
    return path.substr(0, dot) + number + path.substr(dot);
}

// The input as a stream: a file, or standard input for "-".
class InputStream {
public:
    explicit InputStream(const std::string& path) : mPath(path) {
        if (path == "-") {
            mFile = stdin;
            mName = "standard input";
            return;
        }
        mName = "input '" + path + "'";
        std::error_code error;
        if (fs::is_directory(fs::u8path(path), error)) {
            Fail("cannot read " + mName + ": it is a directory");
        }
        mFile = std::fopen(path.c_str(), "rb");
        if (mFile == nullptr) Fail("cannot read " + mName + ": " + std::strerror(errno));
    }
    ~InputStream() {
        if (mFile != nullptr && mFile != stdin) std::fclose(mFile);
    }
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    std::FILE* File() const { return mFile; }
    const std::string& Name() const { return mName; }  // "input 'x'" or "standard input"

    // Reads up to size bytes; fewer only at the end of the input.
    size_t Read(void* data, size_t size) {
        const size_t got = std::fread(data, 1, size, mFile);
        if (std::ferror(mFile) != 0) Fail("cannot read " + mName + ": " + std::strerror(errno));
        mOffset += got;
        return got;
    }

    // Refuses bytes after the frames unless they may be ignored. Only peeks: the input may
    // be a device or pipe that never ends.
    void CheckEnd(bool allowTrailing, const std::string& what) {
        if (allowTrailing || std::fgetc(mFile) == EOF) return;
        std::error_code error;
        const fs::path file = fs::u8path(mPath);
        const bool regular = mFile != stdin && fs::is_regular_file(file, error);
        const uintmax_t total = regular ? fs::file_size(file, error) : 0;
        if (regular && !error && total > mOffset) {
            Fail(mName + " holds " + std::to_string(total - mOffset) + " bytes after " + what +
                 "; give --allow-trailing to ignore them");
        }
        Fail(mName + " goes on after " + what + "; give --allow-trailing to ignore the rest");
    }

private:
    std::string mPath;
    std::string mName;
    std::FILE* mFile = nullptr;
    uintmax_t mOffset = 0;
};

std::vector<unsigned char> Allocate(size_t size, const std::string& what) {
    try {
        return std::vector<unsigned char>(size, 0);
    } catch (const std::bad_alloc&) {
        Fail("not enough memory for " + what + " (" + std::to_string(size) + " bytes)");
    }
}

// Refuses an output that is the input itself: a conversion that was not what the user
// wanted would otherwise have destroyed the only copy of the frame.
void CheckDistinct(const std::string& input, const std::string& output) {
    if (input == "-" || output == "-") return;
    std::error_code error;
    if (fs::equivalent(fs::u8path(input), fs::u8path(output), error) && !error) {
        UsageFail("output '" + output + "' is the input file; give another name");
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
            const int64 from = catalogue.Resolve(options.from, "source").id;
            catalogue.List(stdout, &from);
        }
        return 0;
    }

    // Everything the command line alone decides is checked before the input is opened.
    std::optional<ResolvedType> named;
    if (!options.from.empty()) named = catalogue.Resolve(options.from, "source");
    const ResolvedType target = catalogue.Resolve(options.to, "destination");
    const int64 destination = target.id;
    const FileFormat fileFormat = options.raw ? FileFormat::Raw : FormatByName(options.output);
    if (fileFormat != FileFormat::Raw && options.destinationPaddingGiven) {
        UsageFail(std::string("--dest-padding applies to raw output (") +
                  (fileFormat == FileFormat::Bmp ? "BMP rows are padded to 4 bytes anyway"
                                                 : "PNG lines are never padded") +
                  "); add --raw to get padded raw lines");
    }
    std::vector<std::string> outputs;
    for (uint32_t i = 0; i < options.frames; ++i) {
        outputs.push_back(options.frames == 1 || options.output == "-"
                              ? options.output
                              : NumberedPath(options.output, i));
        CheckDistinct(options.input, outputs.back());
    }
    if (fileFormat == FileFormat::Png && !ZnTools::PngAvailable()) {
        Fail("cannot write '" + options.output +
             "': this znconvert was built without PNG support; use .bmp or raw output");
    }

    InputStream input(options.input);
    std::optional<PnmHeader> pnm;
    int64 source = 0;
    uint32_t width = options.width;
    uint32_t height = options.height;
    if (options.pnmInput) {
        pnm = ReadPnmHeader(input.File(), input.Name());
        source = pnm->PixelType();
        // A PGM is a common container for a raw 8-bit mosaic, so that one reading is
        // allowed; any other type would read the samples as something they are not.
        const bool mosaic8 = !pnm->colour && !pnm->Wide() && named && named->id == 0x20010;
        if (named && named->id != source && !mosaic8) {
            Fail("--from " + options.from + " contradicts the header of " + input.Name() + " (" +
                 pnm->Describe() + ": " + catalogue.Describe(source) + ")");
        }
        if (mosaic8) source = named->id;
        if (options.widthGiven && (width != pnm->width || height != pnm->height)) {
            Fail("--size " + SizeText(width, height) + " contradicts the header of " +
                 input.Name() + " (" + pnm->Describe() + ")");
        }
        width = pnm->width;
        height = pnm->height;
    } else {
        source = named->id;
    }

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

    // The tile: --pattern, else the one a GenICam name gives, else GRBG. A GenICam name
    // that says otherwise than --pattern leaves no way to tell which is meant.
    std::optional<BayerPattern> tile = options.pattern;
    const auto nameTile = [&](const ResolvedType& type, const char* option) {
        if (type.bayerTile == 0) return;
        const auto fromName = static_cast<BayerPattern>(type.bayerTile);
        if (tile && *tile != fromName) {
            UsageFail(std::string(option) + " " + type.pfncName + " has tile " +
                      PatternName(fromName) + ", but " +
                      (options.pattern ? "--pattern says " : "the source has ") +
                      PatternName(*tile));
        }
        tile = fromName;
    };
    if (named && source == named->id) nameTile(*named, "--from");
    if (!knownNotBayer) nameTile(target, "--to");

    ConvertOptions convert;
    const BayerPattern pattern = tile.value_or(BayerPattern::GRBG);
    const DemosaicMethod demosaic = options.demosaic.value_or(DemosaicMethod::kBilinear);
    if (!knownNotBayer) {
        convert.bayerTile = static_cast<uint32_t>(pattern);
        convert.demosaic = demosaic;
    }
    convert.secondFieldFirst = options.fieldOrder == FieldOrder::BottomFirst;
    convert.threads = options.threads;

    const std::string frameText = "a " + SizeText(width, height) + " frame of " + sourceText;
    const auto refuse = [&](const FrameResult& result) {
        Fail("cannot convert " + frameText + " to " + catalogue.Describe(destination) + ": " +
             result.message);
    };

    // Line sizes first: the output format decides the destination stride.
    const FrameFootprint lines = GetFrameFootprint(*converter, width, height);
    if (!lines.result) refuse(lines.result);
    std::optional<BmpLayout> bmp;
    std::optional<ZnTools::PngImage> png;
    if (fileFormat == FileFormat::Bmp) {
        bmp = BmpLayoutFor(destination, lines.destinationLineBytes, width);
        if (!bmp) {
            UsageFail("BMP files cannot hold " + catalogue.Describe(destination) +
                      "; write a .png or a raw file (any other name)");
        }
    } else if (fileFormat == FileFormat::Png) {
        png = PngLayoutFor(destination, lines.destinationLineBytes, width);
        if (!png) {
            UsageFail("PNG files cannot hold " + catalogue.Describe(destination) +
                      "; write a raw file (any name but .png or .bmp) or convert to RGB");
        }
    }
    const size_t sourceStride = lines.sourceLineBytes + options.sourcePadding;
    const size_t destinationStride =
        lines.destinationLineBytes +
        (fileFormat == FileFormat::Raw ? options.destinationPadding : 0);
    const FrameFootprint footprint =
        GetFrameFootprint(*converter, width, height, sourceStride, destinationStride);
    if (!footprint.result) refuse(footprint.result);

    // The files hold whole planes of whole lines, padding after the last line included; the
    // conversion may read or write a little past that, or stop short of the last padding.
    const auto planeCount = [](int64 type) { return Bits::Has(type, Bits::kPlanar) ? 3 : 1; };
    const size_t frameFileBytes =
        pnm ? pnm->DataBytes() : planeCount(source) * sourceStride * height;
    const size_t needed = std::min(footprint.sourceBytes, frameFileBytes);
    const size_t planeBytes = destinationStride * height;
    const int planes = planeCount(destination);

    std::vector<unsigned char> in =
        Allocate(std::max(footprint.sourceBytes, frameFileBytes), "the input frame");
    std::vector<unsigned char> out =
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

    // Every frame goes to a temporary file first, and none is renamed into place before
    // all have converted: a bad frame late in the input leaves no outputs behind.
    std::vector<std::unique_ptr<OutputFile>> files;
    std::string format;
    std::chrono::steady_clock::duration converting{};
    for (uint32_t frame = 0; frame < options.frames; ++frame) {
        const std::string which = options.frames == 1
                                      ? frameText
                                      : "frame " + std::to_string(frame) + " (" + frameText + ")";
        if (pnm && frame > 0) {
            const int c = std::fgetc(input.File());
            if (c == EOF || std::ungetc(c, input.File()) == EOF) {
                Fail(input.Name() + " holds " + std::to_string(frame) +
                     " images, but --frames asks for " + std::to_string(options.frames));
            }
            const PnmHeader next = ReadPnmHeader(input.File(), input.Name());
            if (next.Describe() != pnm->Describe() || next.maxValue != pnm->maxValue) {
                Fail(input.Name() + ": image " + std::to_string(frame) + " (" + next.Describe() +
                     ") differs from the first (" + pnm->Describe() + ")");
            }
        }
        const bool last = frame + 1 == options.frames;
        const size_t want = last ? needed : frameFileBytes;
        const size_t got = input.Read(in.data(), want);
        if (got < want) {
            Fail(input.Name() + (options.frames == 1 ? " holds " : " has ") + std::to_string(got) +
                 " bytes" + (options.frames == 1 ? "" : " left") + ", but " + which + " needs " +
                 std::to_string(want));
        }
        if (last && needed < frameFileBytes) {
            input.Read(in.data() + needed, frameFileBytes - needed);
        }
        if (pnm && pnm->Wide()) SwapSampleBytes(in.data(), frameFileBytes);

        const FrameView view{source, width, height, sourceStride, in.data(), in.size()};
        const MutableFrameView converted{destination,       width,      height,
                                         destinationStride, out.data(), out.size()};
        const auto start = std::chrono::steady_clock::now();
        const FrameResult result = ConvertFrame(view, converted, convert);
        converting += std::chrono::steady_clock::now() - start;
        if (!result) refuse(result);

        // Standard output takes every frame, one after the other.
        if (files.empty() || options.output != "-") {
            files.push_back(std::make_unique<OutputFile>(outputs[frame]));
        }
        OutputFile& file = *files.back();
        if (bmp) {
            WriteBmp(file, out.data(), width, height, destinationStride, *bmp);
            format = "BMP, " + std::to_string(bmp->bytesPerPixel * 8) + " bits per pixel";
        } else if (png) {
            ZnTools::PngImage image = *png;
            image.pixels = out.data();
            image.width = width;
            image.height = height;
            image.stride = destinationStride;
            const std::string error = ZnTools::WritePng(file.Stream(), image);
            if (!error.empty()) Fail("cannot write output '" + file.Path() + "': " + error);
            const bool wide = image.layout == ZnTools::PngLayout::kGray16 ||
                              image.layout == ZnTools::PngLayout::kRGB16 ||
                              image.layout == ZnTools::PngLayout::kBGR16;
            format = std::string("PNG, ") + (wide ? "16" : "8") + " bits per sample";
        } else {
            // Only the frame: an odd-height mosaic's extra line is not part of it.
            file.Write(out.data(), planes * planeBytes);
            format = planes == 3 ? "raw, three planes of " + std::to_string(planeBytes) + " bytes"
                                 : "raw, " + std::to_string(planeBytes) + " bytes";
        }
        file.Close();
    }
    input.CheckEnd(options.allowTrailing, options.frames == 1
                                              ? std::string("the frame")
                                              : std::to_string(options.frames) + " frames");
    for (auto& file : files) file->Commit();

    std::string details;
    if (!knownNotBayer && sourceType != nullptr && !copy) {
        details = std::string(", pattern ") + PatternName(pattern) + ", " + DemosaicName(demosaic);
    }
    // Standard output may be the converted bytes themselves.
    if (options.output != "-") {
        const std::string written = outputs.size() == 1
                                        ? outputs.front()
                                        : outputs.front() + " ... " + outputs.back() + " (" +
                                              std::to_string(outputs.size()) + " frames)";
        std::printf("%s: %s %s -> %s%s (%s)\n", written.c_str(), SizeText(width, height).c_str(),
                    sourceText.c_str(), catalogue.Describe(destination).c_str(), details.c_str(),
                    format.c_str());
    }
    if (options.stats) {
        const double seconds = std::chrono::duration<double>(converting).count();
        const double pixels = double(width) * height * options.frames;
        std::fprintf(stderr, "znconvert: converted %u frame%s of %s in %.3f ms (%.1f MPix/s)\n",
                     static_cast<unsigned>(options.frames), options.frames == 1 ? "" : "s",
                     SizeText(width, height).c_str(), seconds * 1e3,
                     pixels / std::max(seconds, 1e-9) / 1e6);
    }
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
