#pragma once

#include <cstdint>

#include "ZnConvertersLib/PixelConverter.h"

namespace ZnConvertersLib {

// Runs two converters as one: the first turns the source into an intermediate image, the
// second turns that into the destination. This is how sources that a family only turns
// into grayscale (tap-interleaved Bayer mosaics, packed mosaics, multiplexed sensors) reach
// the colour outputs. The chain is registered under (first source, second destination);
// the first stage's destination need not equal the second stage's source.
//
// Neither stage is owned: both must outlive the chain.
//
// Scratch memory. Convert keeps the whole intermediate image (without padding) in a
// scratch buffer. A caller that passes both a scratch pointer and a size pointer gets
// that buffer used: it is taken as it is (never cleared) while it is large enough, and
// otherwise released with delete[] and replaced by a new[] allocation whose size is
// written back, so such a buffer must come from new[] (or be null with size 0) and
// belongs to the caller afterwards. Without a caller buffer the chain uses its own member
// buffer, which it allocates zeroed and with room for the overruns some stages write past
// the exact image (one pixel per line on odd widths, one extra line for odd-height Bayer
// stages, a few pixels for 4:1:1 YUV).
//
// Thread safety: the member buffer is not locked. Convert calls that pass their own
// scratch may run on any number of threads at once; Convert calls without one, and every
// ConvertLines or ConvertPixel call, must not run concurrently on the same chain.
class ComplexConverter : public PixelConverter {
public:
    ComplexConverter(const PixelConverter& first, const PixelConverter& second);
    ~ComplexConverter() override;

    uint32_t GetSourceLineSize(uint32_t width) const override;       // the first stage's
    uint32_t GetDestinationLineSize(uint32_t width) const override;  // the second stage's

    // The first stage always converts the whole source image (source width × source
    // height) into the scratch; the second then converts the requested width × height
    // into the destination. The caller's filter applies to both stages; a failing first
    // stage stops the chain and its result is returned.
    ZnUtilsLib::Result Convert(const unsigned char* source, uint32_t sourceWidth,
                               uint32_t sourceHeight, unsigned char* destination,
                               uint32_t destinationWidth, uint32_t destinationHeight,
                               uint32_t width, uint32_t height, uint32_t flags,
                               uint32_t destinationPadding, unsigned char** scratchBuffer,
                               uint32_t* scratchBufferSize, uint32_t sourcePadding) const override;
    // One step of the chain's line granularity through the member scratch buffer. Both
    // stages run in the calling thread's context, which is set up for each in turn and
    // restored afterwards.
    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override;
    ZnUtilsLib::Result ConvertPixel(const unsigned char* source,
                                    unsigned char* destination) const override;

    const PixelConverter& GetFirstStage() const { return *mFirst; }
    const PixelConverter& GetSecondStage() const { return *mSecond; }

    // The member scratch buffer (null until first needed) and its size in bytes.
    const unsigned char* GetScratchBuffer() const { return mScratch; }
    uint32_t GetScratchSize() const { return mScratchSize; }

    // The granularity of a chain whose stages report first and second: the larger of the
    // two when it is a multiple of both, otherwise their product.
    static uint32_t CombineGranularity(uint32_t first, uint32_t second);

private:
    // Grows the member buffer to hold needed bytes plus the overrun slack of one
    // intermediate line of lineWidth pixels.
    unsigned char* EnsureMemberScratch(uint32_t needed, uint32_t lineWidth) const;

    mutable unsigned char* mScratch;
    mutable uint32_t mScratchSize;
    const PixelConverter* mFirst;
    const PixelConverter* mSecond;
};

}  // namespace ZnConvertersLib
