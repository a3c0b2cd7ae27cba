#include "ZnConvertersLib/PixelTypes.h"

namespace ZnConvertersLib {

#define ZN_DEFINE_PIXEL_TYPE_CLASS(Name, DefaultId, Bits, Bytes, Bayer) \
    Name::Name() : PixelType(kDefaultID, Bits, Bytes, Bayer) {}         \
    Name::Name(const int64& id) : PixelType(id, Bits, Bytes, Bayer) {}  \
    Name::~Name() = default;

ZN_PIXEL_TYPE_CLASSES(ZN_DEFINE_PIXEL_TYPE_CLASS)

#undef ZN_DEFINE_PIXEL_TYPE_CLASS

}  // namespace ZnConvertersLib
