#pragma once

// Plain rows of the widening family: samples of a camera's packings brought to 16-bit
// little-endian words, kept at their depth or scaled to the full 16 bits, or to their top
// eight bits. The reference
// for the vector rows (WidenKernels.cpp), and what finishes a line after them.

#include <algorithm>
#include <cstdint>

namespace ZnConvertersLib {

enum class WideLayout : uint8_t {
    kWords,      // one little-endian 16-bit word a sample, its value in the low bits
    kPacked10p,  // four samples in five bytes, a bit stream least significant bit first
    kPacked12p,  // two samples in three bytes, the same way
};

// Bytes a line of `width` samples occupies.
constexpr uint32_t WideLineBytes(WideLayout layout, uint32_t width) {
    switch (layout) {
        case WideLayout::kPacked10p:
            return static_cast<uint32_t>((uint64_t{width} * 10 + 7) / 8);
        case WideLayout::kPacked12p:
            return static_cast<uint32_t>((uint64_t{width} * 12 + 7) / 8);
        default:
            return width * 2;
    }
}

// Sample i of a line. A bit-stream sample never spans more than two bytes.
inline uint32_t WideSample(WideLayout layout, const unsigned char* line, uint32_t i) {
    switch (layout) {
        case WideLayout::kPacked10p: {
            const uint64_t bit = uint64_t{i} * 10;
            const unsigned char* p = line + bit / 8;
            return ((p[0] | p[1] << 8) >> (bit % 8)) & 0x3FF;
        }
        case WideLayout::kPacked12p: {
            const uint64_t bit = uint64_t{i} * 12;
            const unsigned char* p = line + bit / 8;
            return ((p[0] | p[1] << 8) >> (bit % 8)) & 0xFFF;
        }
        default:
            return line[2 * i] | line[2 * i + 1] << 8;
    }
}

// What a widening row writes for each sample.
enum class WideOutput : uint8_t {
    kWords,    // a little-endian word: the sample shifted left by `shift`
    kTopByte,  // a byte: the sample's top eight bits
};

// Samples [first, first + count) of a line: each clamped to `bits` bits (data above its
// depth saturates instead of wrapping), then written as `output` says.
inline void WidenPlainRow(WideLayout layout, WideOutput output, uint32_t bits, uint32_t shift,
                          const unsigned char* source, unsigned char* destination, uint32_t first,
                          uint32_t count) {
    const uint32_t most = (1u << bits) - 1;
    for (uint32_t i = first; i < first + count; ++i) {
        const uint32_t sample = std::min(WideSample(layout, source, i), most);
        if (output == WideOutput::kTopByte) {
            destination[i] = static_cast<unsigned char>(sample >> (bits - 8));
            continue;
        }
        const uint32_t value = sample << shift;
        destination[2 * i] = static_cast<unsigned char>(value);
        destination[2 * i + 1] = static_cast<unsigned char>(value >> 8);
    }
}

}  // namespace ZnConvertersLib
