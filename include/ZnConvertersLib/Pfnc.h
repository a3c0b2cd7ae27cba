#pragma once

// GenICam pixel format names and codes, as GigE Vision and USB3 Vision cameras report
// them in their PixelFormat feature, and the pixel type and conversion flags of this
// library that read the same bytes.
//
//   using namespace ZnConvertersLib;
//   const PfncFormat* format = FindPfncFormat(0x01080009u);  // or FindPfncFormat("BayerRG8")
//   if (format == nullptr || !format->convertible) return;  // no converter reads it yet
//   const int64 rgb24 = 0x420002;
//   if (!PixelTypeFactory::HasConverter(format->pixelType, rgb24)) return;
//   const PixelConverter& converter = PixelTypeFactory::GetConverter(format->pixelType, rgb24);
//   std::vector<unsigned char> rgb(size_t(width) * height * 3);
//   converter.Convert(frame, width, height, rgb.data(), width, height, width, height,
//                     format->flags | kBayerNeighbourhoodMethod, 0, nullptr, nullptr, 0);
//
//   GetPfncName(0x420002, 0);              // "RGB8"
//   GetPfncName(0x20011, kBayerTileBGGR);  // "BayerBG10"
//
// The table is plain data: looking a format up registers nothing.

#include <cstdint>

#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/Types.h"

namespace ZnConvertersLib {

// Identifiers for camera formats that no built-in type reads byte for byte. They are not
// registered at load but by RegisterCameraFormats, with their own decoders.
//
// They share the identifier's bit fields with the built-in types, so that once
// registered, names and attribute queries describe them truthfully: the colour space
// bits are Grayscale, or RGB for mosaics and colour (the Bayer flag comes from the
// registered object, as for the built-in mosaics), and the Packed bit marks the formats
// whose samples cross byte boundaries. Their format codes start at 0x800, above every
// code the built-in catalogue and its unregistered classes use (0x01..0x46, 0x400,
// 0x401), so none of them can equal a built-in identifier under any combination of
// attribute bits. A registered 10-bit type with the Packed bit gets three bytes for two
// pixels from GetBufferSizeFor, more than the five for four that the 10p packings need:
// their decoders give their own line size.
constexpr uint32_t kPixelTypeExtensionFormatFirst = 0x0800;
constexpr uint32_t kPixelTypeExtensionFormatLast = 0x0FFF;
// Four 10-bit pixels in five bytes, least significant bits first.
constexpr int64 kPixelTypeMono10p =
    PixelTypeBits::kGrayscale | PixelTypeBits::kPacked | (kPixelTypeExtensionFormatFirst + 0);
// The same packing for a mosaic; the tile comes from the conversion flags.
constexpr int64 kPixelTypeBayer10p =
    PixelTypeBits::kRGB | PixelTypeBits::kPacked | (kPixelTypeExtensionFormatFirst + 1);
// One little-endian 32-bit word a pixel: R in bits 0-9, G in 10-19, B in 20-29. The
// built-in 0x20045 has the same word with R and B exchanged.
constexpr int64 kPixelTypeRGB10p32 = PixelTypeBits::kRGB | (kPixelTypeExtensionFormatFirst + 2);

// N-bit gray scaled to the whole 16-bit range (value << (16 - N)), for display and
// saving; the built-in 16-bit gray output keeps 8 significant bits.
constexpr int64 kPixelTypeGray16FullRange =
    PixelTypeBits::kGrayscale | (kPixelTypeExtensionFormatFirst + 3);

// 16 bits a channel, for mosaics demosaiced at their depth: R, G, B words (the built-in
// 48-bit RGB type) or B, G, R words.
constexpr int64 kPixelTypeRGB48 = 0x20004;
constexpr int64 kPixelTypeBGR48 = PixelTypeBits::kRGB | (kPixelTypeExtensionFormatFirst + 4);

// Registers the extension types above and their converters: Mono10p and Bayer*10p to
// every output their 16-bit containers have, RGB10p32 to the six colour outputs, 10- to
// 16-bit gray (Mono12p included) to kPixelTypeGray16FullRange, and 10- to 16-bit mosaics
// (Bayer*10p and Bayer*12p included) to kPixelTypeRGB48 and kPixelTypeBGR48. Runs once; the first
// lookup below calls it, so a format found convertible converts. The registry as loaded holds none
// of these.
void RegisterCameraFormats();

struct PfncFormat {
    uint32_t code;          // 32-bit GenICam pixel format value
    const char* name;       // its GenICam name, exactly as spelt there
    uint32_t bitsPerPixel;  // bits one pixel occupies on the wire (bits 16-23 of code)
    int64 pixelType;        // library pixel type identifier that reads these bytes
    uint32_t flags;         // conversion flags the format implies: a kBayerTile* or 0
    // True when the library converts pixelType (to RGB24 among others); false for the
    // formats it names but has no decoder for yet (RGB16).
    bool convertible;
};

// The format with this code, or null.
const PfncFormat* FindPfncFormat(uint32_t code);
// The format with this name, compared without regard to case; the names older GigE
// Vision cameras report for renamed formats (RGB8Packed, YUV422Packed, ...) are found
// too. Null for an unknown or null name.
const PfncFormat* FindPfncFormat(const char* name);
// The GenICam name of a pixel type, or null when none reads it. For mosaics the tile flag
// in flags picks the name (the highest one when several are set, GRBG when none is, as in
// a conversion); other types ignore flags. Where several names share a layout the
// canonical one is returned (YUV422_8 rather than YCbCr422_8).
const char* GetPfncName(const int64& pixelType, uint32_t flags);

// The table in order, for enumeration.
uint32_t CountPfncFormats();
// index must be below CountPfncFormats().
const PfncFormat& GetPfncFormat(uint32_t index);

}  // namespace ZnConvertersLib
