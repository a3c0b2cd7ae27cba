#pragma once

// What the converter-family tests share: reading back what an output policy stored,
// sentinel-filled destination images, and running a converter over a padded frame.
//
// Pixels are read back from the byte layouts the outputs document, not through the
// policies, so a policy that stores the wrong bytes cannot agree with itself here.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/common/OutputPolicies.h"

namespace ZnTestSupport {

using namespace ZnConvertersLib;

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kSentinel = 0x5A;
constexpr uint32_t kSlack = 16;  // sentinel bytes after an image catch writes past its end

struct Rgb {
    int r, g, b;
    bool operator==(const Rgb& o) const { return r == o.r && g == o.g && b == o.b; }
    bool operator!=(const Rgb& o) const { return !(*this == o); }
};
std::ostream& operator<<(std::ostream& os, const Rgb& c);
using Rows = std::vector<std::vector<Rgb>>;

// In expected rows: a pixel that must keep the sentinel.
constexpr Rgb kUntouched{-1, -1, -1};
// Read back from bytes no store writes (a fourth byte other than 0xFF, a gray word with
// bits outside its value).
constexpr Rgb kNotStored{-2, -2, -2};

using ColourOutputs = ::testing::Types<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32,
                                       OutputBGR32, OutputPlanar24>;

// Every output in a fixed order: converter identifiers that must differ per output are
// built from it, and typed tests are named by it.
using OutputOrder = std::tuple<OutputRGB16, OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32,
                               OutputPlanar24, OutputGrayscale8, OutputGrayscale10,
                               OutputGrayscale12, OutputGrayscale14, OutputGrayscale16>;

template <class Output, size_t I = 0>
constexpr uint32_t OutputIndex() {
    static_assert(I < std::tuple_size_v<OutputOrder>, "not an output policy");
    if constexpr (std::is_same_v<Output, std::tuple_element_t<I, OutputOrder>>) {
        return I;
    } else {
        return OutputIndex<Output, I + 1>();
    }
}

const char* OutputName(uint32_t index);

// Name generator for TYPED_TEST_SUITE over outputs.
struct OutputNames {
    template <class Output>
    static std::string GetName(int) {
        return OutputName(OutputIndex<Output>());
    }
};

// The colour as the output can hold it: 5:6:5 drops the low bits of each channel.
template <class Output>
Rgb Cut(Rgb c) {
    if constexpr (std::is_same_v<Output, OutputRGB16>) return {c.r & 0xF8, c.g & 0xFC, c.b & 0xF8};
    return c;
}

// Pixel i of a line as the output stored it; gray outputs read as (v, v, v). planeSize is
// only read for planar output.
template <class Output>
Rgb ReadPixel(const uint8_t* line, size_t planeSize, size_t i) {
    using std::is_same_v;
    const uint8_t* p = line + i * Output::kPixelSize;
    if constexpr (is_same_v<Output, OutputRGB16>) {
        const int word = p[0] | (p[1] << 8);
        return {(word >> 11) << 3, ((word >> 5) & 63) << 2, (word & 31) << 3};
    } else if constexpr (is_same_v<Output, OutputRGB24>) {
        return {p[0], p[1], p[2]};
    } else if constexpr (is_same_v<Output, OutputBGR24>) {
        return {p[2], p[1], p[0]};
    } else if constexpr (is_same_v<Output, OutputRGB32>) {
        return p[3] == 0xFF ? Rgb{p[0], p[1], p[2]} : kNotStored;
    } else if constexpr (is_same_v<Output, OutputBGR32>) {
        return p[3] == 0xFF ? Rgb{p[2], p[1], p[0]} : kNotStored;
    } else if constexpr (is_same_v<Output, OutputPlanar24>) {
        return {p[0], p[planeSize], p[2 * planeSize]};
    } else if constexpr (is_same_v<Output, OutputGrayscale8>) {
        return {p[0], p[0], p[0]};
    } else {
        constexpr int shift = is_same_v<Output, OutputGrayscale10>   ? 2
                              : is_same_v<Output, OutputGrayscale12> ? 4
                              : is_same_v<Output, OutputGrayscale14> ? 6
                                                                     : 8;
        const int word = p[0] | (p[1] << 8), v = word >> shift;
        return (v << shift) == word && v < 256 ? Rgb{v, v, v} : kNotStored;
    }
}

// A destination of `lines` lines of `width` pixels plus `padding` bytes (three such planes
// for planar output) and kSlack bytes after it, every byte starting as the sentinel.
template <class Output>
struct Image {
    static constexpr uint32_t kPlanes = Output::kIsPlanar ? 3 : 1;

    Image(uint32_t width, uint32_t lines, uint32_t padding = 0)
        : width(width),
          lines(lines),
          padding(padding),
          stride(width * Output::kPixelSize + padding),
          plane(static_cast<size_t>(stride) * lines),
          bytes(plane * kPlanes + kSlack, kSentinel) {}

    // Pixel x of line y; x may run into the padding.
    Rgb At(uint32_t x, uint32_t y) const {
        return ReadPixel<Output>(bytes.data() + static_cast<size_t>(y) * stride, plane, x);
    }

