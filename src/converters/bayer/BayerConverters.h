#pragma once

// Bayer mosaics (one red, green or blue sample per pixel in a repeating 2x2 tile) to the
// colour outputs.
//
// Two methods, chosen per call by the conversion flags:
//  - block method: each 2x2 block gives one colour, written to its four pixels;
//  - neighbourhood method (flag 0x100): each pixel is interpolated bilinearly from its 3x3
//    neighbourhood. The first and last line pairs of the image, and images narrower than
//    3 pixels, still use the block method.
// The tile pattern comes from the flags too (0x10 G R / B G, 0x20 G B / R G,
// 0x40 R G / G B, 0x80 B G / G R; the highest set bit wins), and the row parity from the
// absolute line index in the conversion context, so a conversion may start at any line.
//
// Samples are shifted down to 8 bits once, on entry, and only their low 8 bits are kept,
// so all means are of 8-bit values and a sample above the declared depth wraps.
//
// The converter consumes two lines per call. An odd last line is converted together with
// the line before it, and that writes two destination lines: the last destination line
// AND THE LINE AFTER IT. The destination of an odd-height conversion therefore needs room
// for one extra line (for planar output: the destination height given to the conversion
// must count that line, or the extra line lands in the next plane).

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/Types.h"
#include "converters/bayer/BayerKernels.h"
#include "converters/bayer/BayerRows.h"
#include "converters/common/KernelSupport.h"
#include "converters/common/OutputPolicies.h"
#include "converters/common/RowCall.h"

namespace ZnConvertersLib {

using BayerDetail::BayerRgb;
using BayerDetail::BayerWindow;

// The per-pixel rules of the neighbourhood method and the stores both methods share. It
// takes the filter tables from the conversion context once per line pair; each rule
// filters its colour and writes one pixel. Being final, calls through it are direct and
// inlined into the row loops.
template <class Output>
class BayerKernel final {
public:
    explicit BayerKernel(const ConversionContext& context) : mTables(ActiveFilterTables(context)) {}
    virtual ~BayerKernel() = default;

    // Rule 0: centre is a red sample.
    virtual void RedSite(const LineWriter<Output>& out, std::ptrdiff_t i,
                         const BayerWindow& w) const {
        Apply<BayerDetail::kRedSite>(out, i, w);
    }
    // Rule 1: centre is a green sample on a row of greens and blues.
    virtual void GreenSiteOnBlueRow(const LineWriter<Output>& out, std::ptrdiff_t i,
                                    const BayerWindow& w) const {
        Apply<BayerDetail::kGreenSiteOnBlueRow>(out, i, w);
    }
    // Rule 2: centre is a green sample on a row of greens and reds.
    virtual void GreenSiteOnRedRow(const LineWriter<Output>& out, std::ptrdiff_t i,
                                   const BayerWindow& w) const {
        Apply<BayerDetail::kGreenSiteOnRedRow>(out, i, w);
    }
    // Rule 3: centre is a blue sample.
    virtual void BlueSite(const LineWriter<Output>& out, std::ptrdiff_t i,
                          const BayerWindow& w) const {
        Apply<BayerDetail::kBlueSite>(out, i, w);
    }

    template <int Site>
    void Apply(const LineWriter<Output>& out, std::ptrdiff_t i, const BayerWindow& w) const {
        Store(out, i, BayerDetail::Interpolate<Site>(w));
    }
    void Store(const LineWriter<Output>& out, std::ptrdiff_t i, const BayerRgb& c) const {
        out.StoreFiltered(i, mTables, static_cast<uint8_t>(c.r), static_cast<uint8_t>(c.g),
                          static_cast<uint8_t>(c.b));
    }
    // Pixels i and i+1 of one line, filtered once.
    void StorePair(const LineWriter<Output>& out, std::ptrdiff_t i, const BayerRgb& c) const {
        const uint8_t r = mTables.red[c.r], g = mTables.green[c.g], b = mTables.blue[c.b];
        out.Store(i, r, g, b);
        out.Store(i + 1, r, g, b);
    }

    const FilterTables8& Tables() const { return mTables; }

private:
    FilterTables8 mTables;
};

// Sample is unsigned char for 8-bit mosaics and unsigned short (little-endian words) for
// the deeper ones; sourceShift brings a sample to 8 bits (bits per sample − 8).
template <class Sample, class Output>
class BayerTo : public UnitGranularityConverter {
    static_assert(Output::kIsColour, "Bayer mosaics convert to colour outputs");

public:
    BayerTo(const int64& sourceTypeID, const int64& destinationTypeID, uint32_t sourcePixelSize,
            uint32_t destinationPixelSize, uint32_t sourceShift)
        : UnitGranularityConverter(sourceTypeID, destinationTypeID, sourcePixelSize,
                                   destinationPixelSize),
          mSourceShift(sourceShift) {}

    uint32_t GetSourceShift() const { return mSourceShift; }

    // The descriptor says 1, but every kernel call consumes a pair of lines.
    uint32_t GetLineGranularity() const override { return 2; }

    // Odd last line: converted with the line before it (row parity of that line), which
    // writes the given destination line and the one after it. Code 26 when the source has
    // fewer than 2 lines.
    ZnUtilsLib::Result ConvertRemainderLine(const unsigned char* source, unsigned char* destination,
                                            uint32_t width) const override {
        return BayerDetail::ConvertWithLineBefore(source, [&](const unsigned char* pair) {
            return ConvertBlockPair(pair, destination, width);
        });
    }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        if ((context->flags & BayerDetail::kNeighbourhoodFlag) != 0) {
            return ConvertNeighbourhoodPair(source, destination, width);
        }
        return ConvertBlockPair(source, destination, width);
    }

