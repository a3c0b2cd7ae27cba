// The checked frame API: every argument is checked against what the conversion will read
// and write before a kernel runs; the frame is then walked in bands, on several threads
// when it is large enough to gain from them.
#include "framework/frame/FrameConversion.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "framework/ConversionWalk.h"
#include "framework/ThreadConversionState.h"
#include "framework/frame/FrameRules.h"
#include "framework/frame/WorkerPool.h"

namespace ZnConvertersLib {
namespace FrameDetail {
namespace {

std::atomic<uint64_t> gMinimumBandPixels{uint64_t{1} << 18};
constexpr uint32_t kMaxThreads = 64;

}  // namespace

std::string TypeName(const int64& id) {
    char hex[24];
    std::snprintf(hex, sizeof hex, "0x%" PRIX64, static_cast<uint64_t>(id));
    if (!PixelTypeFactory::HasPixelType(id)) return hex;
    return std::string("'") + PixelTypeFactory::GetPixelTypeName(id) + "' (" + hex + ")";
}

FrameResult Fail(FrameError error, std::string message) {
    return FrameResult{error, std::move(message)};
}

const RGBFilter& FilterFor(const PixelConverter& converter, const RGBFilter* filter) {
    if (filter != nullptr) return *filter;
    const PixelType* type = PixelTypeFactory::FindPixelType(converter.GetSourceTypeID());
    return GetDefaultFilter(type ? type->GetPixelBitSize() : 16);
}

// The scratch image of a chain, kept per calling thread and grown as needed.
unsigned char* ChainScratch(size_t bytes) {
    thread_local std::unique_ptr<unsigned char[]> buffer;
    thread_local size_t capacity = 0;
    if (capacity < bytes) {
        buffer.reset();
        capacity = 0;
        buffer.reset(new (std::nothrow) unsigned char[bytes]);
        if (!buffer) return nullptr;
        capacity = bytes;
    }
    return buffer.get();
}

uint32_t ThreadsFor(const ConvertOptions& options) {
    if (options.threads != 0) return std::min(options.threads, kMaxThreads);
    return std::max(1u, std::min(std::thread::hardware_concurrency(), kMaxThreads));
}

uint32_t BandsFor(uint32_t threads, uint64_t pixels, uint32_t steps) {
    const uint64_t bands =
        std::min<uint64_t>(threads, std::max<uint64_t>(1, pixels / gMinimumBandPixels.load()));
    return static_cast<uint32_t>(std::min<uint64_t>(bands, std::max(1u, steps)));
}

namespace {

// One stage of a conversion, walked in bands of whole kernel steps.
struct Stage {
    const PixelConverter* converter;
    const RGBFilter* filter;
    ConversionWalk walk;
};

void WalkBand(const Stage& stage, uint32_t first, uint32_t end) {
    KernelContextScope context;
    context->filter = stage.filter;
    const FilterUseScope filterUse(*context);
    StartWalk(*context, stage.walk);
    WalkLines(*stage.converter, *context, stage.walk, first, end);
    context->filter = nullptr;
}

void RunStage(const Stage& stage, uint32_t threads, bool inOrder) {
    const ConversionWalk& walk = stage.walk;
    const uint32_t step = WalkStep(*stage.converter);
    if (step == 0) return;
    // A last line that does not fill a step is converted on its own after the bands: an
    // odd-height mosaic writes it twice, into the next plane of a planar destination.
    const uint32_t wholeLines = walk.height - walk.height % step;
    const uint32_t bands =
        BandsFor(inOrder ? 1 : threads, uint64_t{walk.width} * walk.height, wholeLines / step);
    if (bands <= 1) {
        WalkBand(stage, 0, walk.height);
        return;
    }
    const uint32_t stepsPerBand = (wholeLines / step + bands - 1) / bands;
    const uint32_t linesPerBand = stepsPerBand * step;
    RunOnWorkers(bands, [&](uint32_t band) {
        const uint32_t first = band * linesPerBand;
        WalkBand(stage, first, std::min(wholeLines, first + linesPerBand));
    });
    if (wholeLines < walk.height) WalkBand(stage, wholeLines, walk.height);
}

Stage StageOf(const PixelConverter& converter, const RGBFilter* filter, const unsigned char* source,
              size_t sourceStride, unsigned char* destination, size_t destinationStride,
              uint32_t width, uint32_t height, uint32_t flags) {
    return Stage{
        &converter, &FilterFor(converter, filter),
        ConversionWalk{source, destination, static_cast<uint32_t>(sourceStride), height,
                       static_cast<uint32_t>(destinationStride), height, width, height, flags}};
}

}  // namespace

FrameResult CheckBuffers(const FrameView& source, const MutableFrameView& destination,
                         const FrameFootprint& footprint) {
    if (source.size < footprint.sourceBytes) {
        return Fail(FrameError::kSourceTooSmall, "the source buffer holds " +
                                                     std::to_string(source.size) +
                                                     " bytes; converting this frame reads " +
                                                     std::to_string(footprint.sourceBytes));
    }
    if (destination.size < footprint.destinationBytes) {
        return Fail(FrameError::kDestinationTooSmall,
                    "the destination buffer holds " + std::to_string(destination.size) +
                        " bytes; converting this frame writes " +
                        std::to_string(footprint.destinationBytes));
    }
    const uintptr_t inStart = reinterpret_cast<uintptr_t>(source.data);
    const uintptr_t outStart = reinterpret_cast<uintptr_t>(destination.data);
    if (inStart < outStart + footprint.destinationBytes &&
        outStart < inStart + footprint.sourceBytes) {
        return Fail(FrameError::kOverlap, "the source and destination buffers overlap");
    }
    return FrameResult{};
}

void ConvertStage(const PixelConverter& converter, const RGBFilter* filter,
                  const unsigned char* source, size_t sourceStride, unsigned char* destination,
                  size_t destinationStride, uint32_t width, uint32_t height, uint32_t flags,
                  uint32_t threads) {
    RunStage(StageOf(converter, filter, source, sourceStride, destination, destinationStride, width,
                     height, flags),
             threads, WritesReachNextLine(converter, width, destinationStride));
}

void SetMinimumBandPixels(uint64_t pixels) {
    gMinimumBandPixels.store(std::max<uint64_t>(pixels, 1));
}

}  // namespace FrameDetail

using namespace FrameDetail;

uint32_t ConversionFlagsFor(const ConvertOptions& options) {
    uint32_t flags = options.bayerTile & kBayerTileMask;
    if (options.demosaic == DemosaicMethod::kBilinear) flags |= kBayerNeighbourhoodMethod;
    if (options.secondFieldFirst) flags |= 0x1;
    return flags;
}

FrameFootprint GetFrameFootprint(const PixelConverter& converter, uint32_t width, uint32_t height,
                                 size_t sourceStride, size_t destinationStride) {
    return StageFootprint(converter, width, height, sourceStride, destinationStride);
}

FrameResult ConvertFrame(const FrameView& source, const MutableFrameView& destination,
                         const ConvertOptions& options) {
    const PixelConverter* converter =
        PixelTypeFactory::FindConverter(source.pixelType, destination.pixelType);
    if (converter == nullptr) {
        for (const int64 id : {source.pixelType, destination.pixelType}) {
            if (!PixelTypeFactory::HasPixelType(id)) {
                return Fail(FrameError::kUnknownType,
                            TypeName(id) +
                                " is not a known pixel type, and no converter "
                                "takes it");
            }
        }
        return Fail(FrameError::kNoConverter, "no converter from " + TypeName(source.pixelType) +
                                                  " to " + TypeName(destination.pixelType));
    }
    if (source.data == nullptr) return Fail(FrameError::kNullBuffer, "the source data is null");
    if (destination.data == nullptr) {
        return Fail(FrameError::kNullBuffer, "the destination data is null");
    }
    if (source.width != destination.width || source.height != destination.height) {
        return Fail(FrameError::kUnsupportedSize,
                    "the source is " + std::to_string(source.width) + "x" +
                        std::to_string(source.height) + " but the destination " +
                        std::to_string(destination.width) + "x" +
                        std::to_string(destination.height) + ": sizes must match");
    }
    const uint32_t tile = options.bayerTile;
    if (tile != kBayerTileGRBG && tile != kBayerTileGBRG && tile != kBayerTileRGGB &&
        tile != kBayerTileBGGR) {
        return Fail(FrameError::kBadOption,
                    "bayerTile must be one of kBayerTileGRBG, kBayerTileGBRG, kBayerTileRGGB, "
                    "kBayerTileBGGR");
    }
    switch (options.demosaic) {
        case DemosaicMethod::kBlock:
        case DemosaicMethod::kBilinear:
            break;
        case DemosaicMethod::kGradientCorrected:
        case DemosaicMethod::kEdgeDirected:
            return ConvertDemosaiced(*converter, source, destination, options);
        default:
            return Fail(
                FrameError::kBadOption,
                "unknown demosaicing method " + std::to_string(static_cast<int>(options.demosaic)));
    }

    const uint32_t width = source.width;
    const uint32_t height = source.height;
    const FrameFootprint footprint =
        StageFootprint(*converter, width, height, source.stride, destination.stride);
    if (!footprint.result) return footprint.result;
    if (FrameResult refused = CheckBuffers(source, destination, footprint); !refused) {
        return refused;
    }
    const auto* in = static_cast<const unsigned char*>(source.data);
    auto* out = static_cast<unsigned char*>(destination.data);

    const size_t sourceStride = source.stride ? source.stride : footprint.sourceLineBytes;
    const size_t destinationStride =
        destination.stride ? destination.stride : footprint.destinationLineBytes;
    const uint32_t flags = ConversionFlagsFor(options);
    const uint32_t threads = ThreadsFor(options);

    if (!IsLibraryConverter(*converter) ||
        (threads == 1 && dynamic_cast<const IdentityConverter*>(converter) != nullptr)) {
        // The converter's own call: an application's converter may have its own walk, and
        // the copy converter copies a contiguous frame in one block. A chain of the
        // application's gets a scratch buffer of this call's, never its shared one.
        unsigned char* scratch = nullptr;
        uint32_t scratchSize = 0;
        converter->ConvertFiltered(
            options.filter, in, width, height, out, width, height, width, height, flags,
            static_cast<uint32_t>(destinationStride - footprint.destinationLineBytes), &scratch,
            &scratchSize, static_cast<uint32_t>(sourceStride - footprint.sourceLineBytes));
        delete[] scratch;
        return FrameResult{};
    }

    const auto* chain = dynamic_cast<const ComplexConverter*>(converter);
    if (chain == nullptr) {
        ConvertStage(*converter, options.filter, in, sourceStride, out, destinationStride, width,
                     height, flags, threads);
        return FrameResult{};
    }

    // A chain converts the whole frame into an intermediate image, then that image into
    // the destination; the stages of the library's chains are never chains themselves.
    const PixelConverter& first = chain->GetFirstStage();
    const PixelConverter& second = chain->GetSecondStage();
    const FrameFootprint firstOut = StageFootprint(first, width, height, sourceStride, 0);
    const FrameFootprint secondIn = StageFootprint(second, width, height, 0, destinationStride);
    unsigned char* scratch =
        ChainScratch(std::max(firstOut.destinationBytes, secondIn.sourceBytes));
    if (scratch == nullptr) {
        return Fail(FrameError::kOutOfMemory, "no memory for the intermediate image of " +
                                                  std::to_string(firstOut.destinationBytes) +
                                                  " bytes");
    }
    ConvertStage(first, options.filter, in, sourceStride, scratch, firstOut.destinationLineBytes,
                 width, height, flags, threads);
    ConvertStage(second, options.filter, scratch, secondIn.sourceLineBytes, out, destinationStride,
                 width, height, flags, threads);
    return FrameResult{};
}

}  // namespace ZnConvertersLib
