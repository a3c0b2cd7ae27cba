// ConvertFrame against what it promises, on any pair, geometry, strides, buffer sizes and
// options. Both buffers are allocated at exactly their declared sizes, so AddressSanitizer
// stops at the first byte read or written outside them. A refused call must say why and
// leave the destination alone; an accepted one must fit its footprint and give the bytes
// of the converter's own call on roomy copies of the same buffers (for the demosaicing
// methods the flags cannot name, those of their converter object).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "FrameFuzzInput.h"
#include "ZnConvertersLib/Demosaic.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/frame/FrameConversion.h"

using namespace ZnConvertersLib;
using namespace ZnFrameFuzz;

namespace {

struct Pair {
    int64 from, to;
};

// The load-time pairs and those of the camera packings registered on demand.
const std::vector<Pair>& Pairs() {
    static const std::vector<Pair> pairs = [] {
        RegisterCameraFormats();
        std::vector<Pair> all;
        int64 from = 0, to = 0;
        for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
            all.push_back({from, to});
        }
        return all;
    }();
    return pairs;
}

// Room the reference call gets past both buffers: bytes it reads there are zeros, bytes it
// writes there break the footprint.
constexpr size_t kSlack = 1024;

struct Call {
    Pair pair;
    uint32_t width, height;
    size_t sourceStride, destinationStride, sourceSize, destinationSize;
    FrameFootprint footprint;
    ConvertOptions options;
    uint8_t filterMode;
};

[[noreturn]] void Fail(const Call& call, const char* what, const std::string& detail = {}) {
    std::fprintf(stderr,
                 "frame fuzzer: %s%s%s\n  pair 0x%llX -> 0x%llX, %ux%u, strides %zu/%zu, sizes "
                 "%zu/%zu (footprint %zu/%zu), tile 0x%X, demosaic %d, second field first %d, "
                 "threads %u, filter %u\n",
                 what, detail.empty() ? "" : ": ", detail.c_str(),
                 static_cast<unsigned long long>(call.pair.from),
                 static_cast<unsigned long long>(call.pair.to), call.width, call.height,
                 call.sourceStride, call.destinationStride, call.sourceSize, call.destinationSize,
                 call.footprint.sourceBytes, call.footprint.destinationBytes,
                 call.options.bayerTile, static_cast<int>(call.options.demosaic),
                 call.options.secondFieldFirst, call.options.threads, call.filterMode);
    std::abort();
}

// Gains go through the kernels' computed-gain path; tables set entry by entry through
// their look-ups.
std::unique_ptr<RGBFilter> MakeFilter(const Header& header) {
    const uint8_t mode = header.filter % 3;
    if (mode == 0) return nullptr;
    auto filter = std::make_unique<RGBFilter>(header.filter & 4 ? 12 : 8);
    const uint8_t* p = header.filterBytes;
    if (mode == 1) {
        filter->SetMultipliers(p[0] / 32.0, p[1] / 32.0, p[2] / 32.0, p[3] % 32, p[4] % 32,
                               p[5] % 32);
        return filter;
    }
    uint64_t state = 0;
    std::memcpy(&state, p, sizeof state);
    state |= 1;
    const uint32_t entries = filter->GetEntryCount();
    // Odd first byte: one entry per channel moved off identity, the rest all random.
    const bool single = p[0] & 1;
    for (uint32_t i = 0; i < 256; ++i) {
        if (single && i != p[1]) continue;
        for (int channel = 0; channel < 3; ++channel) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            const auto value = static_cast<unsigned short>(state % entries);
            const bool last = i == 255 || single;
            if (channel == 0) filter->SetRedValue(i, value, last);
            if (channel == 1) filter->SetGreenValue(i, value, last);
            if (channel == 2) filter->SetBlueValue(i, value, last);
        }
    }
    return filter;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Small frames split into bands too, so band edges and the worker pool are fuzzed.
    FrameDetail::SetMinimumBandPixels(1);
    Pairs();
    return 0;
}

