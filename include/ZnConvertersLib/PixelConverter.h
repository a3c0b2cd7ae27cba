#pragma once

#include <atomic>
#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/Types.h"
#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

class RGBFilter;
class PixelType;

// Sizes and granularities of a converter, fixed at construction.
struct ConverterDescriptor {
    int64 sourceTypeID;
    int64 destinationTypeID;
    uint32_t sourcePixelSize;
    uint32_t destinationPixelSize;
    uint32_t pixelGranularity;
    uint32_t lineGranularity;
};

// Base of every converter. The constructor registers the object with PixelTypeFactory
// when its (source, destination) pair is still free: the first object built for a pair
// is the one the registry hands out. Registration never takes ownership.
//
// Convert walks the image in steps of the line granularity and hands each source line
// (group) and destination line to ConvertLines; everything else a kernel needs is in the
// calling thread's ConversionContext. Convert makes no argument checks and always
// reports success.
class PixelConverter {
public:
    PixelConverter(const int64& sourceTypeID, const int64& destinationTypeID,
                   uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                   uint32_t pixelGranularity, uint32_t lineGranularity);

    virtual ~PixelConverter();                                      // slot 0
    virtual const int64& GetSourceTypeID() const;                   // slot 1
    virtual const int64& GetDestinationTypeID() const;              // slot 2
    virtual uint32_t GetSourceLineSize(uint32_t width) const;       // slot 3
    virtual uint32_t GetSourcePixelSize() const;                    // slot 4
    virtual uint32_t GetDestinationLineSize(uint32_t width) const;  // slot 5
    virtual uint32_t GetDestinationPixelSize() const;               // slot 6
    virtual uint32_t GetPixelGranularity() const;                   // slot 7
    virtual uint32_t GetLineGranularity() const;                    // slot 8
    // Converts the single last line of an image whose height is not a multiple of the
    // line granularity. Base: code 26.
    virtual ZnUtilsLib::Result ConvertRemainderLine(const unsigned char* source,
                                                    unsigned char* destination,
                                                    uint32_t width) const;  // slot 9
    // Convert with a colour filter; a null filter selects the default identity filter.
    virtual ZnUtilsLib::Result ConvertFiltered(
        const RGBFilter* filter, const unsigned char* source, uint32_t sourceWidth,
        uint32_t sourceHeight, unsigned char* destination, uint32_t destinationWidth,
        uint32_t destinationHeight, uint32_t width, uint32_t height, uint32_t flags,
        uint32_t destinationPadding, unsigned char** scratchBuffer, uint32_t* scratchBufferSize,
        uint32_t sourcePadding) const;  // slot 10
    // flags: bit 0 = second field first (interlaced sources); one-hot 0x10, 0x20, 0x40,
    // 0x80 = Bayer tile pattern (0x10 when none is set); 0x100 = Bayer neighbourhood
    // method (named, with each tile drawn, in Bayer.h). Paddings are bytes appended to each line after its pixels.
    virtual ZnUtilsLib::Result Convert(const unsigned char* source, uint32_t sourceWidth,
                                       uint32_t sourceHeight, unsigned char* destination,
                                       uint32_t destinationWidth, uint32_t destinationHeight,
                                       uint32_t width, uint32_t height, uint32_t flags,
                                       uint32_t destinationPadding, unsigned char** scratchBuffer,
                                       uint32_t* scratchBufferSize,
                                       uint32_t sourcePadding) const;  // slot 11
    // Converts one step of line granularity. Base: code 26.
    virtual ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                            uint32_t width) const;  // slot 12
    // Base: code 26.
    virtual ZnUtilsLib::Result ConvertPixel(const unsigned char* source,
                                            unsigned char* destination) const;  // slot 13

    const ConverterDescriptor& GetDescriptor() const { return *mDescriptor; }

    PixelConverter(const PixelConverter&) = delete;
    PixelConverter& operator=(const PixelConverter&) = delete;

protected:
    struct NoRegistration {};
    // Builds a converter that does not register itself (sentinels, private helpers).
    PixelConverter(NoRegistration, const int64& sourceTypeID, const int64& destinationTypeID,
                   uint32_t sourcePixelSize, uint32_t destinationPixelSize,
                   uint32_t pixelGranularity, uint32_t lineGranularity);

private:
    ConverterDescriptor* mDescriptor;
    // The registered source type once found; registered types are never removed or
    // replaced, so later conversions need no registry lookup.
    mutable std::atomic<const PixelType*> mSourceType{nullptr};
};

// The identity filters that conversions without a filter use, by source bit size
// (8, 10, 12 and 14; any other size gets the 16-bit one).
const RGBFilter& GetDefaultFilter(uint32_t bitSize);

}  // namespace ZnConvertersLib
