#pragma once

// What a line kernel takes from the calling thread's conversion context: the output
// plane size (planar output), the 8-bit filter tables, strides and heights; and the base
// that most converters share.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

// The active filter's tables, settled once per conversion (framework/ThreadConversionState.h).
using FilterTables8 = ZnConvertersLib::FilterTables8;

// Binds an output policy to one destination line.
template <class Output>
class LineWriter {
public:
    LineWriter(unsigned char* line, const ConversionContext& context)
        : mLine(line),
          mPlaneSize(Output::kIsPlanar ? context.destinationStride * context.destinationHeight
                                       : 0) {}

    void Store(std::ptrdiff_t i, uint8_t r, uint8_t g, uint8_t b) const {
        Output::Store(mLine, mPlaneSize, i, r, g, b);
    }
    void StoreGray(std::ptrdiff_t i, uint8_t v) const {
        Output::StoreGray(mLine, mPlaneSize, i, v);
    }
    // Filters each channel through its own table, then stores.
    void StoreFiltered(std::ptrdiff_t i, const FilterTables8& tables, uint8_t r, uint8_t g,
                       uint8_t b) const {
        Output::Store(mLine, mPlaneSize, i, tables.red[r], tables.green[g], tables.blue[b]);
    }

    unsigned char* Line() const { return mLine; }
    uint32_t PlaneSize() const { return mPlaneSize; }

private:
    unsigned char* mLine;
    uint32_t mPlaneSize;
};

// Base of the converters that take any number of pixels and lines a call: pixel and line
// granularity 1.
//
// Where each group of pixels depends on its own source bytes alone, a frame whose lines
// follow one another without padding converts as one long line: the same bytes, with the
// cost of a line call (context, filter, target dispatch, tail) paid once a frame rather
// than once a line, which is most of the difference on small or fast rows.
class UnitGranularityConverter : public PixelConverter {
public:
    UnitGranularityConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                             uint32_t sourcePixelSize, uint32_t destinationPixelSize)
        : PixelConverter(sourceTypeID, destinationTypeID, sourcePixelSize, destinationPixelSize, 1,
                         1) {}

    ZnUtilsLib::Result Convert(const unsigned char* source, uint32_t sourceWidth,
                               uint32_t sourceHeight, unsigned char* destination,
                               uint32_t destinationWidth, uint32_t destinationHeight,
                               uint32_t width, uint32_t height, uint32_t flags,
                               uint32_t destinationPadding, unsigned char** scratchBuffer,
                               uint32_t* scratchBufferSize, uint32_t sourcePadding) const override;

    // Pixels of the smallest group whose output depends on its own source bytes alone; 0
    // when a line depends on more (its neighbours, its position in the frame).
    virtual uint32_t IndependentGroup() const { return 0; }
};

// Below this many pixels a frame's few line calls cost less than the vector row's dispatch
// for the one longer line.
constexpr uint64_t kFewestContinuousPixels = 256;

// The width of the one line that converts this frame as the walk would line by line, or
// 0 when it must be walked: lines padded or wider than the frame, interlaced, a width
// that splits a group, sizes past 32 bits.
uint32_t ContinuousLineWidth(const UnitGranularityConverter& converter, uint32_t sourceWidth,
                             uint32_t sourceHeight, uint32_t destinationWidth,
                             uint32_t destinationHeight, uint32_t width, uint32_t height,
                             uint32_t destinationPadding, uint32_t sourcePadding);

inline uint32_t LoadLE16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

inline uint32_t LoadLE32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

}  // namespace ZnConvertersLib