void CompareWithDemosaicObject(const Call& call, unsigned char fill, const unsigned char* source,
                               const unsigned char* destination) {
    const std::unique_ptr<PixelConverter> object =
        CreateDemosaicConverter(call.pair.from, call.pair.to, call.options.demosaic);
    if (!object) Fail(call, "accepted a method the pair has no converter object for");
    const size_t sourceLine = object->GetSourceLineSize(call.width);
    const size_t destinationLine = object->GetDestinationLineSize(call.width);
    const size_t sourceStride = call.sourceStride ? call.sourceStride : sourceLine;
    const size_t destinationStride =
        call.destinationStride ? call.destinationStride : destinationLine;
    std::vector<unsigned char> referenceSource(call.sourceSize + kSlack, 0);
    std::memcpy(referenceSource.data(), source, call.sourceSize);
    std::vector<unsigned char> expected(call.destinationSize + kSlack, fill);
    object->ConvertFiltered(call.options.filter, referenceSource.data(), call.width, call.height,
                            expected.data(), call.width, call.height, call.width, call.height,
                            ConversionFlagsFor(call.options),
                            static_cast<uint32_t>(destinationStride - destinationLine), nullptr,
                            nullptr, static_cast<uint32_t>(sourceStride - sourceLine));
    for (size_t i = 0; i < call.destinationSize; ++i) {
        if (destination[i] != expected[i]) {
            Fail(call, "bytes differ from the converter object's", "first at " + std::to_string(i));
        }
    }
    for (size_t i = call.destinationSize; i < expected.size(); ++i) {
        if (expected[i] != fill) {
            Fail(call, "the converter object writes past the accepted buffer",
                 "at " + std::to_string(i));
        }
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kHeaderBytes) return -1;
    const Header header = Decode(data);
    Call call{};
    call.pair = Pairs()[header.pair % Pairs().size()];
    const PixelConverter& converter =
        *PixelTypeFactory::FindConverter(call.pair.from, call.pair.to);
    call.width = header.width % 81;
    call.height = header.height % 25;
    const size_t sourceLine = converter.GetSourceLineSize(call.width);
    const size_t destinationLine = converter.GetDestinationLineSize(call.width);
    call.sourceStride = StrideFor(header.sourceStride, sourceLine);
    call.destinationStride = StrideFor(header.destinationStride, destinationLine);
    call.footprint = GetFrameFootprint(converter, call.width, call.height, call.sourceStride,
                                       call.destinationStride);
    const FrameFootprint& footprint = call.footprint;
    const bool geometryOk = footprint.result.IsSuccess();
    // A refused geometry has no footprint: sizes then circle a frame of plain lines.
    call.sourceSize = SizeFor(
        header.sourceSize,
        geometryOk ? footprint.sourceBytes : std::max(call.sourceStride, sourceLine) * call.height);
    call.destinationSize =
        SizeFor(header.destinationSize,
                geometryOk ? footprint.destinationBytes
                           : std::max(call.destinationStride, destinationLine) * call.height);

    ConvertOptions& options = call.options;
    options.bayerTile = TileFor(header.tile);
    options.demosaic = static_cast<DemosaicMethod>(header.options & 3);
    options.secondFieldFirst = header.options & 4;
    options.threads = (header.options >> 3) % 5;
    call.filterMode = header.filter % 3;
    const std::unique_ptr<RGBFilter> filter = MakeFilter(header);
    options.filter = filter.get();

    const uint8_t* bytes = data + kHeaderBytes;
    const size_t count = size - kHeaderBytes;
    std::unique_ptr<unsigned char[]> source(new unsigned char[call.sourceSize]);
    for (size_t i = 0; i < call.sourceSize; ++i) source[i] = count ? bytes[i % count] : 0;
    std::unique_ptr<unsigned char[]> destination(new unsigned char[call.destinationSize]);
    std::memset(destination.get(), header.fill, call.destinationSize);

    const FrameResult result = ConvertFrame(
        {call.pair.from, call.width, call.height, call.sourceStride, source.get(), call.sourceSize},
        {call.pair.to, call.width, call.height, call.destinationStride, destination.get(),
         call.destinationSize},
        options);

    const bool fits = geometryOk && call.sourceSize >= footprint.sourceBytes &&
                      call.destinationSize >= footprint.destinationBytes;
    const bool flagsSayIt =
        options.demosaic == DemosaicMethod::kBlock || options.demosaic == DemosaicMethod::kBilinear;
    const uint32_t tile = options.bayerTile;
    const bool oneTile = tile == kBayerTileGRBG || tile == kBayerTileGBRG ||
                         tile == kBayerTileRGGB || tile == kBayerTileBGGR;
    if (!result) {
        if (result.message.empty()) Fail(call, "refused without a message");
        if (fits && flagsSayIt && oneTile) Fail(call, "refused a valid call", result.message);
        for (size_t i = 0; i < call.destinationSize; ++i) {
            if (destination[i] != header.fill) Fail(call, "a refused call wrote its destination");
        }
        return 0;
    }
    // The flags word has no bits for the other methods: their converter object, on
    // generous buffers, is the reference, and it writes exactly the frame (which the
    // registered converter's footprint may exceed by a line).
    if (!flagsSayIt) {
        CompareWithDemosaicObject(call, header.fill, source.get(), destination.get());
        return 0;
    }
    if (!fits) Fail(call, "accepted a call whose buffers miss its footprint");

    std::vector<unsigned char> referenceSource(call.sourceSize + kSlack, 0);
    std::memcpy(referenceSource.data(), source.get(), call.sourceSize);
    std::vector<unsigned char> expected(
        std::max(call.destinationSize, footprint.destinationBytes) + kSlack, header.fill);
    const size_t sourceStride = call.sourceStride ? call.sourceStride : footprint.sourceLineBytes;
    const size_t destinationStride =
        call.destinationStride ? call.destinationStride : footprint.destinationLineBytes;
    unsigned char* scratch = nullptr;
    uint32_t scratchSize = 0;
    converter.ConvertFiltered(
        options.filter, referenceSource.data(), call.width, call.height, expected.data(),
        call.width, call.height, call.width, call.height, ConversionFlagsFor(options),
        static_cast<uint32_t>(destinationStride - footprint.destinationLineBytes), &scratch,
        &scratchSize, static_cast<uint32_t>(sourceStride - footprint.sourceLineBytes));
    delete[] scratch;

    for (size_t i = 0; i < call.destinationSize; ++i) {
        if (destination[i] != expected[i]) {
            Fail(call, "bytes differ from the converter's own call",
                 "first at " + std::to_string(i));
        }
    }
    for (size_t i = footprint.destinationBytes; i < expected.size(); ++i) {
        if (expected[i] != header.fill) {
            Fail(call, "the converter's own call writes past the footprint",
                 "at " + std::to_string(i));
        }
    }
    return 0;
}
