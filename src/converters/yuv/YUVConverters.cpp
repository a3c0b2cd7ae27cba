#include "converters/yuv/YUVConverters.h"

#include <mutex>

namespace ZnConvertersLib {

namespace {

uint8_t gSaturation[YUVDetail::kSaturationSize];
std::once_flag gSaturationBuilt;

void BuildSaturationTable() {
    for (uint32_t i = 0; i < YUVDetail::kSaturationSize; ++i) {
        const int32_t v = static_cast<int32_t>(i) - YUVDetail::kSaturationOffset;
        gSaturation[i] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
    }
}

}  // namespace

YUVTo::YUVTo(const int64& sourceTypeID, const int64& destinationTypeID, uint32_t sourcePixelSize,
             uint32_t destinationPixelSize)
    : UnitGranularityConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                               destinationPixelSize) {
    // Converters are built at load on one thread; the once-flag keeps converters built
    // later on other threads from racing on the table.
    std::call_once(gSaturationBuilt, BuildSaturationTable);
}

ZnUtilsLib::Result YUVTo::ConvertPixel(const unsigned char*, unsigned char*) const {
    return ZnUtilsLib::Result(ResultCode::kNotSupported);
}

const uint8_t* YUVTo::GetSaturationTable() {
    return gSaturation;
}

}  // namespace ZnConvertersLib
