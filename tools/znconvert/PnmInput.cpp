#include "PnmInput.h"

#include <utility>

#include "Errors.h"
#include "Options.h"
#include "ZnConvertersLib/Pfnc.h"

namespace znconvert {

namespace {

bool IsSpace(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// Skips white space and comments, then reads one decimal field of the header.
uint32_t ReadField(std::FILE* in, const std::string& name, const char* what, uint32_t maximum) {
    int c = std::fgetc(in);
    for (;;) {
        if (c == '#') {
            while (c != EOF && c != '\n' && c != '\r') c = std::fgetc(in);
        } else if (IsSpace(c)) {
            c = std::fgetc(in);
        } else {
            break;
        }
    }
    if (c == EOF) Fail(name + ": PGM/PPM header ends before its " + what);
    if (c < '0' || c > '9') Fail(name + ": PGM/PPM header has no " + what);
    uint64_t value = 0;
    while (c >= '0' && c <= '9') {
        value = value * 10 + static_cast<uint64_t>(c - '0');
        if (value > maximum) {
            Fail(name + ": PGM/PPM " + what + " is larger than " + std::to_string(maximum));
        }
        c = std::fgetc(in);
    }
    // Exactly one white space character ends the last field; the samples follow it.
    if (c == EOF) Fail(name + ": PGM/PPM header ends after its " + what);
    if (!IsSpace(c)) Fail(name + ": PGM/PPM " + what + " is not followed by a space");
    if (value == 0) Fail(name + ": PGM/PPM " + what + " is 0");
    return static_cast<uint32_t>(value);
}

}  // namespace

ZnConvertersLib::int64 PnmHeader::PixelType() const {
    if (colour) return Wide() ? ZnConvertersLib::kPixelTypeRGB48 : 0x420002;
    return Wide() ? 0x10005 : 0x10001;
}

std::string PnmHeader::Describe() const {
    return std::string(colour ? "PPM" : "PGM") + ", " + std::to_string(width) + "x" +
           std::to_string(height) + ", " + (Wide() ? "16" : "8") + "-bit";
}

PnmHeader ReadPnmHeader(std::FILE* in, const std::string& name) {
    const int p = std::fgetc(in);
    const int kind = std::fgetc(in);
    if (p != 'P' || (kind != '5' && kind != '6')) {
        Fail(name + " is not a binary PGM or PPM file (P5 or P6)");
    }
    PnmHeader header;
    header.colour = kind == '6';
    header.width = ReadField(in, name, "width", kMaxDimension);
    header.height = ReadField(in, name, "height", kMaxDimension);
    header.maxValue = ReadField(in, name, "maximum value", 65535);
    return header;
}

void SwapSampleBytes(unsigned char* data, size_t bytes) {
    for (size_t i = 0; i + 1 < bytes; i += 2) std::swap(data[i], data[i + 1]);
}

}  // namespace znconvert
