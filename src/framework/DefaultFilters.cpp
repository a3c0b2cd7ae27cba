#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

namespace {

const RGBFilter* DefaultFilters() {
    // Built together on first use (at load) and never changed, so they stay identities.
    static const RGBFilter sFilters[] = {RGBFilter(8), RGBFilter(10), RGBFilter(12), RGBFilter(14),
                                         RGBFilter(16)};
    return sFilters;
}

}  // namespace

bool IsDefaultFilter(const RGBFilter& filter) {
    const RGBFilter* filters = DefaultFilters();
    return &filter >= filters && &filter < filters + 5;
}

const RGBFilter& GetDefaultFilter(uint32_t bitSize) {
    const RGBFilter* sFilters = DefaultFilters();
    switch (bitSize) {
        case 8:
            return sFilters[0];
        case 10:
            return sFilters[1];
        case 12:
            return sFilters[2];
        case 14:
            return sFilters[3];
        default:
            return sFilters[4];
    }
}

}  // namespace ZnConvertersLib
