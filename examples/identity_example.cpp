// Registers a pixel type, converts a small frame through the identity converter the
// registry created for it, and prints what happened.
#include <cstdio>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"

int main() {
    using namespace ZnConvertersLib;
    const int64 id = 0x20003;  // 32-bit RGB
    if (!PixelTypeFactory::HasPixelType(id)) {
        RGB32 type;
        PixelTypeFactory::RegisterPixelType(id, &type, nullptr);
    }
    const uint32_t width = 64, height = 48;
    std::vector<unsigned char> source(width * height * 4);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 7);
    std::vector<unsigned char> destination(source.size());

    const PixelConverter& converter = PixelTypeFactory::GetConverter(id, id);
    const ZnUtilsLib::Result result =
        converter.Convert(source.data(), width, height, destination.data(), width, height, width,
                          height, 0, 0, nullptr, nullptr, 0);
    const bool same = source == destination;
    std::printf("converted %ux%u %s -> %s: code %u, %s\n", width, height,
                PixelTypeFactory::GetPixelTypeName(id), PixelTypeFactory::GetPixelTypeName(id),
                result.GetCode(), same ? "bytes identical" : "BYTES DIFFER");
    return same ? 0 : 1;
}
