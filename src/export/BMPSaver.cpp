#include "ZnConvertersLib/BMPSaver.h"

#include <cstdio>

#include "ZnConvertersLib/Types.h"

#ifdef _WIN32
#include "ZnUtilsLib/String.h"
#endif

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

namespace {

constexpr uint32_t kFileHeaderSize = 14;
constexpr uint32_t kInfoHeaderSize = 40;
constexpr uint32_t kPixelDataOffset = kFileHeaderSize + kInfoHeaderSize;

void Put16(unsigned char* at, uint32_t value) {
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
}

void Put32(unsigned char* at, uint32_t value) {
    Put16(at, value);
    Put16(at + 2, value >> 16);
}

// Two's-complement reinterpretation without relying on implementation-defined narrowing.
int32_t ToSigned(uint32_t value) {
    return value <= 0x7FFFFFFFu ? static_cast<int32_t>(value) : -static_cast<int32_t>(~value) - 1;
}

std::FILE* OpenForWriting(const std::string& path) {
#ifdef _WIN32
    return _wfopen(ZnUtilsLib::String(path.c_str()).GetUnicode(), L"wb");
#else
    return std::fopen(path.c_str(), "wb");
#endif
}

}  // namespace

Result BMPSaver::SaveBMP(const std::string& path, const void* data, int32_t width, int32_t height,
                         unsigned short bitsPerPixel) {
    // The product wraps as signed 32-bit arithmetic would; forming it unsigned keeps that
    // result without overflowing a signed type.
    const uint32_t product = static_cast<uint32_t>(bitsPerPixel) * static_cast<uint32_t>(width) *
                             static_cast<uint32_t>(height);
    const int32_t imageSize = ToSigned(product) / 8;  // truncates toward zero
    const uint32_t imageSizeField = static_cast<uint32_t>(imageSize);

    unsigned char headers[kPixelDataOffset] = {};
    unsigned char* file = headers;
    unsigned char* info = headers + kFileHeaderSize;
    file[0] = 'B';
    file[1] = 'M';
    Put32(file + 2, imageSizeField + kPixelDataOffset);
    Put32(file + 10, kPixelDataOffset);
    Put32(info + 0, kInfoHeaderSize);
    Put32(info + 4, static_cast<uint32_t>(width));
    Put32(info + 8, 0u - static_cast<uint32_t>(height));  // negative: first row is the top
    Put16(info + 12, 1);
    Put16(info + 14, bitsPerPixel);
    Put32(info + 20, imageSizeField);
    // Compression, resolutions and colour counts stay 0.

    std::FILE* out = OpenForWriting(path);
    if (out == nullptr) return Result(ResultCode::kFileOpenFailed);
    std::fwrite(file, 1, kFileHeaderSize, out);
    std::fwrite(info, 1, kInfoHeaderSize, out);
    // A size that wrapped to a negative value has no bytes to copy.
    if (imageSize > 0) std::fwrite(data, 1, static_cast<size_t>(imageSize), out);
    std::fclose(out);
    return Result(ResultCode::kSuccess);
}

}  // namespace ZnConvertersLib
