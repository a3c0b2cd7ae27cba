#pragma once

// Bayer mosaics of 10 to 16 bits to 16 bits a channel (RGB48 or BGR48), keeping their
// depth: the block and neighbourhood methods of BayerTo, with the same pairs, edges and
// odd last line, but on the samples at their own depth instead of their top eight bits.
// Each result is scaled to the full 16-bit range (value << (16 - bits)).
//
// Samples above the declared depth saturate. A filter applies its 16-bit tables, indexed
// by the sample at its depth, so it should have the source's bit size; a larger index
// takes the table's last entry. The library's default filters are identities and are
// not looked up. Without a filter, vector rows (DeepBayerKernels.h) convert the bulk of
// each pair and the plain rows finish it.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "converters/bayer/BayerRows.h"
#include "converters/bayer/DeepBayerKernels.h"
#include "converters/common/KernelSupport.h"

namespace ZnConvertersLib {
namespace DeepBayerDetail {

using BayerDetail::BayerRgb;
using BayerDetail::BayerWindow;

// One line of samples at their depth. Normalized sources hold them at the top of the word.
class DeepRow {
public:
    DeepRow(const unsigned char* line, uint32_t bits, bool normalized)
        : mLine(line), mMost((1u << bits) - 1), mDown(normalized ? 16 - bits : 0) {}
    uint32_t operator[](std::ptrdiff_t x) const {
        return std::min<uint32_t>(LoadLE16(mLine + 2 * x) >> mDown, mMost);
    }

private:
    const unsigned char* mLine;
    uint32_t mMost;
    uint32_t mDown;
};

struct DeepLine {
    unsigned char* line;
};

// Stores of the row loops: filter, scale, and three little-endian words a pixel.
template <bool kBlueFirst>
class DeepKernel {
public:
    DeepKernel(const ConversionContext& context, uint32_t bits)
        : mFilter(context.filter != nullptr && !IsDefaultFilter(*context.filter) ? context.filter
                                                                                 : nullptr),
          mLast(mFilter ? mFilter->GetEntryCount() - 1 : 0),
          mMost((1u << bits) - 1),
          mUp(16 - bits) {}

    void Store(const DeepLine& out, std::ptrdiff_t i, const BayerRgb& c) const {
        uint32_t r = c.r, g = c.g, b = c.b;
        if (mFilter != nullptr) {
            r = std::min<uint32_t>(mFilter->GetRedValue16(std::min(r, mLast)), mMost);
            g = std::min<uint32_t>(mFilter->GetGreenValue16(std::min(g, mLast)), mMost);
            b = std::min<uint32_t>(mFilter->GetBlueValue16(std::min(b, mLast)), mMost);
        }
        unsigned char* p = out.line + 6 * i;
        Word(p + (kBlueFirst ? 4 : 0), r << mUp);
        Word(p + 2, g << mUp);
        Word(p + (kBlueFirst ? 0 : 4), b << mUp);
    }
    void StorePair(const DeepLine& out, std::ptrdiff_t i, const BayerRgb& c) const {
        Store(out, i, c);
        Store(out, i + 1, c);
    }
    // The vector rows store samples as they are: a filter leaves them to the plain rows.
    bool Filtered() const { return mFilter != nullptr; }
    template <int Site>
    void Apply(const DeepLine& out, std::ptrdiff_t i, const BayerWindow& w) const {
        Store(out, i, BayerDetail::Interpolate<Site>(w));
    }

private:
    static void Word(unsigned char* p, uint32_t v) {
        p[0] = static_cast<unsigned char>(v);
        p[1] = static_cast<unsigned char>(v >> 8);
    }

    const RGBFilter* mFilter;
    uint32_t mLast;
    uint32_t mMost;
    uint32_t mUp;
};

}  // namespace DeepBayerDetail

template <bool kBlueFirst>
class DeepBayerTo : public UnitGranularityConverter {
public:
    DeepBayerTo(const int64& source, const int64& destination, uint32_t bits)
        : UnitGranularityConverter(source, destination, 2, 6),
          mBits(bits),
          mNormalized(PixelTypeBits::Has(source, PixelTypeBits::kNormalized)) {}

    uint32_t GetLineGranularity() const override { return 2; }

    // As BayerTo: the odd last line goes with the line before it, writing the line after.
    ZnUtilsLib::Result ConvertRemainderLine(const unsigned char* source, unsigned char* destination,
                                            uint32_t width) const override {
        return BayerDetail::ConvertWithLineBefore(source, [&](const unsigned char* pair) {
            KernelContextScope context;
            Pair(*context, pair, destination, width, false);
            return ZnUtilsLib::Result();
        });
    }

    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        KernelContextScope context;
        const uint32_t y = context->currentLine, height = context->sourceHeight;
        const bool neighbourhood = (context->flags & BayerDetail::kNeighbourhoodFlag) != 0 &&
                                   y != 0 && y != height - 2 && y != height - 1 && width >= 3;
        Pair(*context, source, destination, width, neighbourhood);
        return ZnUtilsLib::Result();
    }

private:
    void Pair(const ConversionContext& context, const unsigned char* source,
              unsigned char* destination, uint32_t width, bool neighbourhood) const {
        switch (BayerDetail::kBlockLayout[BayerDetail::PatternFromFlags(context.flags)]
                                         [context.currentLine & 1u][0]) {
            case 0:
                return PairOfLayout<0>(context, source, destination, width, neighbourhood);
            case 1:
                return PairOfLayout<1>(context, source, destination, width, neighbourhood);
            case 2:
                return PairOfLayout<2>(context, source, destination, width, neighbourhood);
            default:
                return PairOfLayout<3>(context, source, destination, width, neighbourhood);
        }
    }

    template <int Layout>
    void PairOfLayout(const ConversionContext& context, const unsigned char* source,
                      unsigned char* destination, uint32_t width, bool neighbourhood) const {
        using DeepBayerDetail::DeepRow;
        const std::size_t stride = context.sourceStride;
        const DeepBayerDetail::DeepKernel<kBlueFirst> kernel(context, mBits);
        const DeepBayerDetail::DeepLine out0{destination};
        const DeepBayerDetail::DeepLine out1{destination + context.destinationStride};
        const DeepRow top(source, mBits, mNormalized), bottom(source + stride, mBits, mNormalized);
        // The block method reads no line outside its pair.
        const unsigned char* const above = neighbourhood ? source - stride : source;
        const unsigned char* const below = neighbourhood ? source + 2 * stride : source + stride;
        const DeepBayerLines lines{above, source, source + stride, below, mBits, mNormalized};
        const bool vector = !kernel.Filtered();
        if (!neighbourhood) {
            const uint32_t done = vector
                                      ? DeepBayerVectorRow(BayerMethod::kBlock, Layout, lines,
                                                           kBlueFirst, out0.line, out1.line, width)
                                      : 0;
            BayerDetail::BlockPairRows<Layout>(top, bottom, kernel, out0, out1, done, width);
            return;
        }
        const uint32_t done =
            vector ? DeepBayerVectorRow(BayerMethod::kNeighbourhoodInner, Layout, lines, kBlueFirst,
                                        out0.line, out1.line, (width - 2) >> 1)
                   : 0;
        BayerDetail::NeighbourhoodPairRows<Layout>(DeepRow(above, mBits, mNormalized), top, bottom,
                                                   DeepRow(below, mBits, mNormalized), kernel, out0,
                                                   out1, done, width);
    }

    uint32_t mBits;
    bool mNormalized;
};

}  // namespace ZnConvertersLib
