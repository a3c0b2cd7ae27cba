#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"
#include "ZnConvertersLib/RGBFilter.h"

using namespace ZnConvertersLib;
using ZnUtilsLib::Result;

namespace {

// Identifiers in a colour space nothing else uses, a fresh one per converter end, so
// that every object built here registers (or not) exactly as the test expects.
int64 FreshID() {
    static int64 next = 0x70100;
    return next++;
}

// What a stage saw of the conversion context during its kernel calls.
struct StageLog {
    int lineCalls = 0;
    std::vector<uint32_t> currentLines;
    const RGBFilter* filter = nullptr;
    uint32_t flags = 0;
    uint32_t sourceStride = 0;
    uint32_t destinationStride = 0;
    // Arguments of the stage's own Convert call.
    int convertCalls = 0;
    uint32_t sourceWidth = 0, sourceHeight = 0, destinationWidth = 0, destinationHeight = 0;
    uint32_t width = 0, height = 0, destinationPadding = 0, sourcePadding = 0;
};

// Reads inSize-byte pixels (first byte counts), writes outSize-byte pixels holding
// value + delta in every byte. Granularities are reported through the virtual getters
// only, as the Bayer family does, while the descriptor says 1.
class Stage : public PixelConverter {
public:
    Stage(int64 from, int64 to, int delta, uint32_t inSize = 1, uint32_t outSize = 1)
        : PixelConverter(from, to, inSize, outSize, 1, 1), mDelta(delta) {}

    uint32_t GetPixelGranularity() const override { return mPixelGranularity; }
    uint32_t GetLineGranularity() const override { return mLineGranularity; }

    Result Convert(const unsigned char* source, uint32_t sourceWidth, uint32_t sourceHeight,
                   unsigned char* destination, uint32_t destinationWidth,
                   uint32_t destinationHeight, uint32_t width, uint32_t height, uint32_t flags,
                   uint32_t destinationPadding, unsigned char** scratchBuffer,
                   uint32_t* scratchBufferSize, uint32_t sourcePadding) const override {
        ++log.convertCalls;
        log.sourceWidth = sourceWidth;
        log.sourceHeight = sourceHeight;
        log.destinationWidth = destinationWidth;
        log.destinationHeight = destinationHeight;
        log.width = width;
        log.height = height;
        log.destinationPadding = destinationPadding;
        log.sourcePadding = sourcePadding;
        if (failConvert) return Result(ResultCode::kNotSupported);
        return PixelConverter::Convert(source, sourceWidth, sourceHeight, destination,
                                       destinationWidth, destinationHeight, width, height, flags,
                                       destinationPadding, scratchBuffer, scratchBufferSize,
                                       sourcePadding);
    }

