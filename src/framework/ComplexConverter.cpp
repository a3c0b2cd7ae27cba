#include "ZnConvertersLib/ComplexConverter.h"

#include <algorithm>
#include <limits>

#include "ZnConvertersLib/ConversionContext.h"

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

namespace {

uint32_t SaturateToSize(uint64_t bytes) {
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, std::numeric_limits<uint32_t>::max()));
}

// Restores the strides and line index that a chain rewrites for its stages, so a caller
// driving the chain line by line sees its own values again on the next step.
class ContextRestorer {
public:
    explicit ContextRestorer(ConversionContext& context)
        : mContext(context),
          mSourceStride(context.sourceStride),
          mDestinationStride(context.destinationStride),
          mCurrentLine(context.currentLine) {}
    ~ContextRestorer() {
        mContext.sourceStride = mSourceStride;
        mContext.destinationStride = mDestinationStride;
        mContext.currentLine = mCurrentLine;
    }
    ContextRestorer(const ContextRestorer&) = delete;
    ContextRestorer& operator=(const ContextRestorer&) = delete;

    uint32_t SourceStride() const { return mSourceStride; }
    uint32_t DestinationStride() const { return mDestinationStride; }
    uint32_t CurrentLine() const { return mCurrentLine; }

private:
    ConversionContext& mContext;
    uint32_t mSourceStride;
    uint32_t mDestinationStride;
    uint32_t mCurrentLine;
};

// Stage calls per chain step: the chain's granularity is a common multiple of both stage
// granularities, so each stage runs until it has covered the whole step.
uint32_t CallsPerStep(uint32_t chainGranularity, uint32_t stageGranularity) {
    if (stageGranularity == 0 || chainGranularity < stageGranularity ||
        chainGranularity % stageGranularity != 0) {
        return 1;
    }
    return chainGranularity / stageGranularity;
}

}  // namespace

uint32_t ComplexConverter::CombineGranularity(uint32_t first, uint32_t second) {
    // A zero granularity has no common multiple; the product keeps it visible as zero.
    if (first == 0 || second == 0) return first * second;
    const uint32_t larger = second > first ? second : first;
    if (larger % first == 0 && larger % second == 0) return larger;
    return first * second;
}

// The granularities come through the stages' virtual getters: the Bayer family reports
// its line pairs only through its override.
ComplexConverter::ComplexConverter(const PixelConverter& first, const PixelConverter& second)
    : PixelConverter(first.GetSourceTypeID(), second.GetDestinationTypeID(),
                     first.GetSourcePixelSize(), second.GetDestinationPixelSize(),
                     CombineGranularity(first.GetPixelGranularity(), second.GetPixelGranularity()),
                     CombineGranularity(first.GetLineGranularity(), second.GetLineGranularity())),
      mScratch(nullptr),
      mScratchSize(0),
      mFirst(&first),
      mSecond(&second) {}

ComplexConverter::~ComplexConverter() {
    delete[] mScratch;
    mScratch = nullptr;
    mScratchSize = 0;
    mFirst = nullptr;
    mSecond = nullptr;
}

uint32_t ComplexConverter::GetSourceLineSize(uint32_t width) const {
    return mFirst->GetSourceLineSize(width);
}

uint32_t ComplexConverter::GetDestinationLineSize(uint32_t width) const {
    return mSecond->GetDestinationLineSize(width);
}

namespace {

// Bytes to allocate for an intermediate of `needed` bytes made of `lines` lines of
// `lineWidth` pixels: one extra line (odd-height Bayer stages write the line after the
// last) and one pixel per line plus a few (odd-width stages write one pixel past each
// line, 4:1:1 YUV up to three).
uint32_t WithOverrunSlack(const PixelConverter& first, uint32_t needed, uint32_t lineWidth,
                          uint32_t lines) {
    const uint64_t pixel = first.GetDestinationLineSize(1);
    const uint64_t line = static_cast<uint64_t>(pixel) * lineWidth;
    return SaturateToSize(static_cast<uint64_t>(needed) + line + pixel * (lines + 4ull) + 16);
}

unsigned char* AllocateZeroed(uint32_t size) {
    return new unsigned char[size]();
}

}  // namespace

unsigned char* ComplexConverter::EnsureMemberScratch(uint32_t needed, uint32_t lineWidth) const {
    const uint32_t lines = mFirst->GetDestinationLineSize(lineWidth) == 0
                               ? 0
                               : needed / mFirst->GetDestinationLineSize(lineWidth);
    const uint32_t required = WithOverrunSlack(*mFirst, needed, lineWidth, lines);
    if (mScratchSize < required) {
        delete[] mScratch;
        mScratch = nullptr;
        mScratchSize = 0;
        mScratch = AllocateZeroed(required);
        mScratchSize = required;
    }
    return mScratch;
}

