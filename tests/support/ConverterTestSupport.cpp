#include "support/ConverterTestSupport.h"

#include <iterator>

namespace ZnTestSupport {

std::ostream& operator<<(std::ostream& os, const Rgb& c) {
    if (c == kNotStored) return os << "(bytes no store writes)";
    return os << "(" << c.r << ", " << c.g << ", " << c.b << ")";
}

const char* OutputName(uint32_t index) {
    static const char* const names[] = {"RGB16", "RGB24",  "BGR24",  "RGB32",  "BGR32", "Planar24",
                                        "Gray8", "Gray10", "Gray12", "Gray14", "Gray16"};
    static_assert(std::size(names) == std::tuple_size_v<OutputOrder>);
    return names[index];
}

Bytes JoinLines(const PixelConverter& converter, uint32_t width, uint32_t padding,
                const std::vector<Bytes>& lines) {
    Bytes frame;
    for (const Bytes& line : lines) {
        EXPECT_EQ(line.size(), converter.GetSourceLineSize(width) + padding);
        frame.insert(frame.end(), line.begin(), line.end());
    }
    return frame;
}

Bytes Words(const std::vector<uint32_t>& words, uint32_t paddingBytes) {
    Bytes bytes;
    for (uint32_t w : words) bytes.insert(bytes.end(), {uint8_t(w), uint8_t(w >> 8)});
    bytes.resize(bytes.size() + paddingBytes, 0xEE);
    return bytes;
}

Bytes Words32(const std::vector<uint32_t>& words) {
    Bytes bytes;
    for (uint32_t w : words) {
        bytes.insert(bytes.end(),
                     {uint8_t(w), uint8_t(w >> 8), uint8_t(w >> 16), uint8_t(w >> 24)});
    }
    return bytes;
}

const RGBFilter& RoutingFilter() {
    static const RGBFilter filter = [] {
        RGBFilter f(8);
        f.SetMultipliers(0.0, 1.0, 0.5);
        return f;
    }();
    return filter;
}

}  // namespace ZnTestSupport