    Result ConvertLines(const unsigned char* source, unsigned char* destination,
                        uint32_t width) const override {
        ConversionContextScope context;
        ++log.lineCalls;
        log.currentLines.push_back(context->currentLine);
        log.filter = context->filter;
        log.flags = context->flags;
        log.sourceStride = context->sourceStride;
        log.destinationStride = context->destinationStride;
        const uint32_t lines = GetLineGranularity();
        for (uint32_t line = 0; line < lines; ++line) {
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

    uint32_t mPixelGranularity = 1;
    uint32_t mLineGranularity = 1;
    uint32_t overrunPixels = 0;  // written past the end of every line
    bool evenColumnsOnly = false;
    bool failConvert = false;
    mutable StageLog log;

private:
    void ConvertRow(const unsigned char* source, unsigned char* destination, uint32_t width) const {
        for (uint32_t x = 0; x < width; ++x) {
            if (evenColumnsOnly && x % 2 != 0) continue;
            const unsigned char value =
                static_cast<unsigned char>(source[x * GetSourcePixelSize()] + mDelta);
            std::memset(destination + x * GetDestinationPixelSize(), value,
                        GetDestinationPixelSize());
        }
    }

    int mDelta;
};

std::vector<unsigned char> Ramp(size_t size) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + 1);
    return bytes;
}

// Two pass-through stages with fresh identifiers, chained.
struct PassThroughChain {
    Stage first{FreshID(), FreshID(), 0};
    Stage second{FreshID(), FreshID(), 0};
    ComplexConverter chain{first, second};
};

Result RunChain(const PixelConverter& chain, const std::vector<unsigned char>& source,
                uint32_t width, uint32_t height, std::vector<unsigned char>& destination,
                unsigned char** scratch = nullptr, uint32_t* scratchSize = nullptr) {
    return chain.Convert(source.data(), width, height, destination.data(), width, height, width,
                         height, 0, 0, scratch, scratchSize, 0);
}

struct GranularityCase {
    uint32_t first;
    uint32_t second;
    uint32_t expected;
};

void PrintTo(const GranularityCase& c, std::ostream* os) {
    *os << c.first << " and " << c.second;
}

class ComplexConverterGranularity : public testing::TestWithParam<GranularityCase> {};

TEST_P(ComplexConverterGranularity, CombinesTheStagesReportedGranularities) {
    const GranularityCase c = GetParam();
    Stage first(FreshID(), FreshID(), 0);
    Stage second(FreshID(), FreshID(), 0);
    first.mLineGranularity = first.mPixelGranularity = c.first;
    second.mLineGranularity = second.mPixelGranularity = c.second;
    const ComplexConverter chain(first, second);
    EXPECT_EQ(chain.GetLineGranularity(), c.expected);
    EXPECT_EQ(chain.GetPixelGranularity(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Pairs, ComplexConverterGranularity,
                         testing::Values(GranularityCase{2, 3, 6}, GranularityCase{3, 2, 6},
                                         GranularityCase{2, 4, 4}, GranularityCase{4, 2, 4},
                                         GranularityCase{1, 1, 1}, GranularityCase{1, 2, 2},
                                         GranularityCase{4, 6, 24}, GranularityCase{3, 3, 3}));

TEST(ComplexConverter, TakesItsPairAndSizesFromTheOuterStagesAndRegistersWhenFree) {
    const int64 source = FreshID(), intermediate = FreshID(), other = FreshID(),
                destination = FreshID();
    // The stages need not agree on the intermediate type.
    const Stage first(source, intermediate, 1, 3, 2);
    const Stage second(other, destination, 10, 2, 4);
    const ComplexConverter chain(first, second);

    EXPECT_EQ(chain.GetSourceTypeID(), source);
    EXPECT_EQ(chain.GetDestinationTypeID(), destination);
    EXPECT_EQ(chain.GetSourcePixelSize(), 3u);
    EXPECT_EQ(chain.GetDestinationPixelSize(), 4u);
    EXPECT_EQ(chain.GetSourceLineSize(5), 15u);
    EXPECT_EQ(chain.GetDestinationLineSize(5), 20u);
    EXPECT_EQ(&chain.GetFirstStage(), &first);
    EXPECT_EQ(&chain.GetSecondStage(), &second);
    EXPECT_EQ(PixelTypeFactory::FindConverter(source, destination), &chain);

    const ComplexConverter later(first, second);
    EXPECT_EQ(PixelTypeFactory::FindConverter(source, destination), &chain);
}

TEST(ComplexConverter, FirstStageConvertsTheWholeSourceAndSecondTheRequestedPart) {
    const Stage first(FreshID(), FreshID(), 1, 1, 2);
    const Stage second(FreshID(), FreshID(), 10, 2, 1);
    const ComplexConverter chain(first, second);

    const uint32_t sourceWidth = 5, sourceHeight = 4, sourcePadding = 3;
    const uint32_t destinationWidth = 6, destinationHeight = 3, destinationPadding = 2;
    const uint32_t width = 3, height = 2;
    const uint32_t sourceStride = sourceWidth + sourcePadding;
    const uint32_t destinationStride = destinationWidth + destinationPadding;
    const std::vector<unsigned char> source = Ramp(sourceStride * sourceHeight);
    std::vector<unsigned char> destination(destinationStride * destinationHeight, 0xEE);

    const Result result = chain.Convert(
        source.data(), sourceWidth, sourceHeight, destination.data(), destinationWidth,
        destinationHeight, width, height, 0, destinationPadding, nullptr, nullptr, sourcePadding);
    EXPECT_EQ(result.GetCode(), 0u);

    EXPECT_EQ(first.log.width, sourceWidth);
    EXPECT_EQ(first.log.height, sourceHeight);
    EXPECT_EQ(first.log.destinationWidth, sourceWidth);
    EXPECT_EQ(first.log.destinationHeight, sourceHeight);
    EXPECT_EQ(first.log.destinationPadding, 0u);
    EXPECT_EQ(first.log.sourcePadding, sourcePadding);
    EXPECT_EQ(first.log.lineCalls, static_cast<int>(sourceHeight));
    EXPECT_EQ(second.log.sourceWidth, sourceWidth);
    EXPECT_EQ(second.log.sourceHeight, sourceHeight);
    EXPECT_EQ(second.log.sourcePadding, 0u);
    EXPECT_EQ(second.log.width, width);
    EXPECT_EQ(second.log.height, height);
    EXPECT_EQ(second.log.destinationPadding, destinationPadding);
    EXPECT_EQ(second.log.sourceStride, 2 * sourceWidth);  // unpadded intermediate

    for (uint32_t y = 0; y < destinationHeight; ++y) {
        for (uint32_t x = 0; x < destinationStride; ++x) {
            const unsigned char got = destination[y * destinationStride + x];
            if (y < height && x < width) {
                EXPECT_EQ(got, static_cast<unsigned char>(source[y * sourceStride + x] + 11))
                    << "pixel " << x << "," << y;
            } else {
                EXPECT_EQ(got, 0xEE) << "outside the requested area at " << x << "," << y;
            }
        }
    }
}

TEST(ComplexConverter, CallersFilterReachesBothStagesAndFlagsPassThrough) {
    const PassThroughChain c;
    const std::vector<unsigned char> source = Ramp(16);
    std::vector<unsigned char> destination(16);

    const RGBFilter filter(8);
    c.chain.ConvertFiltered(&filter, source.data(), 4, 4, destination.data(), 4, 4, 4, 4, 0x140, 0,
                            nullptr, nullptr, 0);
    EXPECT_EQ(c.first.log.filter, &filter);
    EXPECT_EQ(c.second.log.filter, &filter);
    EXPECT_EQ(c.first.log.flags, 0x140u);
    EXPECT_EQ(c.second.log.flags, 0x140u);
}

TEST(ComplexConverter, WithoutFilterEachStageGetsTheDefaultForItsOwnSourceDepth) {
    const int64 source = FreshID(), intermediate = FreshID();
    const Grayscale8 sourceType(source);
    const Grayscale12 intermediateType(intermediate);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(source, &sourceType, nullptr).IsSuccess());
    ASSERT_TRUE(
        PixelTypeFactory::RegisterPixelType(intermediate, &intermediateType, nullptr).IsSuccess());

    const Stage first(source, intermediate, 0);
    const Stage second(intermediate, FreshID(), 0);
    const ComplexConverter chain(first, second);
    const std::vector<unsigned char> input = Ramp(16);
    std::vector<unsigned char> output(16);
    RunChain(chain, input, 4, 4, output);

    EXPECT_EQ(first.log.filter, &GetDefaultFilter(8));
    EXPECT_EQ(second.log.filter, &GetDefaultFilter(12));
    EXPECT_EQ(first.log.flags, 0x10u);  // default tile pattern
}

TEST(ComplexConverter, FailingFirstStageStopsTheChainWithItsResult) {
    PassThroughChain c;
    c.first.failConvert = true;
    const std::vector<unsigned char> source = Ramp(16);
    std::vector<unsigned char> destination(16, 0xEE);

    EXPECT_EQ(RunChain(c.chain, source, 4, 4, destination).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(c.second.log.convertCalls, 0);
    EXPECT_EQ(destination, std::vector<unsigned char>(16, 0xEE));

    unsigned char pixel = 0;
    EXPECT_EQ(c.chain.ConvertPixel(source.data(), &pixel).GetCode(), ResultCode::kNotSupported);
}

TEST(ComplexConverter, OwnScratchHoldsTheWholeIntermediateAndIsReusedForSmallerImages) {
    const PassThroughChain c;
    const ComplexConverter& chain = c.chain;
    EXPECT_EQ(chain.GetScratchBuffer(), nullptr);

    const std::vector<unsigned char> large = Ramp(640 * 480);
    std::vector<unsigned char> out(640 * 480);
    RunChain(chain, large, 640, 480, out);
    EXPECT_GE(chain.GetScratchSize(), 640u * 480u);
    EXPECT_EQ(out, large);
    const unsigned char* buffer = chain.GetScratchBuffer();
    const uint32_t size = chain.GetScratchSize();

    const std::vector<unsigned char> small = Ramp(320 * 200);
    std::vector<unsigned char> smallOut(320 * 200);
    RunChain(chain, small, 320, 200, smallOut);
    EXPECT_EQ(chain.GetScratchBuffer(), buffer);
    EXPECT_EQ(chain.GetScratchSize(), size);
    EXPECT_EQ(smallOut, small);
}

TEST(ComplexConverter, NewOwnScratchIsZeroedSoUnwrittenIntermediateBytesReadAsZero) {
    Stage first(FreshID(), FreshID(), 0);
    const Stage second(FreshID(), FreshID(), 5);
    const ComplexConverter chain(first, second);

    // Leave stale bytes in a small buffer first; the larger image needs a new one.
    const std::vector<unsigned char> small = Ramp(4 * 4);
    std::vector<unsigned char> smallOut(4 * 4);
    RunChain(chain, small, 4, 4, smallOut);

    first.evenColumnsOnly = true;
    const uint32_t width = 101, height = 67;
    const std::vector<unsigned char> source = Ramp(width * height);
    std::vector<unsigned char> destination(width * height);
    RunChain(chain, source, width, height, destination);
    for (uint32_t i = 0; i < width * height; ++i) {
        const uint32_t x = i % width;
        const unsigned char expected = x % 2 == 0 ? static_cast<unsigned char>(source[i] + 5) : 5;
        ASSERT_EQ(destination[i], expected) << "pixel " << x << "," << i / width;
    }
}

TEST(ComplexConverter, OwnScratchAbsorbsStagesThatWritePastTheirLinesAndTheLastLine) {
    // An odd-width stage writing one pixel past each line, with two-line steps whose odd
    // last line also writes the line after it. Out-of-bounds writes show up under the
    // address sanitizer.
    Stage first(FreshID(), FreshID(), 1, 1, 2);
    first.overrunPixels = 1;
    first.mLineGranularity = 2;
    const Stage second(FreshID(), FreshID(), 0, 2, 1);
    const ComplexConverter chain(first, second);

    for (uint32_t width : {1u, 7u, 33u}) {
        for (uint32_t height : {1u, 5u, 9u}) {
            const std::vector<unsigned char> source = Ramp(width * (height + 2));
            std::vector<unsigned char> destination(width * height);
            RunChain(chain, source, width, height, destination);
            for (uint32_t i = 0; i < width * height; ++i) {
                ASSERT_EQ(destination[i], static_cast<unsigned char>(source[i] + 1))
                    << width << "x" << height << " pixel " << i;
            }
        }
    }
}

TEST(ComplexConverter, CallerScratchIsAllocatedWhenTooSmallAndLeftToTheCaller) {
    const Stage first(FreshID(), FreshID(), 1, 1, 2);
    const Stage second(FreshID(), FreshID(), 0, 2, 1);
    const ComplexConverter chain(first, second);
    const std::vector<unsigned char> source = Ramp(30 * 20);
    std::vector<unsigned char> destination(30 * 20);

    unsigned char* scratch = nullptr;
    uint32_t scratchSize = 0;
    RunChain(chain, source, 30, 20, destination, &scratch, &scratchSize);
    ASSERT_NE(scratch, nullptr);
    EXPECT_GE(scratchSize, 30u * 20u * 2u);
    EXPECT_EQ(chain.GetScratchBuffer(), nullptr) << "the member buffer is not touched";
    EXPECT_EQ(destination[17], static_cast<unsigned char>(source[17] + 1));

    // Large enough now: kept as it is for the next call.
    unsigned char* const kept = scratch;
    const uint32_t keptSize = scratchSize;
    RunChain(chain, source, 10, 10, destination, &scratch, &scratchSize);
    EXPECT_EQ(scratch, kept);
    EXPECT_EQ(scratchSize, keptSize);
    delete[] scratch;
}

TEST(ComplexConverter, CallerScratchOfSufficientSizeIsUsedAsGivenAndNeverCleared) {
    const PassThroughChain c;
    const ComplexConverter& chain = c.chain;
    const uint32_t width = 6, height = 4, needed = width * height;

    uint32_t scratchSize = needed + 8;
    unsigned char* scratch = new unsigned char[scratchSize];
    std::memset(scratch, 0xAB, scratchSize);
    unsigned char* const given = scratch;
    const std::vector<unsigned char> source = Ramp(needed);
    std::vector<unsigned char> destination(needed);
    RunChain(chain, source, width, height, destination, &scratch, &scratchSize);

    EXPECT_EQ(scratch, given);
    EXPECT_EQ(scratchSize, needed + 8);
    EXPECT_EQ(std::memcmp(scratch, source.data(), needed), 0) << "the intermediate went there";
    for (uint32_t i = needed; i < needed + 8; ++i) EXPECT_EQ(scratch[i], 0xAB);
    EXPECT_EQ(destination, source);
    EXPECT_EQ(chain.GetScratchBuffer(), nullptr);
    delete[] scratch;
}

TEST(ComplexConverter, ScratchPointerWithoutSizePointerUsesTheMemberBuffer) {
    const PassThroughChain c;
    const ComplexConverter& chain = c.chain;
    const std::vector<unsigned char> source = Ramp(64);
    std::vector<unsigned char> destination(64);

    unsigned char* scratch = nullptr;
    chain.Convert(source.data(), 8, 8, destination.data(), 8, 8, 8, 8, 0, 0, &scratch, nullptr, 0);
    EXPECT_EQ(scratch, nullptr);
    EXPECT_NE(chain.GetScratchBuffer(), nullptr);
    EXPECT_EQ(destination, source);
}

TEST(ComplexConverter, ConvertLinesRunsBothStagesOverOneStepAndRestoresTheContext) {
    // Second stage consumes two lines per call: the chain's step is two lines, and the
    // first stage has to fill both before the second reads them.
    const Stage first(FreshID(), FreshID(), 1, 1, 2);
    Stage second(FreshID(), FreshID(), 10, 2, 1);
    second.mLineGranularity = 2;
    const ComplexConverter chain(first, second);
    ASSERT_EQ(chain.GetLineGranularity(), 2u);

    const uint32_t width = 5, sourceStride = 7, destinationStride = 6;
    const std::vector<unsigned char> source = Ramp(sourceStride * 2);
    std::vector<unsigned char> destination(destinationStride * 2, 0xEE);
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
        for (uint32_t x = 0; x < width; ++x) {
            EXPECT_EQ(destination[y * destinationStride + x],
                      static_cast<unsigned char>(source[y * sourceStride + x] + 11));
        }
        EXPECT_EQ(destination[y * destinationStride + width], 0xEE);
    }
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
}

TEST(ComplexConverter, ConvertPixelChainsThroughTheMemberScratch) {
    const Stage first(FreshID(), FreshID(), 1, 1, 2);
    const Stage second(FreshID(), FreshID(), 10, 2, 3);
    const ComplexConverter chain(first, second);
    const unsigned char source = 40;
    unsigned char destination[3] = {};
    EXPECT_EQ(chain.ConvertPixel(&source, destination).GetCode(), 0u);
    EXPECT_EQ(destination[0], 51);
    EXPECT_EQ(destination[2], 51);
    EXPECT_GE(chain.GetScratchSize(), 2u);
}

}  // namespace
