#pragma once

// Output policies: how one finished pixel (three 8-bit channels, or one 8-bit gray value)
// is stored at pixel index i of a destination line. They are stateless types used as
// template parameters, so every store is inlined into the kernel that uses it.
//
//   Output::kPixelSize       bytes per pixel (per plane for OutputPlanar24)
//   Output::kIsColour        true for the six colour outputs
//   Output::kIsPlanar        true for OutputPlanar24
//   Output::Store(line, planeSize, i, r, g, b)   colour outputs only
//   Output::StoreGray(line, planeSize, i, v)     every output
//
// planeSize is only read by OutputPlanar24: destination stride × destination height.
// Multi-byte stores are little-endian whatever the host.

#include <cstddef>
#include <cstdint>

namespace ZnConvertersLib {

namespace OutputDetail {
inline void StoreLE16(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}
}  // namespace OutputDetail

template <class Derived, uint32_t PixelSize>
struct ColourOutput {
    static constexpr uint32_t kPixelSize = PixelSize;
    static constexpr bool kIsColour = true;
    static constexpr bool kIsPlanar = false;
    static void StoreGray(unsigned char* line, uint32_t planeSize, std::ptrdiff_t i, uint8_t v) {
        Derived::Store(line, planeSize, i, v, v, v);
    }
};

// 5:6:5 with red in the high bits; low channel bits are truncated.
struct OutputRGB16 : ColourOutput<OutputRGB16, 2> {
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        OutputDetail::StoreLE16(line + 2 * i, ((r & 0xF8u) << 8) | ((g & 0xFCu) << 3) | (b >> 3));
    }
};

struct OutputRGB24 : ColourOutput<OutputRGB24, 3> {
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        unsigned char* p = line + 3 * i;
        p[0] = r, p[1] = g, p[2] = b;
    }
};

struct OutputBGR24 : ColourOutput<OutputBGR24, 3> {
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        unsigned char* p = line + 3 * i;
        p[0] = b, p[1] = g, p[2] = r;
    }
};

// The fourth byte is always opaque, whatever the source carried.
struct OutputRGB32 : ColourOutput<OutputRGB32, 4> {
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        unsigned char* p = line + 4 * i;
        p[0] = r, p[1] = g, p[2] = b, p[3] = 0xFF;
    }
};

struct OutputBGR32 : ColourOutput<OutputBGR32, 4> {
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        unsigned char* p = line + 4 * i;
        p[0] = b, p[1] = g, p[2] = r, p[3] = 0xFF;
    }
};

// Three whole-image planes R, G, B one after the other; the line pointer addresses the
// red plane and the others follow at one and two plane sizes.
struct OutputPlanar24 : ColourOutput<OutputPlanar24, 1> {
    static constexpr bool kIsPlanar = true;
    static void Store(unsigned char* line, uint32_t planeSize, std::ptrdiff_t i, uint8_t r,
                      uint8_t g, uint8_t b) {
        line[i] = r;
        line[static_cast<std::size_t>(planeSize) + i] = g;
        line[2 * static_cast<std::size_t>(planeSize) + i] = b;
    }
};

struct OutputGrayscale8 {
    static constexpr uint32_t kPixelSize = 1;
    static constexpr bool kIsColour = false;
    static constexpr bool kIsPlanar = false;
    static void StoreGray(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t v) {
        line[i] = v;
    }
};

// Wider gray outputs carry the 8-bit value shifted up; the low bits are always zero.
template <uint32_t Shift>
struct GrayscaleWordOutput {
    static constexpr uint32_t kPixelSize = 2;
    static constexpr bool kIsColour = false;
    static constexpr bool kIsPlanar = false;
    static void StoreGray(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t v) {
        OutputDetail::StoreLE16(line + 2 * i, static_cast<uint32_t>(v) << Shift);
    }
};

struct OutputGrayscale10 : GrayscaleWordOutput<2> {};
struct OutputGrayscale12 : GrayscaleWordOutput<4> {};
struct OutputGrayscale14 : GrayscaleWordOutput<6> {};
struct OutputGrayscale16 : GrayscaleWordOutput<8> {};

}  // namespace ZnConvertersLib
