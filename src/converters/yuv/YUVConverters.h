#pragma once

// YUV and YCrCb sources (8-bit 4:2:2 in two byte orders, 4:1:1, 4:4:4 in three orders,
// 10-bit 4:2:2 in 16-bit words) to the colour outputs.
//
// Every layout uses one fixed-point studio-range matrix; results are clamped by one read
// of a shared saturation table, then pass through the conversion's filter tables, then
// go to the output writer. Chroma is never interpolated: the pixels of a group share its
// one U and V, whose products are computed once per group.

#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/common/KernelSupport.h"
#include "converters/common/OutputPolicies.h"
#include "converters/common/RowCall.h"
#include "converters/yuv/YUVRows.h"

namespace ZnConvertersLib {

class YUVTo : public UnitGranularityConverter {
public:
    // Builds the shared saturation table on first construction.
    YUVTo(const int64& sourceTypeID, const int64& destinationTypeID, uint32_t sourcePixelSize,
          uint32_t destinationPixelSize);

    // A single pixel cannot be converted on its own: in the subsampled layouts it has no
    // chroma of its own, and no layout is given a group position. Code 26.
    ZnUtilsLib::Result ConvertPixel(const unsigned char* source,
                                    unsigned char* destination) const override;

    // 1280 entries; entry v + 512 holds v clamped to 0 ... 255. Valid once any YUVTo has
    // been constructed.
    static const uint8_t* GetSaturationTable();

protected:
    // One line of `groups` groups of Layout, with the conversion's filter: the vector row
    // converts the groups of whole vectors, the plain row the rest; the plain row's
    // filter look-ups are compiled out for the identity.
    template <class Layout, class Output>
    ZnUtilsLib::Result ConvertGroups(const unsigned char* source, unsigned char* destination,
                                     uint32_t groups, uint32_t shift) const {
        KernelContextScope context;
        const FilterTables8& tables = ActiveFilterTables(*context);
        const LineWriter<Output> out(destination, *context);
        const uint8_t* saturate = GetSaturationTable() + YUVDetail::kSaturationOffset;
        const uint32_t done =
            YUVVectorRow(Layout::kKernel, {source, 0, shift},
                         MakeRowOutput<Output>(destination, out.PlaneSize(), tables), groups);
        if (tables.identity) {
            YUVDetail::ConvertGroupsRow<Layout, false>(source, out, tables, saturate, done, groups,
                                                       shift);
        } else {
            YUVDetail::ConvertGroupsRow<Layout, true>(source, out, tables, saturate, done, groups,
                                                      shift);
        }
        return ZnUtilsLib::Result();
    }
};

// The layouts of one or two pixels a group, 8-bit samples: a line holds width / pixels
// whole groups, so the last pixel of an odd 4:2:2 width is not written.
template <class Layout, class Output>
class YUVGroupsTo : public YUVTo {
    static_assert(Layout::kPixels <= 2, "groups of one or two pixels");

public:
    using YUVTo::YUVTo;

    uint32_t IndependentGroup() const override { return Layout::kPixels; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        return ConvertGroups<Layout, Output>(source, destination, width / Layout::kPixels, 0);
    }
};

// Y0 U Y1 V.
template <class Output>
using YUV8To = YUVGroupsTo<YUVDetail::Layout422, Output>;

// U Y0 V Y1.
template <class Output>
using YUV8422GEVTo = YUVGroupsTo<YUVDetail::Layout422GEV, Output>;

// Y U V.
template <class Output>
using YUV8444To = YUVGroupsTo<YUVDetail::Layout444, Output>;

// U Y V.
template <class Output>
using YUV8444GEVTo = YUVGroupsTo<YUVDetail::Layout444GEV, Output>;

// Y Cr Cb: the 4:4:4 matrix with the chroma bytes swapped.
template <class Output>
using YCrCbTo = YUVGroupsTo<YUVDetail::LayoutYCrCb, Output>;

// U Y0 Y1 V Y2 Y3: 12 bits per pixel.
template <class Output>
class YUV8411To : public YUVTo {
public:
    using YUVTo::YUVTo;

    // Six bytes per four pixels, rounded down (32-bit arithmetic, wraps like the base).
    uint32_t GetSourceLineSize(uint32_t width) const override { return width * 3u / 2u; }
    uint32_t IndependentGroup() const override { return 4; }

    // A width that is not a multiple of 4 counts one pixel less, then whole groups are
    // rounded up: widths 6 and 7 write 8 pixels, width 5 writes 4. Destination lines
    // must have room for the whole last group.
    static uint32_t GroupCount(uint32_t width) {
        const uint32_t n = width % 4 == 0 ? width : width - 1;
        return n / 4 + (n % 4 != 0 ? 1 : 0);
    }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        return ConvertGroups<YUVDetail::Layout411, Output>(source, destination, GroupCount(width),
                                                           0);
    }
};

// Y0 U Y1 V in little-endian 16-bit words, each shifted right by sourceShift (2 for 10-bit
// samples in the low bits, 8 for samples normalized to 16 bits). The last pixel of an odd
// width is not written.
template <class Output>
class YUV10To : public YUVTo {
public:
    YUV10To(const int64& sourceTypeID, const int64& destinationTypeID, uint32_t sourcePixelSize,
            uint32_t destinationPixelSize, uint32_t sourceShift)
        : YUVTo(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize),
          mSourceShift(sourceShift) {}

    uint32_t GetSourceShift() const { return mSourceShift; }
    uint32_t IndependentGroup() const override { return 2; }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        return ConvertGroups<YUVDetail::Layout422Words, Output>(source, destination, width / 2,
                                                                mSourceShift);
    }

private:
    uint32_t mSourceShift;
};

}  // namespace ZnConvertersLib
