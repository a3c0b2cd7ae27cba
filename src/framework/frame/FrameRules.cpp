#include "framework/frame/FrameRules.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/Pfnc.h"
#include "framework/BuiltinRegistration.h"
#include "framework/CameraFormats.h"
#include "framework/ConversionWalk.h"

namespace ZnConvertersLib {
namespace FrameDetail {
namespace {

using namespace PixelTypeBits;

// Source layouts whose kernels leave pixels unwritten or touch bytes past the line, by
// colour space and format code (and the Packed bit where it tells two layouts apart).
struct SourceLayout {
    uint32_t mask;
    uint32_t value;
    LayoutRules rules;
};

constexpr uint32_t kCode = kColorSpaceMask | kFormatMask;
constexpr uint32_t kPackedCode = kCode | kPacked;

LayoutRules Pairs(const char* layout) {
    LayoutRules rules;
    rules.layout = layout;
    rules.widthMultiple = 2;
    return rules;
}

LayoutRules Groups(const char* layout, uint32_t groupBytes) {
    LayoutRules rules;
    rules.layout = layout;
    rules.groupBytes = groupBytes;
    return rules;
}

LayoutRules QuadTaps(const char* layout) {
    LayoutRules rules;
    rules.layout = layout;
    rules.widthMultiple = 4;
    rules.destinationStrideIsLine = true;
    return rules;
}

// Bit streams: a line that is not a whole number of 5-byte groups ends inside a byte.
LayoutRules TenP() {
    LayoutRules rules;
    rules.layout = "10p packed";
    rules.widthMultiple = 4;
    return rules;
}

LayoutRules Mosaic(const char* layout) {
    LayoutRules rules;
    rules.layout = layout;
    rules.demosaics = true;
    return rules;
}

const std::vector<SourceLayout>& SourceLayouts() {
    static const std::vector<SourceLayout> layouts = [] {
        LayoutRules fourOneOne = Pairs("4:1:1 YUV");
        fourOneOne.widthMultiple = 4;
        return std::vector<SourceLayout>{
            {kCode, 0x10008, Groups("10-bit GigE Vision packed gray", 3)},
            {kCode, 0x10009, Groups("12-bit GigE Vision packed gray", 3)},
            {kCode, 0x20041, Groups("10-bit GigE Vision packed Bayer", 3)},
            {kCode, 0x20040, Groups("12-bit GigE Vision packed Bayer", 3)},
            {kCode, 0x20046, Groups("12-bit packed RGB", 9)},
            {kPackedCode, static_cast<uint32_t>(kPixelTypeMono10p), TenP()},
            {kPackedCode, static_cast<uint32_t>(kPixelTypeBayer10p), TenP()},
            {kPackedCode, 0x410002, Pairs("10-bit packed gray")},
            {kPackedCode, 0x410003, Pairs("12-bit packed gray")},
            {kPackedCode, 0x420011, Pairs("10-bit packed Bayer")},
            {kPackedCode, 0x420012, Pairs("12-bit packed Bayer")},
            {kCode, 0x10006, QuadTaps("quad-tap gray")},
            {kCode, 0x10007, QuadTaps("quad-tap gray")},
            {kCode, 0x40001, Pairs("4:2:2 YUV")},
            {kCode, 0x40008, Pairs("4:2:2 YUV")},
            {kCode, 0x40002, Pairs("10-bit 4:2:2 YUV")},
            {kCode, 0x40006, fourOneOne},
            {kPackedCode, 0x20010, Mosaic("Bayer")},
            {kPackedCode, 0x20011, Mosaic("Bayer")},
            {kPackedCode, 0x20012, Mosaic("Bayer")},
            {kPackedCode, 0x20016, Mosaic("Bayer")},
            {kPackedCode, 0x20020, Mosaic("Bayer")},
        };
    }();
    return layouts;
}

constexpr uint32_t kDualTaps = kDualLeftRight | kDualLeftRightInverted | kDualLeftInvertedRight |
                               kDualLeftInvertedRightInverted;

bool IsBuiltinObject(const PixelConverter& converter) {
    static const std::vector<const PixelConverter*> sorted = [] {
        std::vector<const PixelConverter*> objects;
        if (const BuiltinConverterList* list = GetBuiltinConverters()) {
            for (size_t i = 0; i < list->Count(); ++i) objects.push_back(&list->At(i));
        }
        std::sort(objects.begin(), objects.end());
        return objects;
    }();
    if (std::binary_search(sorted.begin(), sorted.end(), &converter)) return true;
    if (const BuiltinConverterList* camera = GetCameraFormatConverters()) {
        for (size_t i = 0; i < camera->Count(); ++i) {
            if (&camera->At(i) == &converter) return true;
        }
    }
    return false;
}

FrameFootprint Refuse(FrameError error, std::string message) {
    FrameFootprint footprint{};
    footprint.result.error = error;
    footprint.result.message = std::move(message);
    return footprint;
}

std::string Size(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

constexpr uint64_t kLimit = std::numeric_limits<uint32_t>::max();

}  // namespace

bool IsLibraryConverter(const PixelConverter& converter) {
    if (const auto* chain = dynamic_cast<const ComplexConverter*>(&converter)) {
        return IsLibraryConverter(chain->GetFirstStage()) &&
               IsLibraryConverter(chain->GetSecondStage());
    }
    return dynamic_cast<const IdentityConverter*>(&converter) != nullptr ||
           IsBuiltinObject(converter);
}

LayoutRules RulesOf(const PixelConverter& converter) {
    LayoutRules rules;
    const int64& source = converter.GetSourceTypeID();
    const uint32_t step = WalkStep(converter);
    if (step > 1) {
        rules.layout = Has(source, kInterlaced) ? "interlaced" : "two-line";
        rules.evenHeight = true;
    }
    if (!IsBuiltinObject(converter)) return rules;

    const uint32_t id = Low32(source);
    for (const SourceLayout& layout : SourceLayouts()) {
        if ((id & layout.mask) != layout.value) continue;
        const bool evenHeight = rules.evenHeight;
        rules = layout.rules;
        // Only the demosaicing converters of a mosaic demosaic: the others of its type
        // untangle taps into gray.
        rules.demosaics = rules.demosaics && converter.GetLineGranularity() == 2;
        rules.evenHeight = evenHeight && !rules.demosaics;
        break;
    }
    if ((id & kDualTaps) != 0) {
        rules.layout = "two-tap";
        rules.widthMultiple = std::max<uint32_t>(rules.widthMultiple, 2);
    }
    if ((id & kDualLines) != 0) {
        rules.layout = "dual-line";
        rules.evenHeight = true;
    }
    return rules;
}

FrameResult CheckFrameSize(uint32_t width, uint32_t height) {
    if (width == 0 || height == 0) {
        return {FrameError::kUnsupportedSize,
                "the frame is empty (" + Size(width, height) + "): nothing to convert"};
    }
    // Line sizes are 32-bit: beyond this width some would wrap.
    if (width > (1u << 26)) {
        return {FrameError::kUnsupportedSize,
                "width " + std::to_string(width) + " is wider than any line can be"};
    }
    return {};
}

FrameResult CheckStrides(size_t sourceStride, size_t sourceLineBytes, size_t destinationStride,
                         size_t destinationLineBytes) {
    if (sourceStride < sourceLineBytes) {
        return {FrameError::kStrideTooSmall, "source stride " + std::to_string(sourceStride) +
                                                 " is shorter than a line (" +
                                                 std::to_string(sourceLineBytes) + " bytes)"};
    }
    if (destinationStride < destinationLineBytes) {
        return {FrameError::kStrideTooSmall,
                "destination stride " + std::to_string(destinationStride) +
                    " is shorter than a line (" + std::to_string(destinationLineBytes) + " bytes)"};
    }
    return {};
}

FrameFootprint StageFootprint(const PixelConverter& converter, uint32_t width, uint32_t height,
                              size_t sourceStride, size_t destinationStride) {
    if (const auto* chain = dynamic_cast<const ComplexConverter*>(&converter)) {
        const PixelConverter& first = chain->GetFirstStage();
        const PixelConverter& second = chain->GetSecondStage();
        FrameFootprint footprint = StageFootprint(first, width, height, sourceStride, 0);
        if (!footprint.result) return footprint;
        const FrameFootprint out = StageFootprint(second, width, height, 0, destinationStride);
        if (!out.result) return out;
        footprint.destinationLineBytes = out.destinationLineBytes;
        footprint.destinationBytes = out.destinationBytes;
        return footprint;
    }

    if (FrameResult refused = CheckFrameSize(width, height); !refused) return {refused, 0, 0, 0, 0};
    const LayoutRules rules = RulesOf(converter);
    if (width % rules.widthMultiple != 0) {
        return Refuse(FrameError::kUnsupportedSize,
                      "width " + std::to_string(width) + " is not a multiple of " +
                          std::to_string(rules.widthMultiple) + ": " + rules.layout +
                          " lines would be left partly unwritten");
    }
    if (rules.evenHeight && height % 2 != 0) {
        return Refuse(FrameError::kUnsupportedSize, "height " + std::to_string(height) +
                                                        " is odd: " + rules.layout +
                                                        " frames are converted in line pairs");
    }
    if (rules.demosaics && (width < 2 || height < 2)) {
        return Refuse(FrameError::kUnsupportedSize, "a " + Size(width, height) +
                                                        " mosaic is too small to demosaic "
                                                        "(at least 2x2)");
    }

    FrameFootprint footprint{};
    footprint.sourceLineBytes = converter.GetSourceLineSize(width);
    footprint.destinationLineBytes = converter.GetDestinationLineSize(width);
    if (sourceStride == 0) sourceStride = footprint.sourceLineBytes;
    if (destinationStride == 0) destinationStride = footprint.destinationLineBytes;
    if (FrameResult refused = CheckStrides(sourceStride, footprint.sourceLineBytes,
                                           destinationStride, footprint.destinationLineBytes);
        !refused) {
        return {refused, 0, 0, 0, 0};
    }
    if (rules.destinationStrideIsLine && destinationStride != footprint.destinationLineBytes) {
        return Refuse(FrameError::kUnsupportedSize,
                      std::string(rules.layout) +
                          " pixels are placed by the destination stride: it must be the line "
                          "itself (" +
                          std::to_string(footprint.destinationLineBytes) + " bytes)");
    }

    const bool builtin = IsBuiltinObject(converter);
    const bool oddGroup = rules.groupBytes != 0 && width % 2 != 0;
    // Planes lie stride x height apart: what a conversion writes past the frame would
    // land on the next plane's first line, over pixels already converted.
    if (builtin && Has(converter.GetDestinationTypeID(), kPlanar)) {
        if (rules.demosaics && height % 2 != 0) {
            return Refuse(FrameError::kUnsupportedSize,
                          "height " + std::to_string(height) +
                              " is odd: a mosaic writes one line past the frame, which in "
                              "planar output is the next plane's first line");
        }
        if (oddGroup && destinationStride < footprint.destinationLineBytes + 1) {
            return Refuse(FrameError::kUnsupportedSize,
                          "width " + std::to_string(width) + " is odd: " + rules.layout +
                              " lines write one pixel past their end, which in planar output "
                              "needs a destination stride of at least " +
                              std::to_string(footprint.destinationLineBytes + 1) + " bytes");
        }
    }
    const uint64_t lineRead =
        oddGroup ? uint64_t{(width + 1u) / 2} * rules.groupBytes : footprint.sourceLineBytes;
    const uint64_t lineWrite =
        footprint.destinationLineBytes + (oddGroup ? converter.GetDestinationPixelSize() : 0);
    const uint64_t linesWritten = height + (rules.demosaics && height % 2 != 0 ? 1 : 0);
    // Planar layouts hold three planes of stride x height bytes each.
    const uint64_t sourcePlanes = builtin && Has(converter.GetSourceTypeID(), kPlanar)
                                      ? 2 * uint64_t{sourceStride} * height
                                      : 0;
    const uint64_t destinationPlanes = builtin && Has(converter.GetDestinationTypeID(), kPlanar)
                                           ? 2 * uint64_t{destinationStride} * height
                                           : 0;
    const uint64_t sourceBytes = sourcePlanes + uint64_t{sourceStride} * (height - 1) + lineRead;
    const uint64_t destinationBytes =
        destinationPlanes + uint64_t{destinationStride} * (linesWritten - 1) + lineWrite;
    // The conversion call keeps strides, plane sizes and field offsets in 32 bits.
    if (sourceBytes > kLimit || destinationBytes > kLimit ||
        uint64_t{sourceStride} * (height + 1) > kLimit ||
        uint64_t{destinationStride} * (linesWritten + 1) > kLimit) {
        return Refuse(FrameError::kUnsupportedSize,
                      "a " + Size(width, height) + " frame with these strides is over 4 GiB");
    }
    footprint.sourceBytes = sourceBytes;
    footprint.destinationBytes = destinationBytes;
    return footprint;
}

bool WritesReachNextLine(const PixelConverter& converter, uint32_t width,
                         size_t destinationStride) {
    if (dynamic_cast<const ComplexConverter*>(&converter) != nullptr) return false;
    const LayoutRules rules = RulesOf(converter);
    if (rules.groupBytes == 0 || width % 2 == 0) return false;
    return destinationStride <
           uint64_t{converter.GetDestinationLineSize(width)} + converter.GetDestinationPixelSize();
}

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