    bool Untouched(uint32_t x, uint32_t y) const {
        bool untouched = true;
        ForEachByte(x, y, [&](size_t i) { untouched = untouched && bytes[i] == kSentinel; });
        return untouched;
    }

    // Whether the image holds exactly `expected` (rows from line 0 and pixel 0, possibly
    // running into the padding; kUntouched where nothing may be written) and the sentinel
    // everywhere else: unlisted pixels, padding, lines and slack.
    ::testing::AssertionResult Holds(const Rows& expected) const {
        std::vector<bool> written(bytes.size());
        for (uint32_t y = 0; y < expected.size(); ++y) {
            for (uint32_t x = 0; x < expected[y].size(); ++x) {
                if (expected[y][x] == kUntouched) continue;
                if (y >= lines || (x + 1) * Output::kPixelSize > stride) {
                    return ::testing::AssertionFailure()
                           << "expected pixel (" << x << ", " << y << ") is outside the image";
                }
                const Rgb want = Cut<Output>(expected[y][x]);
                if (At(x, y) != want) {
                    auto failure = ::testing::AssertionFailure();
                    failure << "pixel (" << x << ", " << y << ") is " << At(x, y) << ", not "
                            << want << "; its bytes:" << std::hex;
                    ForEachByte(x, y, [&](size_t i) { failure << " " << int(bytes[i]); });
                    return failure;
                }
                ForEachByte(x, y, [&](size_t i) { written[i] = true; });
            }
        }
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (!written[i] && bytes[i] != kSentinel) {
                return ::testing::AssertionFailure() << Where(i) << " was written";
            }
        }
        return ::testing::AssertionSuccess();
    }

    uint32_t width, lines, padding, stride;
    size_t plane;
    Bytes bytes;

private:
    template <class F>
    void ForEachByte(uint32_t x, uint32_t y, F f) const {
        for (size_t p = 0; p < kPlanes; ++p) {
            for (uint32_t k = 0; k < Output::kPixelSize; ++k) {
                f(p * plane + static_cast<size_t>(y) * stride + x * Output::kPixelSize + k);
            }
        }
    }
    std::string Where(size_t i) const {
        if (i >= plane * kPlanes) return "slack byte " + std::to_string(i - plane * kPlanes);
        const size_t y = i % plane / stride, k = i % plane % stride;
        return "line " + std::to_string(y) +
               (k < width * Output::kPixelSize
                    ? " pixel " + std::to_string(k / Output::kPixelSize)
                    : " padding byte " + std::to_string(k - width * Output::kPixelSize)) +
               (kPlanes > 1 ? " of plane " + std::to_string(i / plane) : "");
    }
};

// Converts `lines` lines (0: all) of a width × height source whose lines each end in
// `sourcePadding` bytes into `destination`, whose width, lines and padding are those of
// the call, and returns it. Writes past its end show in every test, not only in those
// that check the whole image.
template <class Output>
Image<Output> Convert(const PixelConverter& converter, const Bytes& source, uint32_t width,
                      uint32_t height, uint32_t sourcePadding, Image<Output> destination,
                      const RGBFilter* filter = nullptr, uint32_t flags = 0, uint32_t lines = 0) {
    converter.ConvertFiltered(filter, source.data(), width, height, destination.bytes.data(),
                              destination.width, destination.lines, width, lines ? lines : height,
                              flags, destination.padding, nullptr, nullptr, sourcePadding);
    EXPECT_TRUE(std::all_of(destination.bytes.end() - kSlack, destination.bytes.end(),
                            [](uint8_t b) { return b == kSentinel; }))
        << "written past the end of the destination";
    return destination;
}

// Hand-written source lines, padding included, as one frame; each is checked against the
// converter's line size so that a slip in the test data shows as one.
Bytes JoinLines(const PixelConverter& converter, uint32_t width, uint32_t padding,
                const std::vector<Bytes>& lines);

// Little-endian 16-bit words followed by `paddingBytes` bytes of 0xEE; and 32-bit words.
Bytes Words(const std::vector<uint32_t>& words, uint32_t paddingBytes = 0);
Bytes Words32(const std::vector<uint32_t>& words);

// Blanks red and halves blue (truncating), green unchanged: shows which table each
// channel went through.
const RGBFilter& RoutingFilter();

// Converts a width × expected.size() frame without a filter and through RoutingFilter(),
// and checks that each destination holds the expected colours (routed for the second) and
// nothing else. Rows longer than the width are pixels a converter writes into the padding.
template <class Output>
void ExpectColourConversion(const PixelConverter& converter, const Bytes& source, uint32_t width,
                            uint32_t sourcePadding, uint32_t destinationPadding,
                            const Rows& expected) {
    const uint32_t height = static_cast<uint32_t>(expected.size());
    Rows routed = expected;
    for (auto& row : routed) {
        for (Rgb& c : row) c = c == kUntouched ? c : Rgb{0, c.g, c.b / 2};
    }
    const Image<Output> destination(width, height, destinationPadding);
    EXPECT_TRUE(
        Convert(converter, source, width, height, sourcePadding, destination).Holds(expected))
        << "without filter";
    EXPECT_TRUE(
        Convert(converter, source, width, height, sourcePadding, destination, &RoutingFilter())
            .Holds(routed))
        << "with filter";
}

}  // namespace ZnTestSupport
