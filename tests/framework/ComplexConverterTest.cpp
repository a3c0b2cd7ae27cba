#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"
#include "ZnConvertersLib/RGBFilter.h"

using namespace ZnConvertersLib;
using ZnUtilsLib::Result;

namespace {

using Bytes = std::vector<unsigned char>;

// Identifiers in a colour space nothing else uses, a fresh one per converter end, so
// that every object built here registers (or not) exactly as the test expects.
int64 FreshID() {
    static int64 next = 0x70100;
    return next++;
}

// What a stage's kernels saw of the conversion context.
struct StageLog {
    std::vector<uint32_t> currentLines;
    const RGBFilter* filter = nullptr;
    uint32_t flags = 0, sourceStride = 0, destinationStride = 0;
};

// Reads inSize-byte pixels (first byte counts), writes outSize-byte pixels holding
// value + delta in every byte. Granularities are reported through the virtual getters
// only, as the Bayer family does, while the descriptor says 1.
class Stage : public PixelConverter {
public:
    Stage(int delta, uint32_t inSize = 1, uint32_t outSize = 1, int64 from = FreshID(),
          int64 to = FreshID())
        : PixelConverter(from, to, inSize, outSize, 1, 1), mDelta(delta) {}

    uint32_t GetPixelGranularity() const override { return pixelGranularity; }
    uint32_t GetLineGranularity() const override { return lineGranularity; }

    Result Convert(const unsigned char* source, uint32_t sourceWidth, uint32_t sourceHeight,
                   unsigned char* destination, uint32_t destinationWidth,
                   uint32_t destinationHeight, uint32_t width, uint32_t height, uint32_t flags,
                   uint32_t destinationPadding, unsigned char** scratchBuffer,
                   uint32_t* scratchBufferSize, uint32_t sourcePadding) const override {
        if (failConvert) return Result(ResultCode::kNotSupported);
        return PixelConverter::Convert(source, sourceWidth, sourceHeight, destination,
                                       destinationWidth, destinationHeight, width, height, flags,
                                       destinationPadding, scratchBuffer, scratchBufferSize,
                                       sourcePadding);
    }

    Result ConvertLines(const unsigned char* source, unsigned char* destination,
                        uint32_t width) const override {
        ConversionContextScope context;
        log.currentLines.push_back(context->currentLine);
        log.filter = context->filter;
        log.flags = context->flags;
        log.sourceStride = context->sourceStride;
        log.destinationStride = context->destinationStride;
        for (uint32_t line = 0; line < lineGranularity; ++line) {
            ConvertRow(source + line * context->sourceStride,
                       destination + line * context->destinationStride, width + overrunPixels);
        }
        return Result();
    }

    // Writes the line and the one after it, as an odd-height Bayer stage does.
    Result ConvertRemainderLine(const unsigned char* source, unsigned char* destination,
                                uint32_t width) const override {
        ConversionContextScope context;
        ConvertRow(source, destination, width + overrunPixels);
        ConvertRow(source, destination + context->destinationStride, width + overrunPixels);
        return Result();
    }

    Result ConvertPixel(const unsigned char* source, unsigned char* destination) const override {
        if (failConvert) return Result(ResultCode::kNotSupported);
        ConvertRow(source, destination, 1);
        return Result();
    }

    uint32_t pixelGranularity = 1;
    uint32_t lineGranularity = 1;
    uint32_t overrunPixels = 0;  // written past the end of every line
    bool evenColumnsOnly = false;
    bool failConvert = false;
    mutable StageLog log;

private:
    void ConvertRow(const unsigned char* source, unsigned char* destination, uint32_t width) const {
        for (uint32_t x = 0; x < width; ++x) {
            if (evenColumnsOnly && x % 2 != 0) continue;
            std::memset(destination + x * GetDestinationPixelSize(),
                        static_cast<unsigned char>(source[x * GetSourcePixelSize()] + mDelta),
                        GetDestinationPixelSize());
        }
    }

    int mDelta;
};

Bytes Ramp(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + 1);
    return bytes;
}

Bytes Plus(Bytes bytes, int delta) {
    for (unsigned char& b : bytes) b = static_cast<unsigned char>(b + delta);
    return bytes;
}

