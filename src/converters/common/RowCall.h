#pragma once

// What a converter hands to its family's vector row for one line: where the decoded
// pixels go (OutputKind, the line, the planar plane size) and the filter tables, null
// when the conversion's filter is the identity. Plain C++, shared by the converter
// templates and the multi-target kernel files.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/common/OutputPolicies.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

enum class OutputKind : uint8_t {
    kRGB16,
    kRGB24,
    kBGR24,
    kRGB32,
    kBGR32,
    kPlanar24,
    kGray8,
    kGray10,
    kGray12,
    kGray14,
    kGray16,
};

template <class Output>
constexpr OutputKind OutputKindOf() {
    if constexpr (std::is_same_v<Output, OutputRGB16>) return OutputKind::kRGB16;
    if constexpr (std::is_same_v<Output, OutputRGB24>) return OutputKind::kRGB24;
    if constexpr (std::is_same_v<Output, OutputBGR24>) return OutputKind::kBGR24;
    if constexpr (std::is_same_v<Output, OutputRGB32>) return OutputKind::kRGB32;
    if constexpr (std::is_same_v<Output, OutputBGR32>) return OutputKind::kBGR32;
    if constexpr (std::is_same_v<Output, OutputPlanar24>) return OutputKind::kPlanar24;
    if constexpr (std::is_same_v<Output, OutputGrayscale8>) return OutputKind::kGray8;
    if constexpr (std::is_same_v<Output, OutputGrayscale10>) return OutputKind::kGray10;
    if constexpr (std::is_same_v<Output, OutputGrayscale12>) return OutputKind::kGray12;
    if constexpr (std::is_same_v<Output, OutputGrayscale14>) return OutputKind::kGray14;
    if constexpr (std::is_same_v<Output, OutputGrayscale16>) return OutputKind::kGray16;
}

struct RowOutput {
    unsigned char* line;
    uint32_t planeSize;  // OutputPlanar24 only: destination stride × height
    OutputKind kind;
    const FilterTables8* filter;  // null: identity, no look-ups
};

// Bytes a pixel takes in its line (in each plane, for planar output).
constexpr uint32_t PixelBytes(OutputKind kind) {
    switch (kind) {
        case OutputKind::kRGB24:
        case OutputKind::kBGR24:
            return 3;
        case OutputKind::kRGB32:
        case OutputKind::kBGR32:
            return 4;
        case OutputKind::kPlanar24:
        case OutputKind::kGray8:
            return 1;
        default:
            return 2;
    }
}

// The same output from pixel `pixels` on.
inline RowOutput Advance(RowOutput out, uint32_t pixels) {
    out.line += static_cast<std::size_t>(PixelBytes(out.kind)) * pixels;
    return out;
}

// A line's output for a vector row: the conversion's filter unless it is the identity.
template <class Output>
RowOutput MakeRowOutput(unsigned char* line, uint32_t planeSize, const FilterTables8& tables) {
    return {line, planeSize, OutputKindOf<Output>(), tables.identity ? nullptr : &tables};
}

// A line's output for a gray source's vector row: gray values are never filtered.
template <class Output>
RowOutput MakeGrayRowOutput(unsigned char* line, uint32_t planeSize) {
    return {line, planeSize, OutputKindOf<Output>(), nullptr};
}

// Where a line's samples come from: the line, the source plane size of planar sources
// (source stride × height) and the shift that brings samples to 8 bits.
struct RowSource {
    const unsigned char* line;
    std::size_t planeSize;
    uint32_t shift;
};

// Source layouts of the colour families whose pixels decode one at a time.
enum class ColourLayout : uint8_t {
    kRGB16,     // 5:6:5 word, red high
    kRGB24,     // R G B bytes
    kBGR24,     // B G R
    kRGB32,     // R G B x
    kBGR32,     // B G R x
    kRGB48,     // R G B words
    kBGR48,     // B G R words
    kRGB64,     // R G B x words
    kBGR10V1,   // low bits, B, G, R bytes
    kBGR10V2,   // 10-bit B, G, R in a 32-bit word
    kRGB10p32,  // 10-bit R, G, B in a 32-bit word (kBGR10V2 with R and B exchanged)
    kRGB12V1,   // two pixels in 9 bytes, high bytes outermost
    kPlanar8,   // three planes of bytes
    kPlanar16,  // three planes of words
};

}  // namespace ZnConvertersLib
