#pragma once

#include <cstdint>
#include <string>

#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

// Writes an image buffer, exactly as it lies in memory, to a BMP file: a 14-byte file
// header, a 40-byte information header, then the pixel bytes. It is a quick way to look
// at a converted image, not a general BMP encoder:
// - no colour table, whatever the depth (8-bit images have no palette);
// - no row padding: rows are written as they are, so the buffer must already hold rows
//   whose length is a multiple of 4 bytes for the file to be a standard BMP;
// - no flip: the height is stored negated (top-down), the converters' row order;
// - no argument checks: the image size is bitsPerPixel × width × height / 8 in signed
//   32-bit arithmetic that wraps, truncated toward zero, and that many bytes are written
//   (none when the result is not positive);
// - write and close errors are not reported.
class BMPSaver {
public:
    BMPSaver() {}
    ~BMPSaver() {}
    BMPSaver& operator=(const BMPSaver&) { return *this; }

    // path is UTF-8. Code 0x4000 when the file cannot be opened (nothing is written);
    // success otherwise.
    static ZnUtilsLib::Result SaveBMP(const std::string& path, const void* data, int32_t width,
                                      int32_t height, unsigned short bitsPerPixel);
};

}  // namespace ZnConvertersLib