Result RunChain(const PixelConverter& chain, const Bytes& source, uint32_t width, uint32_t height,
                Bytes& destination, unsigned char** scratch = nullptr,
                uint32_t* scratchSize = nullptr) {
    return chain.Convert(source.data(), width, height, destination.data(), width, height, width,
                         height, 0, 0, scratch, scratchSize, 0);
}

TEST(ComplexConverter, GranularityIsTheLargerOfTheStagesWhenAMultipleOfBothElseTheProduct) {
    const uint32_t cases[][3] = {{2, 3, 6}, {3, 2, 6}, {2, 4, 4},  {4, 2, 4},
                                 {1, 1, 1}, {1, 2, 2}, {4, 6, 24}, {3, 3, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c[0] << " and " << c[1]);
        Stage first(0), second(0);
        first.lineGranularity = first.pixelGranularity = c[0];
        second.lineGranularity = second.pixelGranularity = c[1];
        const ComplexConverter chain(first, second);
        EXPECT_EQ(chain.GetLineGranularity(), c[2]);
        EXPECT_EQ(chain.GetPixelGranularity(), c[2]);
    }
}

// The stages need not agree on the intermediate type: the chain takes its pair and sizes
// from the outer stages and registers under that pair when it is free.
TEST(ComplexConverter, FirstStageConvertsTheWholeSourceUnpaddedAndSecondTheRequestedPart) {
    const int64 from = FreshID(), to = FreshID();
    const Stage first(1, 1, 2, from), second(10, 2, 3, FreshID(), to);
    const ComplexConverter chain(first, second), later(first, second);
    EXPECT_EQ(PixelTypeFactory::FindConverter(from, to), &chain);
    EXPECT_EQ(std::make_pair(chain.GetSourceTypeID(), chain.GetDestinationTypeID()),
              std::make_pair(from, to));
    EXPECT_EQ((std::vector<uint32_t>{chain.GetSourcePixelSize(), chain.GetDestinationPixelSize(),
                                     chain.GetSourceLineSize(5), chain.GetDestinationLineSize(5)}),
              (std::vector<uint32_t>{1, 3, 5, 15}));
    EXPECT_EQ(&chain.GetFirstStage(), &first);
    EXPECT_EQ(&chain.GetSecondStage(), &second);

    const uint32_t sourceWidth = 5, sourceHeight = 4, sourcePadding = 3;
    const uint32_t destinationWidth = 6, destinationHeight = 3, destinationPadding = 2;
    const uint32_t width = 3, height = 2;
    const uint32_t sourceStride = sourceWidth + sourcePadding;
    const uint32_t destinationStride = 3 * destinationWidth + destinationPadding;
    const Bytes source = Ramp(sourceStride * sourceHeight);
    Bytes destination(destinationStride * destinationHeight, 0xEE);
    unsigned char* scratch = nullptr;
    uint32_t scratchSize = 0;
    EXPECT_EQ(chain
                  .Convert(source.data(), sourceWidth, sourceHeight, destination.data(),
                           destinationWidth, destinationHeight, width, height, 0,
                           destinationPadding, &scratch, &scratchSize, sourcePadding)
                  .GetCode(),
              0u);

    // The intermediate: every source pixel as two bytes, its lines back to back.
    for (uint32_t i = 0; i < 2 * sourceWidth * sourceHeight; ++i) {
        const uint32_t x = i / 2 % sourceWidth, y = i / 2 / sourceWidth;
        EXPECT_EQ(scratch[i], static_cast<unsigned char>(source[y * sourceStride + x] + 1))
            << "intermediate byte " << i;
    }
    delete[] scratch;
    for (uint32_t y = 0; y < destinationHeight; ++y) {
        for (uint32_t b = 0; b < destinationStride; ++b) {
            const bool inside = y < height && b < 3 * width;
            EXPECT_EQ(
                destination[y * destinationStride + b],
                inside ? static_cast<unsigned char>(source[y * sourceStride + b / 3] + 11) : 0xEE)
                << "line " << y << " byte " << b;
        }
    }
}

