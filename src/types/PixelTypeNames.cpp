#include <cstdio>
#include <string>

#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

namespace ZnConvertersLib {

using namespace PixelTypeBits;

std::string ComposePixelTypeName(const int64& id, const PixelType& type, bool isBayer) {
    const uint32_t bits = Low32(id);
    std::string name;
    switch (bits & kColorSpaceMask) {
        case kGrayscale:
            name = "Grayscale";
            break;
        case kRGB:
            name = isBayer ? "Bayer RGB" : "RGB";
            break;
        case kYUV:
            name = "YUV";
            break;
        default:
            name = "Unknown Colorspace";
            break;
    }
    // The bit count follows the colour-space word without a separator ("Grayscale8-bits");
    // existing applications match on these names.
    char size[32];
    std::snprintf(size, sizeof size, "%u-bits", static_cast<unsigned>(type.GetPixelBitSize()));
    name += size;
    if (bits & kNormalized) name += ", Normalized";
    if (bits & kInterlaced) name += ", Interlaced";
    if (bits & kPacked) name += ", Packed";
    if (bits & kPlanar) name += ", Planar";
    switch (bits & kTapLayoutMask) {
        case kDualLeftRight:
            name += ", Dual Left+Right output";
            break;
        case kDualLeftRightInverted:
            name += ", Dual Left+Right Inverted output";
            break;
        case kDualLeftInvertedRight:
            name += ", Dual Left Inverted+Right output";
            break;
        case kDualLeftInvertedRightInverted:
            name += ", Dual Left Inverted+Right Inverted output";
            break;
        case kDualLines:
            name += ", Dual Lines output";
            break;
        default:
            break;  // single output, or several bits: no suffix
    }
    return name;
}

}  // namespace ZnConvertersLib
