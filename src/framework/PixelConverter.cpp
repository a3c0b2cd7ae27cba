#include "ZnConvertersLib/PixelConverter.h"

#include "RegisteredTypeCache.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

namespace {

constexpr uint32_t kBayerPatternFlags = 0xF0;
constexpr uint32_t kDefaultBayerPattern = 0x10;
constexpr uint32_t kSecondFieldFirst = 0x1;

}  // namespace

PixelConverter::PixelConverter(NoRegistration, const int64& sourceTypeID,
                               const int64& destinationTypeID, uint32_t sourcePixelSize,
                               uint32_t destinationPixelSize, uint32_t pixelGranularity,
                               uint32_t lineGranularity)
    : mDescriptor(new ConverterDescriptor{sourceTypeID, destinationTypeID, sourcePixelSize,
                                          destinationPixelSize, pixelGranularity,
                                          lineGranularity}) {}

PixelConverter::PixelConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                               uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                               uint32_t pixelGranularity, uint32_t lineGranularity)
    : PixelConverter(NoRegistration{}, sourceTypeID, destinationTypeID, sourcePixelSize,
                     destinationPixelSize, pixelGranularity, lineGranularity) {
    // First object built for a pair wins; later ones stay usable but unregistered.
    if (!PixelTypeFactory::HasConverter(sourceTypeID, destinationTypeID)) {
        PixelTypeFactory::RegisterPixelConverter(*this);
    }
}

PixelConverter::~PixelConverter() {
    delete mDescriptor;
    mDescriptor = nullptr;
}

const int64& PixelConverter::GetSourceTypeID() const {
    return mDescriptor->sourceTypeID;
}
const int64& PixelConverter::GetDestinationTypeID() const {
    return mDescriptor->destinationTypeID;
}
uint32_t PixelConverter::GetSourceLineSize(uint32_t width) const {
    return mDescriptor->sourcePixelSize * width;
}
uint32_t PixelConverter::GetSourcePixelSize() const {
    return mDescriptor->sourcePixelSize;
}
uint32_t PixelConverter::GetDestinationLineSize(uint32_t width) const {
    return mDescriptor->destinationPixelSize * width;
}
uint32_t PixelConverter::GetDestinationPixelSize() const {
    return mDescriptor->destinationPixelSize;
}
uint32_t PixelConverter::GetPixelGranularity() const {
    return mDescriptor->pixelGranularity;
}
uint32_t PixelConverter::GetLineGranularity() const {
    return mDescriptor->lineGranularity;
}

Result PixelConverter::ConvertRemainderLine(const unsigned char*, unsigned char*, uint32_t) const {
    return Result(ResultCode::kNotSupported);
}

Result PixelConverter::ConvertLines(const unsigned char*, unsigned char*, uint32_t) const {
    return Result(ResultCode::kNotSupported);
}

Result PixelConverter::ConvertPixel(const unsigned char*, unsigned char*) const {
    return Result(ResultCode::kNotSupported);
}

Result PixelConverter::ConvertFiltered(const RGBFilter* filter, const unsigned char* source,
                                       uint32_t sourceWidth, uint32_t sourceHeight,
                                       unsigned char* destination, uint32_t destinationWidth,
                                       uint32_t destinationHeight, uint32_t width, uint32_t height,
                                       uint32_t flags, uint32_t destinationPadding,
                                       unsigned char** scratchBuffer, uint32_t* scratchBufferSize,
                                       uint32_t sourcePadding) const {
    KernelContextScope context;
    context->filter = filter;
    return Convert(source, sourceWidth, sourceHeight, destination, destinationWidth,
                   destinationHeight, width, height, flags, destinationPadding, scratchBuffer,
                   scratchBufferSize, sourcePadding);
}

Result PixelConverter::Convert(const unsigned char* source, uint32_t sourceWidth,
                               uint32_t sourceHeight, unsigned char* destination,
                               uint32_t destinationWidth, uint32_t destinationHeight,
                               uint32_t width, uint32_t height, uint32_t flags,
                               uint32_t destinationPadding, unsigned char** /*scratchBuffer*/,
                               uint32_t* /*scratchBufferSize*/, uint32_t sourcePadding) const {
    KernelContextScope context;
    if (context->filter == nullptr) {
        // Sources the registry does not know get the 16-bit identity filter.
        const PixelType* sourceType = FindRegisteredType(mSourceType, GetSourceTypeID());
        context->filter = &GetDefaultFilter(sourceType ? sourceType->GetPixelBitSize() : 16);
    }
    const FilterUseScope filterUse(*context);
    if ((flags & kBayerPatternFlags) == 0) flags |= kDefaultBayerPattern;

    const uint32_t sourceStride = GetSourceLineSize(sourceWidth) + sourcePadding;
    const uint32_t destinationStride =
        GetDestinationLineSize(destinationWidth) + destinationPadding;
    context->sourceStride = sourceStride;
    context->sourceHeight = sourceHeight;
    context->destinationStride = destinationStride;
    context->destinationHeight = destinationHeight;
    context->flags = flags;
    context->destinationStart = destination;

    // Offsets are computed per call rather than by advancing pointers, so no pointer is
    // ever formed past the last line a kernel is given.
    const auto walk = [&](const unsigned char* firstSource, unsigned char* firstDestination,
                          uint32_t step, uint32_t sourceAdvance, uint32_t destinationAdvance,
                          uint32_t wholeLines) {
        uint64_t call = 0;
        for (uint64_t line = 0; line < wholeLines; line += step, ++call) {
            context->currentLine = static_cast<uint32_t>(line);
            ConvertLines(firstSource + call * sourceAdvance,
                         firstDestination + call * destinationAdvance, width);
        }
        return call;
    };

    if (PixelTypeBits::Has(GetSourceTypeID(), PixelTypeBits::kInterlaced)) {
        // Two fields one after the other in the source, interleaved in the destination.
        // With an odd height the last destination line stays unwritten.
        const uint32_t fieldOffset = (sourceStride * sourceHeight) >> 1;
        const bool secondFirst = (flags & kSecondFieldFirst) != 0;
        const uint32_t wholeLines = height - height % 2;
        const uint32_t destinationAdvance = 2 * destinationStride;
        walk(source + (secondFirst ? fieldOffset : 0), destination, 2, sourceStride,
             destinationAdvance, wholeLines);
        walk(source + (secondFirst ? 0 : fieldOffset), destination + destinationStride, 2,
             sourceStride, destinationAdvance, wholeLines);
    } else {
        // A line granularity of 0 would make the walk meaningless; such a converter
        // converts nothing rather than faulting.
        const uint32_t step = GetLineGranularity();
        if (step != 0) {
            const uint32_t sourceAdvance = sourceStride * step;
            const uint32_t destinationAdvance = destinationStride * step;
            const uint32_t wholeLines = height - height % step;
            const uint64_t calls =
                walk(source, destination, step, sourceAdvance, destinationAdvance, wholeLines);
            const unsigned char* remainderSource = source + calls * sourceAdvance;
            unsigned char* remainderDestination = destination + calls * destinationAdvance;
            for (uint64_t line = wholeLines; line < height; ++line) {
                const uint64_t k = line - wholeLines;
                context->currentLine = static_cast<uint32_t>(line);
                ConvertRemainderLine(remainderSource + k * sourceStride,
                                     remainderDestination + k * destinationStride, width);
            }
        }
    }

    context->filter = nullptr;
    return Result(ResultCode::kSuccess);
}

}  // namespace ZnConvertersLib
