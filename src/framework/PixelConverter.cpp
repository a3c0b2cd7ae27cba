#include "ZnConvertersLib/PixelConverter.h"

#include "RegisteredTypeCache.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/ConversionWalk.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

namespace {

constexpr uint32_t kBayerPatternFlags = 0xF0;
constexpr uint32_t kDefaultBayerPattern = 0x10;

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
    const ConversionWalk walk{
        source, destination, sourceStride, sourceHeight, destinationStride, destinationHeight,
        width,  height,      flags};
    StartWalk(*context, walk);
    WalkLines(*this, *context, walk, 0, height);

    context->filter = nullptr;
    return Result(ResultCode::kSuccess);
}

}  // namespace ZnConvertersLib