// The caller's filter (or, without one, each stage's default for its own source depth)
// reaches both stages, and the flags pass through with the default tile pattern added.
TEST(ComplexConverter, EachStageGetsTheCallersFilterOrTheDefaultForItsSourceDepth) {
    const int64 source = FreshID(), intermediate = FreshID();
    const Grayscale8 sourceType(source);
    const Grayscale12 intermediateType(intermediate);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(source, &sourceType, nullptr).IsSuccess());
    ASSERT_TRUE(
        PixelTypeFactory::RegisterPixelType(intermediate, &intermediateType, nullptr).IsSuccess());
    const Stage first(0, 1, 1, source, intermediate), second(0, 1, 1, intermediate);
    const ComplexConverter chain(first, second);
    const Bytes input = Ramp(16);
    Bytes output(16);

    const RGBFilter filter(8);
    chain.ConvertFiltered(&filter, input.data(), 4, 4, output.data(), 4, 4, 4, 4, 0x140, 0, nullptr,
                          nullptr, 0);
    EXPECT_EQ(first.log.filter, &filter);
    EXPECT_EQ(second.log.filter, &filter);
    EXPECT_EQ(first.log.flags, 0x140u);
    EXPECT_EQ(second.log.flags, 0x140u);

    RunChain(chain, input, 4, 4, output);
    EXPECT_EQ(first.log.filter, &GetDefaultFilter(8));
    EXPECT_EQ(second.log.filter, &GetDefaultFilter(12));
    EXPECT_EQ(first.log.flags, 0x10u);
}

TEST(ComplexConverter, ConvertAndConvertPixelRunBothStagesUnlessTheFirstFails) {
    Stage first(1, 1, 2);
    const Stage second(10, 2, 3);
    const ComplexConverter chain(first, second);
    const unsigned char source = 40;
    unsigned char destination[3] = {};
    EXPECT_EQ(chain.ConvertPixel(&source, destination).GetCode(), 0u);
    EXPECT_EQ(Bytes(destination, destination + 3), Bytes(3, 51));
    EXPECT_GE(chain.GetScratchSize(), 2u) << "through the own scratch";

    first.failConvert = true;
    EXPECT_EQ(chain.ConvertPixel(&source, destination).GetCode(), ResultCode::kNotSupported);
    Bytes image(3 * 16, 0xEE);
    EXPECT_EQ(RunChain(chain, Ramp(16), 4, 4, image).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(image, Bytes(3 * 16, 0xEE)) << "the second stage did not run";
}

TEST(ComplexConverter, OwnScratchGrowsZeroedForLargerImagesAndIsReusedForSmallerOnes) {
    Stage first(0);
    const Stage second(5);
    const ComplexConverter chain(first, second);
    EXPECT_EQ(chain.GetScratchBuffer(), nullptr);

    // Leave stale bytes in a small buffer first; the larger image needs a new one, whose
    // bytes the first stage leaves unwritten must read as zero.
    const Bytes small = Ramp(4 * 4);
    Bytes smallOut(4 * 4);
    RunChain(chain, small, 4, 4, smallOut);
    EXPECT_EQ(smallOut, Plus(small, 5));

    first.evenColumnsOnly = true;
    const uint32_t width = 101, height = 67;
    const Bytes source = Ramp(width * height);
    Bytes destination(width * height);
    RunChain(chain, source, width, height, destination);
    EXPECT_GE(chain.GetScratchSize(), width * height);
    for (uint32_t i = 0; i < width * height; ++i) {
        const uint32_t x = i % width;
        const unsigned char expected = x % 2 == 0 ? static_cast<unsigned char>(source[i] + 5) : 5;
        ASSERT_EQ(destination[i], expected) << "pixel " << x << "," << i / width;
    }

    const unsigned char* buffer = chain.GetScratchBuffer();
    const uint32_t size = chain.GetScratchSize();
    RunChain(chain, small, 4, 4, smallOut);
    EXPECT_EQ(chain.GetScratchBuffer(), buffer);
    EXPECT_EQ(chain.GetScratchSize(), size);
}

TEST(ComplexConverter, OwnScratchAbsorbsStagesThatWritePastTheirLinesAndTheLastLine) {
    // An odd-width stage writing one pixel past each line, with two-line steps whose odd
    // last line also writes the line after it. Out-of-bounds writes show up under the
    // address sanitizer.
    Stage first(1, 1, 2);
    first.overrunPixels = 1;
    first.lineGranularity = 2;
    const Stage second(0, 2, 1);
    const ComplexConverter chain(first, second);

    for (uint32_t width : {1u, 7u, 33u}) {
        for (uint32_t height : {1u, 5u, 9u}) {
            // Spare lines: the overrun also reads past the last line.
            const Bytes source = Ramp(width * (height + 2));
            Bytes destination(width * height);
            RunChain(chain, source, width, height, destination);
            EXPECT_EQ(destination, Plus(Bytes(source.begin(), source.begin() + width * height), 1))
                << width << "x" << height;
        }
    }
}

// A caller's buffer is used as it is while large enough and replaced when not; without a
// size pointer the chain falls back on its own buffer.
TEST(ComplexConverter, CallerScratchIsUsedAsGivenWhenLargeEnoughAndReplacedWhenNot) {
    struct Case {
        const char* label;
        uint32_t size;  // of the caller's buffer; 0: a null pointer
        bool sizePointer, replaced;
    };
    const uint32_t width = 6, height = 4, needed = width * height * 2;  // two-byte intermediate
    const Case cases[] = {{"Null", 0, true, true},
                          {"OneByteShort", needed - 1, true, true},
                          {"Exact", needed, true, false},
                          {"Larger", needed + 8, true, false},
                          {"NoSizePointer", 0, false, false}};
    const Bytes source = Ramp(width * height);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const Stage first(1, 1, 2), second(0, 2, 1);
        const ComplexConverter chain(first, second);
        uint32_t size = c.size;
        unsigned char* scratch = size ? new unsigned char[size] : nullptr;
        if (scratch) std::memset(scratch, 0xAB, size);
        unsigned char* const given = scratch;
        Bytes destination(width * height);
        RunChain(chain, source, width, height, destination, &scratch,
                 c.sizePointer ? &size : nullptr);

        EXPECT_EQ(destination, Plus(source, 1));
        EXPECT_EQ(chain.GetScratchBuffer() != nullptr, !c.sizePointer) << "own buffer used";
        if (c.replaced) {
            EXPECT_NE(scratch, nullptr);
            EXPECT_GE(size, needed);
        } else {
            EXPECT_EQ(scratch, given);
            EXPECT_EQ(size, c.size);
        }
        for (uint32_t i = 0; given && !c.replaced && i < size; ++i) {
            EXPECT_EQ(scratch[i], i < needed ? Plus(source, 1)[i / 2] : 0xAB) << "byte " << i;
        }
        delete[] scratch;
    }
}

