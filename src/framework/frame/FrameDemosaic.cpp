// The frame API's gradient-corrected and edge-directed demosaicing. The registered
// converter of the pair says what the mosaic is: its own source, or the mosaic its chain
// unpacks first (packed and tapped layouts), which is then demosaiced here instead of by
// the chain's second stage. The frame is read and written exactly: mirrored borders need
// nothing outside it, and an odd last line is a line like any other.
#include <algorithm>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "converters/bayer/BayerRows.h"
#include "converters/bayer/Demosaic.h"
#include "framework/frame/FrameConversion.h"
#include "framework/frame/FrameRules.h"
#include "framework/frame/WorkerPool.h"

namespace ZnConvertersLib {
namespace FrameDetail {
namespace {

using Demosaic::Store;

bool StoreFor(const int64& destination, Store& store) {
    static constexpr struct {
        int64 id;
        Store store;
    } kStores[] = {{0x20001, Store::kRGB16},         {0x420002, Store::kRGB24},
                   {0x420006, Store::kBGR24},        {0x20003, Store::kRGB32},
                   {0x20007, Store::kBGR32},         {0x820002, Store::kPlanar24},
                   {kPixelTypeRGB48, Store::kRGB48}, {kPixelTypeBGR48, Store::kBGR48}};
    for (const auto& entry : kStores) {
        if (entry.id == destination) {
            store = entry.store;
            return true;
        }
    }
    return false;
}

// The mosaic a demosaicing converter reads, and the stage that unpacks it, if any.
struct Mosaic {
    const PixelConverter* unpack = nullptr;
    int64 type = 0;
    Demosaic::SampleForm form{};
};

// Depth of the library's mosaic types, by format code (not every one is a registered
// type).
uint32_t MosaicBits(const int64& type) {
    if (!PixelTypeBits::Has(type, PixelTypeBits::kRGB)) return 0;
    switch (PixelTypeBits::Low32(type) & PixelTypeBits::kFormatMask) {
        case 0x10:
            return 8;
        case 0x11:
            return 10;
        case 0x12:
            return 12;
        case 0x16:
            return 14;
        case 0x20:
            return 16;
        default:
            return 0;
    }
}

bool MosaicOf(const PixelConverter& converter, Mosaic& mosaic) {
    const PixelConverter* demosaic = &converter;
    if (const auto* chain = dynamic_cast<const ComplexConverter*>(&converter)) {
        mosaic.unpack = &chain->GetFirstStage();
        demosaic = &chain->GetSecondStage();
    }
    mosaic.type = demosaic->GetSourceTypeID();
    const uint32_t bits = MosaicBits(mosaic.type);
    const bool words = demosaic->GetSourcePixelSize() == 2;
    if (bits == 0 || words != (bits > 8) ||
        PixelTypeBits::Has(mosaic.type, PixelTypeBits::kTapLayoutMask | PixelTypeBits::kPacked |
                                            PixelTypeBits::kInterlaced)) {
        return false;
    }
    const bool normalized = PixelTypeBits::Has(mosaic.type, PixelTypeBits::kNormalized);
    mosaic.form = {words, bits, normalized ? 16 - bits : 0};
    return true;
}

const char* MethodName(DemosaicMethod method) {
    return method == DemosaicMethod::kEdgeDirected ? "edge-directed" : "gradient-corrected";
}

}  // namespace

bool CanDemosaic(const PixelConverter& converter, const int64& destination) {
    Mosaic mosaic;
    Store store{};
    return MosaicOf(converter, mosaic) && StoreFor(destination, store);
}

FrameResult ConvertDemosaiced(const PixelConverter& converter, const FrameView& source,
                              const MutableFrameView& destination, const ConvertOptions& options) {
    Mosaic mosaic;
    Store store{};
    if (!MosaicOf(converter, mosaic) || !StoreFor(destination.pixelType, store)) {
        return Fail(FrameError::kBadOption,
                    std::string(MethodName(options.demosaic)) +
                        " demosaicing takes Bayer mosaics of 8 to 16 bits to colour outputs; " +
                        TypeName(source.pixelType) + " to " + TypeName(destination.pixelType) +
                        " is not such a pair");
    }
    const uint32_t width = source.width, height = source.height;
    // Exactly the frame: mirrored borders read nothing outside it, and no line is written
    // past an odd height. An unpacked layout's own rules and reads still hold.
    FrameFootprint footprint{};
    if (mosaic.unpack != nullptr) {
        footprint = StageFootprint(*mosaic.unpack, width, height, source.stride, 0);
        if (!footprint.result) return footprint.result;
    } else {
        if (FrameResult refused = CheckFrameSize(width, height); !refused) return refused;
        footprint.sourceLineBytes = size_t{width} * (mosaic.form.words ? 2 : 1);
    }
    footprint.destinationLineBytes = size_t{width} * Demosaic::PixelBytes(store);
    const size_t sourceStride = source.stride ? source.stride : footprint.sourceLineBytes;
    const size_t destinationStride =
        destination.stride ? destination.stride : footprint.destinationLineBytes;
    if (FrameResult refused = CheckStrides(sourceStride, footprint.sourceLineBytes,
                                           destinationStride, footprint.destinationLineBytes);
        !refused) {
        return refused;
    }
    if (mosaic.unpack == nullptr) {
        footprint.sourceBytes = (height - 1) * sourceStride + footprint.sourceLineBytes;
    }
    const size_t planeLines = store == Store::kPlanar24 ? 3 * size_t{height} : height;
    footprint.destinationBytes =
        (planeLines - 1) * destinationStride + footprint.destinationLineBytes;
    if (FrameResult refused = CheckBuffers(source, destination, footprint); !refused) {
        return refused;
    }

    const uint32_t threads = ThreadsFor(options);
    const auto* in = static_cast<const unsigned char*>(source.data);
    size_t mosaicStride = sourceStride;
    if (mosaic.unpack != nullptr) {
        const FrameFootprint unpacked =
            StageFootprint(*mosaic.unpack, width, height, sourceStride, 0);
        unsigned char* scratch = ChainScratch(unpacked.destinationBytes);
        if (scratch == nullptr) {
            return Fail(FrameError::kOutOfMemory, "no memory for the unpacked mosaic of " +
                                                      std::to_string(unpacked.destinationBytes) +
                                                      " bytes");
        }
        // Unpacking never filters: the filter balances the mosaic below.
        ConvertStage(*mosaic.unpack, nullptr, in, sourceStride, scratch,
                     unpacked.destinationLineBytes, width, height, ConversionFlagsFor(options),
                     threads);
        in = scratch;
        mosaicStride = unpacked.destinationLineBytes;
    }

    const Demosaic::Job job{in,
                            mosaicStride,
                            mosaic.form,
                            static_cast<unsigned char*>(destination.data),
                            destinationStride,
                            store,
                            width,
                            height,
                            BayerDetail::PatternFromFlags(options.bayerTile),
                            options.demosaic,
                            options.filter};
    const uint32_t bands = BandsFor(threads, uint64_t{width} * height, height / 8);
    if (bands <= 1) {
        Demosaic::ConvertLines(job, 0, height);
        return FrameResult{};
    }
    const uint32_t linesPerBand = (height + bands - 1) / bands;
    RunOnWorkers(bands, [&](uint32_t band) {
        const uint32_t first = band * linesPerBand;
        Demosaic::ConvertLines(job, std::min(first, height),
                               std::min(height, first + linesPerBand));
    });
    return FrameResult{};
}

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
