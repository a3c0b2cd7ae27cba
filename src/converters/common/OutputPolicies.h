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

// Channels side by side at byte offsets R, G and B of each pixel. A fourth byte is always
// opaque, whatever the source carried.
template <uint32_t PixelSize, uint32_t R, uint32_t G, uint32_t B>
struct InterleavedOutput : ColourOutput<InterleavedOutput<PixelSize, R, G, B>, PixelSize> {
    static_assert(PixelSize == 3 || PixelSize == 4, "three- or four-byte pixels");
    static void Store(unsigned char* line, uint32_t, std::ptrdiff_t i, uint8_t r, uint8_t g,
                      uint8_t b) {
        unsigned char* p = line + PixelSize * i;
        p[R] = r, p[G] = g, p[B] = b;
        if constexpr (PixelSize == 4) p[3] = 0xFF;
    }
};

struct OutputRGB24 : InterleavedOutput<3, 0, 1, 2> {};
struct OutputBGR24 : InterleavedOutput<3, 2, 1, 0> {};
struct OutputRGB32 : InterleavedOutput<4, 0, 1, 2> {};
struct OutputBGR32 : InterleavedOutput<4, 2, 1, 0> {};

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
