#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "converters/rgb/PackedRGBConverters.h"
#include "support/ConverterTestSupport.h"

using namespace ZnConvertersLib;
using namespace ZnTestSupport;

namespace {

// Hand-written source lines (padding included), with and without the routing filter, into
// a destination with padding of its own.
template <class Output>
void ExpectConverts(const char* name, const PixelConverter& converter,
                    const std::vector<Bytes>& sourceLines, uint32_t width, uint32_t sourcePadding,
                    const Rows& expected) {
    SCOPED_TRACE(name);
    ExpectColourConversion<Output>(converter,
                                   JoinLines(converter, width, sourcePadding, sourceLines), width,
                                   sourcePadding, 3, expected);
}

template <class Output>
class PackedRGB : public ::testing::Test {};
TYPED_TEST_SUITE(PackedRGB, ColourOutputs, OutputNames);

constexpr int64 kSource = 0x70301;
constexpr int64 kDestination = 0x70302;

// Every packed layout, hand-written, with source and destination padding.
TYPED_TEST(PackedRGB, EveryLayoutReadsItsChannels) {
    using Output = TypeParam;
    constexpr uint32_t size = Output::kPixelSize;
    // Fields expand with zero low bits.
    ExpectConverts<Output>("RGB16", RGB16To<Output>(kSource, kDestination, 2, size),
                           {Words({0xFFFF, 0x07E0, 0xF800}, 1), Words({0x001F, 0x8410, 0x1234}, 1)},
                           3, 1,
                           {{{0xF8, 0xFC, 0xF8}, {0x00, 0xFC, 0x00}, {0xF8, 0x00, 0x00}},
                            {{0x00, 0x00, 0xF8}, {0x80, 0x80, 0x80}, {0x10, 0x44, 0xA0}}});
    // Three- and four-byte layouts read the same bytes in their own order; a fourth byte is
    // ignored.
    const std::vector<Bytes> rgb24 = {{1, 2, 3, 10, 20, 30, 0xFF, 0x80, 0x00, 0xEE},
                                      {0x12, 0x34, 0x56, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0xC8, 0xEE}};
    const std::vector<Bytes> rgb32 = {
        {1, 2, 3, 0x00, 10, 20, 30, 0x77, 0xFF, 0x80, 0x00, 0xFF, 0xEE},
        {0x12, 0x34, 0x56, 0x00, 0xFE, 0x01, 0x7F, 0x00, 0x00, 0x00, 0xC8, 0x00, 0xEE}};
    const Rows inOrder = {{{1, 2, 3}, {10, 20, 30}, {0xFF, 0x80, 0x00}},
                          {{0x12, 0x34, 0x56}, {0xFE, 0x01, 0x7F}, {0x00, 0x00, 0xC8}}};
    const Rows reversed = {{{3, 2, 1}, {30, 20, 10}, {0x00, 0x80, 0xFF}},
                           {{0x56, 0x34, 0x12}, {0x7F, 0x01, 0xFE}, {0xC8, 0x00, 0x00}}};
    ExpectConverts<Output>("RGB24", RGB24PackedTo<Output>(kSource, kDestination, 3, size), rgb24, 3,
                           1, inOrder);
    ExpectConverts<Output>("BGR24", BGR24PackedTo<Output>(kSource, kDestination, 3, size), rgb24, 3,
                           1, reversed);
    ExpectConverts<Output>("RGB32", RGB32To<Output>(kSource, kDestination, 4, size), rgb32, 3, 1,
                           inOrder);
    ExpectConverts<Output>("BGR32", BGR32To<Output>(kSource, kDestination, 4, size), rgb32, 3, 1,
                           reversed);
    // Words are shifted and keep their low byte: 0xF123 >> 4 = 0xF12 loses its top bits.
    ExpectConverts<Output>(
        "RGB48", RGB48To<Output>(kSource, kDestination, 6, size, 4),
        {Words({0x0FFF, 0x0800, 0x0010, 0x0ABC, 0x0123, 0x0F0F, 0xF123, 0x0000, 0x0FF0}, 2),
         Words({0x0000, 0x0000, 0x0000, 0x0555, 0x0AAA, 0x0FFF, 0x0008, 0x0018, 0x0028}, 2)},
        3, 2,
        {{{0xFF, 0x80, 0x01}, {0xAB, 0x12, 0xF0}, {0x12, 0x00, 0xFF}},
         {{0x00, 0x00, 0x00}, {0x55, 0xAA, 0xFF}, {0x00, 0x01, 0x02}}});
    ExpectConverts<Output>(
        "BGR48", BGR48To<Output>(kSource, kDestination, 6, size, 2),
        {Words({0x03FF, 0x0200, 0x0004, 0x0000, 0x03FC, 0x0100, 0x0010, 0x0020, 0x0030}, 0)}, 3, 0,
        {{{0x01, 0x80, 0xFF}, {0x40, 0xFF, 0x00}, {0x0C, 0x08, 0x04}}});
    // Normalized words give their top byte; the fourth word is ignored.
    ExpectConverts<Output>("RGB64", RGB64To<Output>(kSource, kDestination, 8, size, 8),
                           {Words({0xAB00, 0xCD12, 0xEF34, 0x9999, 0x00FF, 0xFF00, 0x8080, 0x0000,
                                   0x1234, 0x5678, 0x9ABC, 0xFFFF},
                                  1)},
                           3, 1, {{{0xAB, 0xCD, 0xEF}, {0x00, 0xFF, 0x80}, {0x12, 0x56, 0x9A}}});
    // Only the low five bits of the shift count: 36 & 31 = 4.
    ExpectConverts<Output>("shift 36", RGB48To<Output>(kSource, kDestination, 6, size, 36),
                           {Words({0x0FFF, 0x0800, 0x0010}, 0)}, 1, 0, {{{0xFF, 0x80, 0x01}}});
    ExpectConverts<Output>("zero width", RGB24PackedTo<Output>(kSource, kDestination, 3, size),
                           {Bytes(4, 1), Bytes(4, 2)}, 0, 4, {{}, {}});
}

}  // namespace
