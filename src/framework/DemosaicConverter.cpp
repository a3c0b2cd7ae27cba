// Converter objects of the better demosaicing methods: the specified call signature over
// the frame API's demosaicing, with the strides and tile the flags and paddings give.
#include <cstddef>
#include <limits>

#include "ZnConvertersLib/Demosaic.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "converters/bayer/BayerRows.h"
#include "framework/frame/FrameConversion.h"

namespace ZnConvertersLib {
namespace {

class DemosaicConverter final : public PixelConverter {
public:
    DemosaicConverter(const PixelConverter& registered, DemosaicMethod method)
        : PixelConverter(NoRegistration{}, registered.GetSourceTypeID(),
                         registered.GetDestinationTypeID(), registered.GetSourcePixelSize(),
                         registered.GetDestinationPixelSize(), 1, 1),
          mRegistered(registered),
          mMethod(method) {}

    uint32_t GetSourceLineSize(uint32_t width) const override {
        return mRegistered.GetSourceLineSize(width);
    }
    uint32_t GetDestinationLineSize(uint32_t width) const override {
        return mRegistered.GetDestinationLineSize(width);
    }

    ZnUtilsLib::Result ConvertFiltered(const RGBFilter* filter, const unsigned char* source,
                                       uint32_t sourceWidth, uint32_t /*sourceHeight*/,
                                       unsigned char* destination, uint32_t destinationWidth,
                                       uint32_t /*destinationHeight*/, uint32_t width,
                                       uint32_t height, uint32_t flags, uint32_t destinationPadding,
                                       unsigned char**, uint32_t*,
                                       uint32_t sourcePadding) const override {
        static constexpr uint32_t kTiles[] = {kBayerTileGRBG, kBayerTileGBRG, kBayerTileRGGB,
                                              kBayerTileBGGR};
        ConvertOptions options;
        options.bayerTile = kTiles[BayerDetail::PatternFromFlags(flags)];
        options.demosaic = mMethod;
        options.secondFieldFirst = (flags & 0x1) != 0;  // interlaced mosaics are unpacked first
        options.filter = filter;
        // Like the registered converters, these trust the caller's buffers; the frame
        // API still checks the geometry.
        constexpr size_t kTrusted = std::numeric_limits<size_t>::max() / 4;
        const FrameView in{GetSourceTypeID(),
                           width,
                           height,
                           size_t{GetSourceLineSize(sourceWidth)} + sourcePadding,
                           source,
                           kTrusted};
        const MutableFrameView out{
            GetDestinationTypeID(),
            width,
            height,
            size_t{GetDestinationLineSize(destinationWidth)} + destinationPadding,
            destination,
            kTrusted};
        const FrameResult result = FrameDetail::ConvertDemosaiced(mRegistered, in, out, options);
        return ZnUtilsLib::Result(result ? ResultCode::kSuccess : ResultCode::kNotSupported);
    }

    ZnUtilsLib::Result Convert(const unsigned char* source, uint32_t sourceWidth,
                               uint32_t sourceHeight, unsigned char* destination,
                               uint32_t destinationWidth, uint32_t destinationHeight,
                               uint32_t width, uint32_t height, uint32_t flags,
                               uint32_t destinationPadding, unsigned char** scratchBuffer,
                               uint32_t* scratchBufferSize, uint32_t sourcePadding) const override {
        return ConvertFiltered(nullptr, source, sourceWidth, sourceHeight, destination,
                               destinationWidth, destinationHeight, width, height, flags,
                               destinationPadding, scratchBuffer, scratchBufferSize, sourcePadding);
    }

private:
    const PixelConverter& mRegistered;
    DemosaicMethod mMethod;
};

}  // namespace

std::unique_ptr<PixelConverter> CreateDemosaicConverter(const int64& source,
                                                        const int64& destination,
                                                        DemosaicMethod method) {
    if (method != DemosaicMethod::kGradientCorrected && method != DemosaicMethod::kEdgeDirected) {
        return nullptr;
    }
    const PixelConverter* registered = PixelTypeFactory::FindConverter(source, destination);
    if (registered == nullptr || !FrameDetail::CanDemosaic(*registered, destination)) {
        return nullptr;
    }
    return std::make_unique<DemosaicConverter>(*registered, method);
}

}  // namespace ZnConvertersLib
