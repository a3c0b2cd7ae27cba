#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>
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
    size_t sourceOffset, destinationOffset;
    uint32_t width, currentLine, flags;
    const RGBFilter* filter;
    uint32_t sourceStride, destinationStride;
};

class RecordingConverter : public PixelConverter {
public:
    RecordingConverter(int64 source, int64 destination, uint32_t sourcePixelSize,
                       uint32_t destinationPixelSize, uint32_t lineGranularity)
        : PixelConverter(source, destination, sourcePixelSize, destinationPixelSize, 1,
                         lineGranularity) {}

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

    // Converts a width × height frame between buffers the kernels never touch, recording
    // their calls.
    Result Run(uint32_t width, uint32_t height, uint32_t flags = 0, uint32_t sourcePadding = 0,
               uint32_t destinationPadding = 0, const RGBFilter* filter = nullptr) const {
        calls.clear();
        return ConvertFiltered(filter, kBase, width, height, kBase, width, height, width, height,
                               flags, destinationPadding, nullptr, nullptr, sourcePadding);
    }

    mutable std::vector<Call> calls;

private:
    static inline unsigned char kBase[1];

    void Record(bool remainder, const unsigned char* source, unsigned char* destination,
                uint32_t width) const {
        ConversionContextScope context;
        calls.push_back({remainder, static_cast<size_t>(source - kBase),
                         static_cast<size_t>(destination - kBase), width, context->currentLine,
                         context->flags, context->filter, context->sourceStride,
                         context->destinationStride});
    }
};

constexpr int64 kProgressive = 0x70101;  // unknown colour space, no attribute bits
constexpr int64 kInterlaced = 0x270102;  // Interlaced bit set

// Frames of 10 pixels a line, 2 bytes a source pixel and 3 a destination pixel, with 4
// and 6 padding bytes: lines are 24 bytes apart in the source and 36 in the destination.
// Progressive sources go in steps of the line granularity, each leftover line by itself;
// interlaced ones hold two fields one after the other, interleaved in the destination
// (the second half first when flag bit 0 is set) and an odd last line is left alone.
// Flags without a tile pattern get the first one.
TEST(PixelConverterWalk, KernelCallsCoverTheFrameLineByLineOrFieldByField) {
    struct Expected {
        uint32_t line;
        size_t source, destination;
        bool remainder = false;
    };
    const struct {
        int64 from;
        uint32_t granularity, height, flags, seenFlags;
        std::vector<Expected> calls;
    } cases[] = {
        {kProgressive, 2, 5, 0x0, 0x10, {{0, 0, 0}, {2, 48, 72}, {4, 96, 144, true}}},
        {kProgressive, 3, 5, 0x1, 0x11, {{0, 0, 0}, {3, 72, 108, true}, {4, 96, 144, true}}},
        {kProgressive, 1, 3, 0x40, 0x40, {{0, 0, 0}, {1, 24, 36}, {2, 48, 72}}},
        {kProgressive, 2, 2, 0x140, 0x140, {{0, 0, 0}}},
        {kProgressive, 2, 1, 0x90, 0x90, {{0, 0, 0, true}}},
        {kProgressive, 2, 0, 0x0, 0x10, {}},
        {kInterlaced, 1, 4, 0x0, 0x10, {{0, 0, 0}, {2, 24, 72}, {0, 48, 36}, {2, 72, 108}}},
        {kInterlaced, 1, 4, 0x1, 0x11, {{0, 48, 0}, {2, 72, 72}, {0, 0, 36}, {2, 24, 108}}},
        {kInterlaced, 1, 5, 0x0, 0x10, {{0, 0, 0}, {2, 24, 72}, {0, 60, 36}, {2, 84, 108}}},
        {kInterlaced, 1, 5, 0x1, 0x11, {{0, 60, 0}, {2, 84, 72}, {0, 0, 36}, {2, 24, 108}}},
        {kInterlaced, 1, 1, 0x0, 0x10, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << "0x" << c.from << std::dec << ": " << c.height
                     << " lines in steps of " << c.granularity << ", flags " << c.flags);
        // One pair for all: only the first object registers, and the others must work alike.
        const RecordingConverter converter(c.from, kProgressive + 1, 2, 3, c.granularity);
        EXPECT_EQ(converter.Run(10, c.height, c.flags, 4, 6).GetCode(), 0u);
        EXPECT_EQ(converter.calls.size(), c.calls.size());
        for (size_t k = 0; k < std::min(converter.calls.size(), c.calls.size()); ++k) {
            const Call& call = converter.calls[k];
            const Expected& expected = c.calls[k];
            SCOPED_TRACE(testing::Message() << "call " << k);
            EXPECT_EQ(call.remainder, expected.remainder);
            EXPECT_EQ(call.currentLine, expected.line);
            EXPECT_EQ(call.sourceOffset, expected.source);
            EXPECT_EQ(call.destinationOffset, expected.destination);
            EXPECT_EQ(call.width, 10u);
            EXPECT_EQ(call.flags, c.seenFlags);
            EXPECT_EQ(call.sourceStride, 24u);
            EXPECT_EQ(call.destinationStride, 36u);
        }
    }
}

