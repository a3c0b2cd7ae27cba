#pragma once

// A frame fuzzer input: a fixed header that picks the pair, geometry, buffers and options,
// then the bytes that fill the source (repeated when they are fewer). Shared by the
// fuzzer and the seed writer, so that a seed decodes to what it was written for.

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ZnFrameFuzz {

struct Header {
    uint16_t pair = 0;         // index of the registry's pairs, modulo their number
    uint8_t width = 0;         // modulo 81
    uint8_t height = 0;        // modulo 25
    uint8_t sourceStride = 0;  // StrideFor
    uint8_t destinationStride = 0;
    uint8_t sourceSize = 0;  // SizeFor
    uint8_t destinationSize = 0;
    uint8_t tile = 0;     // TileFor
    uint8_t options = 0;  // bits 0-1 demosaic method, bit 2 second field first, above: threads
    uint8_t filter = 0;   // modulo 3: none, gains, tables; bit 2: a 12-bit filter
    uint8_t filterBytes[8] = {};
    uint8_t fill = 0;  // what destinations hold before a conversion
};

constexpr size_t kHeaderBytes = 20;

inline Header Decode(const uint8_t* in) {
    Header h;
    h.pair = static_cast<uint16_t>(in[0] | in[1] << 8);
    h.width = in[2];
    h.height = in[3];
    h.sourceStride = in[4];
    h.destinationStride = in[5];
    h.sourceSize = in[6];
    h.destinationSize = in[7];
    h.tile = in[8];
    h.options = in[9];
    h.filter = in[10];
    std::copy(in + 11, in + 19, h.filterBytes);
    h.fill = in[19];
    return h;
}

inline void Encode(const Header& h, uint8_t* out) {
    const uint8_t bytes[kHeaderBytes] = {static_cast<uint8_t>(h.pair),
                                         static_cast<uint8_t>(h.pair >> 8),
                                         h.width,
                                         h.height,
                                         h.sourceStride,
                                         h.destinationStride,
                                         h.sourceSize,
                                         h.destinationSize,
                                         h.tile,
                                         h.options,
                                         h.filter,
                                         h.filterBytes[0],
                                         h.filterBytes[1],
                                         h.filterBytes[2],
                                         h.filterBytes[3],
                                         h.filterBytes[4],
                                         h.filterBytes[5],
                                         h.filterBytes[6],
                                         h.filterBytes[7],
                                         h.fill};
    std::copy(bytes, bytes + kHeaderBytes, out);
}

// High nibble: the kind of stride; low nibble: how far it is from the line.
constexpr uint8_t kTightStride = 0x00;
constexpr uint8_t StridePlus(uint8_t extra) {
    return static_cast<uint8_t>(0x40 | (extra & 15));
}
constexpr uint8_t StrideShortBy(uint8_t missing) {
    return static_cast<uint8_t>(0xC0 | ((missing - 1) & 15));
}

inline size_t StrideFor(uint8_t code, size_t line) {
    const size_t kind = code >> 4, extra = code & 15;
    if (kind < 4) return 0;
    if (kind < 12) return line + extra;
    if (kind < 14) return line > extra ? line - 1 - extra : extra;
    return extra;
}

// Sizes are given against what the conversion touches.
constexpr uint8_t kExactSize = 0x00;
constexpr uint8_t SizePlus(uint8_t extra) {
    return static_cast<uint8_t>(0x60 | (extra & 15));
}
constexpr uint8_t SizeShortBy(uint8_t missing) {
    return static_cast<uint8_t>(0xA0 | ((missing - 1) & 15));
}

inline size_t SizeFor(uint8_t code, size_t touched) {
    const size_t kind = code >> 4, extra = code & 15;
    if (kind < 6) return touched;
    if (kind < 10) return touched + extra;
    if (kind < 13) return touched > extra ? touched - 1 - extra : 0;
    return extra * 17;
}

inline uint32_t TileFor(uint8_t code) {
    // Zero, two tiles at once, bits beside the tile mask.
    static constexpr uint32_t kInvalid[8] = {0, 0x30, 0x50, 0xF0, 0x08, 0x100, 0x11, 0x90};
    return code < 0xF0 ? 0x10u << (code & 3) : kInvalid[code & 7];
}

}  // namespace ZnFrameFuzz