Result ComplexConverter::Convert(const unsigned char* source, uint32_t sourceWidth,
                                 uint32_t sourceHeight, unsigned char* destination,
                                 uint32_t destinationWidth, uint32_t destinationHeight,
                                 uint32_t width, uint32_t height, uint32_t flags,
                                 uint32_t destinationPadding, unsigned char** scratchBuffer,
                                 uint32_t* scratchBufferSize, uint32_t sourcePadding) const {
    ConversionContextScope context;
    // The first stage's call clears the filter when it ends; the second stage needs it too.
    const RGBFilter* filter = context->filter;

    const uint32_t needed = mFirst->GetDestinationLineSize(sourceWidth * sourceHeight);
    unsigned char* scratch = nullptr;
    if (scratchBuffer != nullptr && scratchBufferSize != nullptr) {
        // A caller's buffer is used as it is; only a too small one is replaced.
        if (*scratchBufferSize < needed) {
            const uint32_t size = WithOverrunSlack(*mFirst, needed, sourceWidth, sourceHeight);
            delete[] * scratchBuffer;
            *scratchBuffer = nullptr;
            *scratchBufferSize = 0;
            *scratchBuffer = AllocateZeroed(size);
            *scratchBufferSize = size;
        }
        scratch = *scratchBuffer;
    } else {
        // The second stage reads the intermediate with its own line size; when the stages
        // disagree on it, the member buffer covers what the second one reads as well.
        const uint32_t secondReads = SaturateToSize(
            static_cast<uint64_t>(mSecond->GetSourceLineSize(sourceWidth)) * sourceHeight);
        scratch = EnsureMemberScratch(std::max(needed, secondReads), sourceWidth);
    }

    // The first stage always converts the whole source, whatever part the caller asked for.
    Result result =
        mFirst->Convert(source, sourceWidth, sourceHeight, scratch, sourceWidth, sourceHeight,
                        sourceWidth, sourceHeight, flags, 0, nullptr, nullptr, sourcePadding);
    if (!result.IsSuccess()) {
        context->filter = nullptr;
        return result;
    }
    context->filter = filter;
    return mSecond->Convert(scratch, sourceWidth, sourceHeight, destination, destinationWidth,
                            destinationHeight, width, height, flags, destinationPadding, nullptr,
                            nullptr, 0);
}

Result ComplexConverter::ConvertLines(const unsigned char* source, unsigned char* destination,
                                      uint32_t width) const {
    ConversionContextScope context;
    const ContextRestorer restore(*context);

    const uint32_t step = GetLineGranularity();
    const uint32_t firstGranularity = mFirst->GetLineGranularity();
    const uint32_t secondGranularity = mSecond->GetLineGranularity();
    const uint32_t intermediateStride = mFirst->GetDestinationLineSize(width);
    const uint32_t secondSourceStride = mSecond->GetSourceLineSize(width);

    // Room for a whole step of lines (more than one step needs), read by either stage.
    const uint32_t needed =
        std::max(mFirst->GetDestinationLineSize(step * intermediateStride),
                 SaturateToSize(static_cast<uint64_t>(step) * secondSourceStride));
    unsigned char* scratch = EnsureMemberScratch(needed, width);

    context->destinationStride = intermediateStride;
    Result result;
    const uint32_t firstCalls = CallsPerStep(step, firstGranularity);
    for (uint32_t k = 0; k < firstCalls; ++k) {
        const uint64_t line = static_cast<uint64_t>(k) * firstGranularity;
        context->currentLine = restore.CurrentLine() + static_cast<uint32_t>(line);
        result = mFirst->ConvertLines(source + line * restore.SourceStride(),
                                      scratch + line * intermediateStride, width);
        if (!result.IsSuccess()) return result;
    }

    context->sourceStride = secondSourceStride;
    context->destinationStride = restore.DestinationStride();
    const uint32_t secondCalls = CallsPerStep(step, secondGranularity);
    for (uint32_t k = 0; k < secondCalls; ++k) {
        const uint64_t line = static_cast<uint64_t>(k) * secondGranularity;
        context->currentLine = restore.CurrentLine() + static_cast<uint32_t>(line);
        result = mSecond->ConvertLines(scratch + line * secondSourceStride,
                                       destination + line * restore.DestinationStride(), width);
        if (!result.IsSuccess()) return result;
    }
    return result;
}

Result ComplexConverter::ConvertPixel(const unsigned char* source,
                                      unsigned char* destination) const {
    unsigned char* scratch = EnsureMemberScratch(mFirst->GetDestinationLineSize(1), 1);
    const Result result = mFirst->ConvertPixel(source, scratch);
    if (!result.IsSuccess()) return result;
    return mSecond->ConvertPixel(scratch, destination);
}

}  // namespace ZnConvertersLib
