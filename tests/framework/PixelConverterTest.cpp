#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/ThreadConversionState.h"

using namespace ZnConvertersLib;
using ZnUtilsLib::Result;

namespace {

// One record per kernel call: what the conversion call handed over and what the context
// held at that moment.
struct Call {
    bool remainder;
    std::ptrdiff_t sourceOffset;
    std::ptrdiff_t destinationOffset;
    uint32_t width;
    uint32_t currentLine;
    uint32_t flags;
    const RGBFilter* filter;
    uint32_t sourceStride;
    uint32_t destinationStride;
};

class RecordingConverter : public PixelConverter {
public:
    RecordingConverter(int64 source, int64 destination, uint32_t sourcePixelSize,
                       uint32_t destinationPixelSize, uint32_t lineGranularity)
        : PixelConverter(source, destination, sourcePixelSize, destinationPixelSize, 1,
                         lineGranularity) {}

    void Begin(const unsigned char* source, const unsigned char* destination) const {
        mSource = source;
        mDestination = destination;
        calls.clear();
    }

    Result ConvertLines(const unsigned char* source, unsigned char* destination,
                        uint32_t width) const override {
        Record(false, source, destination, width);
        return Result();
    }
    Result ConvertRemainderLine(const unsigned char* source, unsigned char* destination,
                                uint32_t width) const override {
        Record(true, source, destination, width);
        return Result(ResultCode::kNotSupported);  // discarded by the conversion call
    }

    mutable std::vector<Call> calls;

private:
    void Record(bool remainder, const unsigned char* source, unsigned char* destination,
                uint32_t width) const {
        ConversionContextScope context;
        calls.push_back({remainder, source - mSource, destination - mDestination, width,
                         context->currentLine, context->flags, context->filter,
                         context->sourceStride, context->destinationStride});
    }
    mutable const unsigned char* mSource = nullptr;
    mutable const unsigned char* mDestination = nullptr;
};

constexpr int64 kProgressive = 0x70101;  // unknown colour space, no attribute bits
constexpr int64 kInterlaced = 0x270102;  // Interlaced bit set

Result RunConversion(const RecordingConverter& converter, uint32_t width, uint32_t height,
                     uint32_t flags = 0, uint32_t sourcePadding = 0,
                     uint32_t destinationPadding = 0, uint32_t sourceHeight = 0) {
    static unsigned char source[1], destination[1];
    converter.Begin(source, destination);
    return converter.Convert(source, width, sourceHeight ? sourceHeight : height, destination,
                             width, height, width, height, flags, destinationPadding, nullptr,
                             nullptr, sourcePadding);
}

}  // namespace

TEST(PixelConverterWalk, HeightZeroRunsNoKernelAndClearsTheFilter) {
    const RecordingConverter converter(kProgressive, kProgressive + 1, 1, 1, 1);
    RGBFilter filter(8);
    ConversionContextScope outer;  // keeps the context alive to look at it afterwards
    const Result result = converter.ConvertFiltered(&filter, nullptr, 4, 0, nullptr, 4, 0, 4, 0, 0,
                                                    0, nullptr, nullptr, 0);
    EXPECT_EQ(result.GetCode(), 0u);
    EXPECT_TRUE(converter.calls.empty());
    EXPECT_EQ(outer->filter, nullptr);
}

TEST(PixelConverterWalk, LineGranularityTwoWithOddHeightEndsWithOneRemainderLine) {
    const RecordingConverter converter(kProgressive, kProgressive + 2, 2, 3, 2);
    EXPECT_EQ(RunConversion(converter, 10, 5, 0, 4, 6).GetCode(), 0u);
    ASSERT_EQ(converter.calls.size(), 3u);
    const uint32_t sourceStride = 2 * 10 + 4, destinationStride = 3 * 10 + 6;
    const uint32_t expectedLines[] = {0, 2, 4};
    for (size_t k = 0; k < 3; ++k) {
        const Call& call = converter.calls[k];
        EXPECT_EQ(call.remainder, k == 2);
        EXPECT_EQ(call.currentLine, expectedLines[k]);
        EXPECT_EQ(call.sourceOffset, static_cast<std::ptrdiff_t>(expectedLines[k] * sourceStride));
        EXPECT_EQ(call.destinationOffset,
                  static_cast<std::ptrdiff_t>(expectedLines[k] * destinationStride));
        EXPECT_EQ(call.width, 10u);
        EXPECT_EQ(call.sourceStride, sourceStride);
        EXPECT_EQ(call.destinationStride, destinationStride);
    }
}