TEST(ComplexConverter, ConvertLinesRunsBothStagesOverOneStepAndRestoresTheContext) {
    // Second stage consumes two lines per call: the chain's step is two lines, and the
    // first stage has to fill both before the second reads them.
    const Stage first(1, 1, 2);
    Stage second(10, 2, 1);
    second.lineGranularity = 2;
    const ComplexConverter chain(first, second);
    ASSERT_EQ(chain.GetLineGranularity(), 2u);

    const uint32_t width = 5, sourceStride = 7, destinationStride = 6;
    const Bytes source = Ramp(sourceStride * 2);
    Bytes destination(destinationStride * 2, 0xEE);
    {
        ConversionContextScope context;
        context->sourceStride = sourceStride;
        context->destinationStride = destinationStride;
        context->currentLine = 4;
        EXPECT_EQ(chain.ConvertLines(source.data(), destination.data(), width).GetCode(), 0u);
        EXPECT_EQ(context->sourceStride, sourceStride);
        EXPECT_EQ(context->destinationStride, destinationStride);
        EXPECT_EQ(context->currentLine, 4u);
    }
    EXPECT_EQ(first.log.currentLines, (std::vector<uint32_t>{4, 5}));
    EXPECT_EQ(first.log.destinationStride, 2 * width);
    EXPECT_EQ(second.log.currentLines, (std::vector<uint32_t>{4}));
    EXPECT_EQ(second.log.sourceStride, 2 * width);
    EXPECT_EQ(second.log.destinationStride, destinationStride);
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x <= width; ++x) {
            EXPECT_EQ(
                destination[y * destinationStride + x],
                x < width ? static_cast<unsigned char>(source[y * sourceStride + x] + 11) : 0xEE);
        }
    }
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
}

}  // namespace