TEST(PixelConverterFilter, DefaultFilterFollowsTheSourceBitSizeAndFallsBackToSixteen) {
    const struct {
        int64 id;
        uint32_t bits;  // 0: leave the identifier unregistered
        uint32_t expectedFilterBits;
    } cases[] = {{0x70201, 8, 8},   {0x70202, 10, 10}, {0x70203, 12, 12}, {0x70204, 14, 14},
                 {0x70205, 16, 16}, {0x70206, 24, 16}, {0x70207, 0, 16}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.id);
        if (c.bits != 0) {
            PixelType type(c.id, static_cast<unsigned short>(c.bits), 2, false);
            PixelTypeFactory::RegisterPixelType(c.id, &type, nullptr);
        }
        const RecordingConverter converter(c.id, c.id + 0x100, 1, 1, 1);
        converter.Run(1, 1);
        ASSERT_EQ(converter.calls.size(), 1u);
        ASSERT_NE(converter.calls[0].filter, nullptr);
        EXPECT_EQ(converter.calls[0].filter->GetBitSize(), c.expectedFilterBits);
        EXPECT_TRUE(converter.calls[0].filter->IsIdentity());
    }
}

TEST(PixelConverterFilter, GivenFilterReachesEveryKernelCallAndIsClearedAfterwards) {
    const RecordingConverter converter(kProgressive, kProgressive + 12, 1, 1, 2);
    const RGBFilter filter(12);
    ConversionContextScope outer;  // keeps the context alive to look at it afterwards
    for (uint32_t height : {3u, 0u}) {
        converter.Run(1, height, 0, 0, 0, &filter);
        ASSERT_EQ(converter.calls.size(), height == 3 ? 2u : 0u);
        for (const Call& call : converter.calls) EXPECT_EQ(call.filter, &filter);
        EXPECT_EQ(outer->filter, nullptr) << height << " lines";
        EXPECT_EQ(outer->referenceCount, 1u);
    }
}

// Whether a filter is the identity is settled once per conversion: a change between two
// conversions must reach the second, and a nested conversion's filter must not leak into
// the rest of the outer one.
TEST(PixelConverterFilter, ChangesBetweenConversionsAndNestedFiltersTakeEffect) {
    const PixelConverter& converter = PixelTypeFactory::GetConverter(0x20002, 0x420006);
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

// What a plain converter without kernels does is checked on the registry's null converter.
TEST(PixelConverterBase, LineSizesAreThePixelSizeTimesTheWidthIn32Bits) {
    const RecordingConverter converter(kProgressive, kProgressive + 13, 8, 6, 1);
    EXPECT_EQ(converter.GetSourceLineSize(7), 56u);
    EXPECT_EQ(converter.GetSourceLineSize(0x20000001u), 8u);
    EXPECT_EQ(converter.GetDestinationLineSize(0x80000000u), 0u);
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

// Copies every line between paddings on both sides (the line walk) or as one block when
// both images are contiguous; padding bytes of the destination keep their sentinel.
TEST(IdentityConversion, CopiesLinesAndLeavesPaddingAloneForEveryPixelSize) {
    const uint32_t width = 5, height = 3;
    for (uint32_t pixelSize = 1; pixelSize <= 4; ++pixelSize) {
        const int64 id = 0x70400 + pixelSize;
        // 8 significant bits: a 24-bit type of three bytes would be laid out four a pixel.
        PixelType type(id, 8, static_cast<unsigned short>(pixelSize), false);
        PixelTypeFactory::RegisterPixelType(id, &type, nullptr);
        const PixelConverter& converter = PixelTypeFactory::GetConverter(id, id);
        const std::pair<uint32_t, uint32_t> paddings[] = {{0, 0}, {3, 1}, {0, 2}, {4, 0}};
        for (const auto& [sourcePadding, destinationPadding] : paddings) {
            SCOPED_TRACE(testing::Message() << pixelSize << " bytes a pixel, paddings "
                                            << sourcePadding << "/" << destinationPadding);
            const uint32_t sourceStride = width * pixelSize + sourcePadding;
            const uint32_t destinationStride = width * pixelSize + destinationPadding;
            std::vector<unsigned char> source(sourceStride * height);
            for (size_t i = 0; i < source.size(); ++i)
                source[i] = static_cast<unsigned char>(i + 1);
            std::vector<unsigned char> destination(destinationStride * height, 0xEE);
            converter.Convert(source.data(), width, height, destination.data(), width, height,
                              width, height, 0, destinationPadding, nullptr, nullptr,
                              sourcePadding);
            for (uint32_t y = 0; y < height; ++y) {
                for (uint32_t b = 0; b < destinationStride; ++b) {
                    ASSERT_EQ(destination[y * destinationStride + b],
                              b < width * pixelSize ? source[y * sourceStride + b] : 0xEE)
                        << "line " << y << " byte " << b;
                }
            }
        }
    }
}

TEST(IdentityConversion, PackedTypesCopyWholePackedLinesAndUnknownIdsUsePixelSize) {
    const int64 packed = 0x410002;  // 10-bit gray, Packed
    Grayscale10 type(packed);
    PixelTypeFactory::RegisterPixelType(packed, &type, nullptr);
    const PixelConverter& converter = PixelTypeFactory::GetConverter(packed, packed);
    EXPECT_EQ(converter.GetSourceLineSize(5), 9u);  // 5 pixels round up to 6, 3 bytes per 2
    unsigned char source[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    unsigned char destination[10];
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

}  // namespace