TEST(PixelConverterWalk, FlagsWithoutTilePatternDefaultToFirstPattern) {
    const RecordingConverter converter(kProgressive, kProgressive + 3, 1, 1, 1);
    const uint32_t given[] = {0x0, 0x1, 0x40, 0x140, 0x90};
    const uint32_t seen[] = {0x10, 0x11, 0x40, 0x140, 0x90};
    for (size_t k = 0; k < 5; ++k) {
        RunConversion(converter, 1, 1, given[k]);
        ASSERT_EQ(converter.calls.size(), 1u);
        EXPECT_EQ(converter.calls[0].flags, seen[k]) << k;
    }
}

struct InterlacedCase {
    uint32_t height;
    uint32_t flags;
};

class PixelConverterInterlaced : public ::testing::TestWithParam<InterlacedCase> {};

// Two fields one after the other in the source, interleaved in the destination; the
// field in the second half of the source comes first when flag bit 0 is set.
TEST_P(PixelConverterInterlaced, WalksBothFieldsIntoAlternateLines) {
    const InterlacedCase param = GetParam();
    const RecordingConverter converter(kInterlaced, kProgressive + 4, 1, 2, 1);
    const uint32_t width = 3, sourcePadding = 1, destinationPadding = 2;
    RunConversion(converter, width, param.height, param.flags, sourcePadding, destinationPadding);
    const uint32_t sourceStride = width + sourcePadding;
    const uint32_t destinationStride = 2 * width + destinationPadding;
    const uint32_t half = (sourceStride * param.height) / 2;
    const uint32_t callsPerField = param.height / 2;
    ASSERT_EQ(converter.calls.size(), 2 * callsPerField);
    for (uint32_t field = 0; field < 2; ++field) {
        const bool fromSecondHalf = (field == 0) == ((param.flags & 1) != 0);
        for (uint32_t k = 0; k < callsPerField; ++k) {
            const Call& call = converter.calls[field * callsPerField + k];
            EXPECT_FALSE(call.remainder);
            EXPECT_EQ(call.currentLine, 2 * k);
            EXPECT_EQ(call.sourceOffset,
                      static_cast<std::ptrdiff_t>((fromSecondHalf ? half : 0) + k * sourceStride));
            EXPECT_EQ(call.destinationOffset,
                      static_cast<std::ptrdiff_t>((2 * k + field) * destinationStride));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(HeightsAndFieldOrders, PixelConverterInterlaced,
                         ::testing::Values(InterlacedCase{4, 0}, InterlacedCase{4, 1},
                                           InterlacedCase{5, 0}, InterlacedCase{5, 1},
                                           InterlacedCase{1, 0}));

TEST(PixelConverterFilter, DefaultFilterFollowsTheSourceBitSizeAndFallsBackToSixteen) {
    struct Case {
        int64 id;
        uint32_t bits;  // 0: leave the identifier unregistered
        uint32_t expectedFilterBits;
    };
    const Case cases[] = {{0x70201, 8, 8},   {0x70202, 10, 10}, {0x70203, 12, 12},
                          {0x70204, 14, 14}, {0x70205, 16, 16}, {0x70206, 24, 16},
                          {0x70207, 0, 16}};
    for (const Case& c : cases) {
        if (c.bits != 0) {
            PixelType type(c.id, static_cast<unsigned short>(c.bits), 2, false);
            PixelTypeFactory::RegisterPixelType(c.id, &type, nullptr);
        }
        const RecordingConverter converter(c.id, c.id + 0x100, 1, 1, 1);
        RunConversion(converter, 1, 1);
        ASSERT_EQ(converter.calls.size(), 1u);
        ASSERT_NE(converter.calls[0].filter, nullptr);
        EXPECT_EQ(converter.calls[0].filter->GetBitSize(), c.expectedFilterBits) << c.id;
        EXPECT_TRUE(converter.calls[0].filter->IsIdentity());
    }
}

TEST(PixelConverterFilter, GivenFilterReachesKernelsAndIsClearedAfterwards) {
    const RecordingConverter converter(kProgressive, kProgressive + 5, 1, 1, 2);
    RGBFilter filter(12);
    unsigned char source[1], destination[1];
    converter.Begin(source, destination);
    ConversionContextScope outer;
    converter.ConvertFiltered(&filter, source, 1, 3, destination, 1, 3, 1, 3, 0, 0, nullptr,
                              nullptr, 0);
    ASSERT_EQ(converter.calls.size(), 2u);
    EXPECT_EQ(converter.calls[0].filter, &filter);
    EXPECT_EQ(converter.calls[1].filter, &filter);  // remainder line too
    EXPECT_EQ(outer->filter, nullptr);
    EXPECT_EQ(outer->referenceCount, 1u);
}

// Whether a filter is the identity is settled once per conversion: a change between two
// conversions must reach the second, and a nested conversion's filter must not leak into
// the rest of the outer one.
TEST(PixelConverterFilter, ChangesBetweenConversionsAndNestedFiltersTakeEffect) {
    const int64 rgb24 = 0x20002, bgr24 = 0x420006;
    const PixelConverter& converter = PixelTypeFactory::GetConverter(rgb24, bgr24);
    const unsigned char source[3] = {100, 100, 100};
    unsigned char destination[3];
    const auto convert = [&](const RGBFilter* filter) {
        converter.ConvertFiltered(filter, source, 1, 1, destination, 1, 1, 1, 1, 0, 0, nullptr,
                                  nullptr, 0);
        return std::vector<unsigned char>(destination, destination + 3);
    };
    RGBFilter filter(8);
    EXPECT_EQ(convert(&filter), (std::vector<unsigned char>{100, 100, 100}));
    filter.SetMultipliers(0.5, 1.0, 2.0);
    EXPECT_EQ(convert(&filter), (std::vector<unsigned char>{200, 100, 50}));

    RGBFilter identity(8);
    ConversionContextScope outer;
    outer->filter = &filter;
    const FilterUseScope settled(*outer);
    EXPECT_EQ(convert(&identity), (std::vector<unsigned char>{100, 100, 100}));
    outer->filter = &filter;  // the nested call cleared it, as every conversion does
    EXPECT_TRUE(ActiveFilterTables(*outer).red == filter.GetRedTable8());
    EXPECT_FALSE(ActiveFilterTables(*outer).identity);
    outer->filter = nullptr;
}

TEST(PixelConverterBase, UnprovidedOperationsReportNotSupported) {
    const RecordingConverter converter(kProgressive, kProgressive + 6, 1, 1, 1);
    const PixelConverter& base = converter;
    unsigned char byte = 0;
    EXPECT_EQ(base.PixelConverter::ConvertLines(&byte, &byte, 1).GetCode(),
              ResultCode::kNotSupported);
    EXPECT_EQ(base.ConvertPixel(&byte, &byte).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(base.PixelConverter::ConvertRemainderLine(&byte, &byte, 1).GetCode(),
              ResultCode::kNotSupported);
    EXPECT_EQ(base.GetSourceLineSize(7), 7u);
    EXPECT_EQ(base.GetPixelGranularity(), 1u);
}

TEST(PixelConverterBase, LineSizesWrapInThirtyTwoBits) {
    const RecordingConverter converter(kProgressive, kProgressive + 7, 8, 6, 1);
    EXPECT_EQ(converter.GetSourceLineSize(0x20000001u), 8u);
    EXPECT_EQ(converter.GetDestinationLineSize(0x80000000u), 0u);
}

TEST(PixelConverterRegistration, FirstObjectForAPairWins) {
    const int64 from = 0x70301, to = 0x70302;
    const RecordingConverter first(from, to, 1, 1, 1);
    const RecordingConverter second(from, to, 2, 2, 1);
    EXPECT_EQ(&PixelTypeFactory::GetConverter(from, to), &first);
    // The second object is still usable directly.
    EXPECT_EQ(RunConversion(second, 2, 2).GetCode(), 0u);
    EXPECT_EQ(second.calls.size(), 2u);
}

TEST(ConversionContext, CountsNestedAcquisitionsAndIsFreshAfterTheLastRelease) {
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
    ConversionContext* first = AcquireConversionContext();
    EXPECT_EQ(first->referenceCount, 1u);
    EXPECT_EQ(first->flags, 0u);
    first->flags = 0x55;
    ConversionContext* nested = AcquireConversionContext();
    EXPECT_EQ(nested, first);
    EXPECT_EQ(nested->referenceCount, 2u);
    EXPECT_EQ(CountActiveConversionContexts(), 1u);
    ReleaseConversionContext(nested);
    EXPECT_EQ(first->referenceCount, 1u);
    ReleaseConversionContext(first);
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
    ConversionContextScope again;
    EXPECT_EQ(again->referenceCount, 1u);
    EXPECT_EQ(again->flags, 0u);
}

class IdentityConversion : public ::testing::TestWithParam<uint32_t> {};

// Copies every line between paddings on both sides (the line walk) or as one block when
// both images are contiguous; padding bytes of the destination keep their sentinel.
TEST_P(IdentityConversion, CopiesLinesAndLeavesPaddingAlone) {
    const int64 id = 0x70401 + GetParam();
    const uint32_t pixelSize = GetParam();
    // 8 significant bits: a 24-bit type of three bytes would be laid out four bytes a pixel.
    PixelType type(id, 8, static_cast<unsigned short>(pixelSize), false);
    PixelTypeFactory::RegisterPixelType(id, &type, nullptr);
    const PixelConverter& converter = PixelTypeFactory::GetConverter(id, id);
    const uint32_t width = 5, height = 3;
    const uint32_t paddings[][2] = {{0, 0}, {3, 1}, {0, 2}, {4, 0}};
    for (const auto& padding : paddings) {
        const uint32_t sourcePadding = padding[0], destinationPadding = padding[1];
        const uint32_t sourceStride = width * pixelSize + sourcePadding;
        const uint32_t destinationStride = width * pixelSize + destinationPadding;
        std::vector<unsigned char> source(sourceStride * height);
        for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i + 1);
        std::vector<unsigned char> destination(destinationStride * height, 0xEE);
        converter.Convert(source.data(), width, height, destination.data(), width, height, width,
                          height, 0, destinationPadding, nullptr, nullptr, sourcePadding);
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t b = 0; b < destinationStride; ++b) {
                const unsigned char expected =
                    b < width * pixelSize ? source[y * sourceStride + b] : 0xEE;
                ASSERT_EQ(destination[y * destinationStride + b], expected)
                    << "paddings " << sourcePadding << "/" << destinationPadding << " at " << y
                    << "," << b;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(PixelSizes, IdentityConversion, ::testing::Values(1u, 2u, 3u, 4u));

TEST(IdentityConverterLineSize, PackedTypesCopyWholePackedLinesAndUnknownIdsUsePixelSize) {
    const int64 packed = 0x410002;  // 10-bit gray, Packed
    Grayscale10 type(packed);
    PixelTypeFactory::RegisterPixelType(packed, &type, nullptr);
    const PixelConverter& converter = PixelTypeFactory::GetConverter(packed, packed);
    EXPECT_EQ(converter.GetSourceLineSize(5), 9u);  // 5 pixels round up to 6, 3 bytes per 2
    unsigned char source[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    unsigned char destination[10] = {};
    std::memset(destination, 0xEE, sizeof destination);
    converter.ConvertLines(source, destination, 5);
    EXPECT_EQ(std::memcmp(source, destination, 9), 0);
    EXPECT_EQ(destination[9], 0xEE);

    const IdentityConverter unknown(0x70501, 0x70502, 3, 3);
    EXPECT_EQ(unknown.GetSourceLineSize(4), 12u);
    unsigned char pixel[3] = {7, 8, 9}, out[3] = {};
    EXPECT_EQ(unknown.ConvertPixel(pixel, out).GetCode(), 0u);
    EXPECT_EQ(std::memcmp(pixel, out, 3), 0);
}