    // Block method on source lines y, y+1 (y = the context's current line) into the
    // destination line given and the one after it.
    virtual ZnUtilsLib::Result ConvertBlockPair(const unsigned char* source,
                                                unsigned char* destination, uint32_t width) const {
        KernelContextScope context;
        const Pair pair(*context, source, destination);
        if (mSourceShift == 0) {
            BlockPair<false>(pair, width);
        } else {
            BlockPair<true>(pair, width);
        }
        return ZnUtilsLib::Result();
    }

    // Neighbourhood method on source lines y, y+1, reading lines y-1 and y+2 as well. The
    // first and last pairs of the image have no such lines and are block-converted, as
    // are images narrower than 3 pixels.
    virtual ZnUtilsLib::Result ConvertNeighbourhoodPair(const unsigned char* source,
                                                        unsigned char* destination,
                                                        uint32_t width) const {
        KernelContextScope context;
        const uint32_t y = context->currentLine;
        const uint32_t height = context->sourceHeight;
        if (y == 0 || y == height - 2 || y == height - 1 || width < 3) {
            return ConvertBlockPair(source, destination, width);
        }
        const Pair pair(*context, source, destination);
        if (mSourceShift == 0) {
            NeighbourhoodPair<false>(pair, width);
        } else {
            NeighbourhoodPair<true>(pair, width);
        }
        return ZnUtilsLib::Result();
    }

private:
    // What one line pair call takes from the context.
    struct Pair {
        Pair(const ConversionContext& context, const unsigned char* source,
             unsigned char* destination)
            : kernel(context),
              out0(destination, context),
              out1(destination + context.destinationStride, context),
              top(source),
              stride(context.sourceStride),
              layout(BayerDetail::kBlockLayout[BayerDetail::PatternFromFlags(context.flags)]
                                              [context.currentLine & 1u][0]) {}
        BayerKernel<Output> kernel;
        LineWriter<Output> out0;
        LineWriter<Output> out1;
        const unsigned char* top;
        uint32_t stride;
        int layout;

        // Output line 0 or 1 of the pair for the vector row.
        RowOutput Vector(int line) const {
            const LineWriter<Output>& out = line == 0 ? out0 : out1;
            return MakeRowOutput<Output>(out.Line(), out.PlaneSize(), kernel.Tables());
        }
    };

    // The block method reads no line outside its pair.
    BayerLines Lines(const Pair& pair, bool neighbourhood) const {
        const std::size_t stride = pair.stride;
        const unsigned char* bottom = pair.top + stride;
        return {neighbourhood ? pair.top - stride : pair.top,
                pair.top,
                bottom,
                neighbourhood ? bottom + stride : bottom,
                mSourceShift,
                std::is_same_v<Sample, unsigned short>};
    }

    template <bool kShifted>
    void BlockPair(const Pair& pair, uint32_t width) const {
        switch (pair.layout) {
            case 0:
                BlockPairLayout<0, kShifted>(pair, width);
                break;
            case 1:
                BlockPairLayout<1, kShifted>(pair, width);
                break;
            case 2:
                BlockPairLayout<2, kShifted>(pair, width);
                break;
            default:
                BlockPairLayout<3, kShifted>(pair, width);
                break;
        }
    }

    template <int Layout, bool kShifted>
    void BlockPairLayout(const Pair& pair, uint32_t width) const {
        using Row = BayerDetail::BayerRow<Sample, kShifted>;
        const Row top(pair.top, mSourceShift);
        const Row bottom(pair.top + pair.stride, mSourceShift);
        const uint32_t done = BayerVectorRow(BayerMethod::kBlock, Layout, Lines(pair, false),
                                             pair.Vector(0), pair.Vector(1), width);
        BayerDetail::BlockPairRows<Layout>(top, bottom, pair.kernel, pair.out0, pair.out1, done,
                                           width);
    }

    template <bool kShifted>
    void NeighbourhoodPair(const Pair& pair, uint32_t width) const {
        switch (pair.layout) {
            case 0:
                NeighbourhoodPairLayout<0, kShifted>(pair, width);
                break;
            case 1:
                NeighbourhoodPairLayout<1, kShifted>(pair, width);
                break;
            case 2:
                NeighbourhoodPairLayout<2, kShifted>(pair, width);
                break;
            default:
                NeighbourhoodPairLayout<3, kShifted>(pair, width);
                break;
        }
    }

    template <int Layout, bool kShifted>
    void NeighbourhoodPairLayout(const Pair& pair, uint32_t width) const {
        using Row = BayerDetail::BayerRow<Sample, kShifted>;
        const Row above(pair.top - pair.stride, mSourceShift);
        const Row top(pair.top, mSourceShift);
        const Row bottom(pair.top + pair.stride, mSourceShift);
        const Row below(pair.top + 2 * static_cast<std::size_t>(pair.stride), mSourceShift);
        const uint32_t done =
            BayerVectorRow(BayerMethod::kNeighbourhoodInner, Layout, Lines(pair, true),
                           pair.Vector(0), pair.Vector(1), (width - 2) >> 1);
        BayerDetail::NeighbourhoodPairRows<Layout>(above, top, bottom, below, pair.kernel,
                                                   pair.out0, pair.out1, done, width);
    }

    uint32_t mSourceShift;
};

}  // namespace ZnConvertersLib
