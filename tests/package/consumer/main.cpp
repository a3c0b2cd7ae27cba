// Converts a tiny frame through the installed library's registry.
#include <ZnConvertersLib/PixelConverter.h>
#include <ZnConvertersLib/PixelTypeFactory.h>
#include <ZnConvertersLib/PixelTypes.h>

#include <cstdio>

int main() {
    using namespace ZnConvertersLib;
    const int64 id = 0x70005;
    Grayscale8 type(id);
    if (PixelTypeFactory::RegisterPixelType(id, &type, "consumer gray").IsFailure()) return 1;
    if (!PixelTypeFactory::HasConverter(id, id)) return 2;
    const unsigned char source[4] = {1, 2, 3, 4};
    unsigned char destination[4] = {};
    PixelTypeFactory::GetConverter(id, id).Convert(source, 2, 2, destination, 2, 2, 2, 2, 0, 0,
                                                   nullptr, nullptr, 0);
    for (int i = 0; i < 4; ++i) {
        if (destination[i] != source[i]) return 3;
    }
    std::printf("consumer: converted through %s\n", PixelTypeFactory::GetPixelTypeName(id));
    return 0;
}
