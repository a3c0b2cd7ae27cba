#pragma once

// Row loops of the Bayer demosaicer. Each loop is a template over the layout of the 2x2
// block at the start of the line pair, so a pair of lines runs one loop with every colour
// position fixed at compile time: no per-pixel test of the tile pattern remains.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "converters/common/KernelSupport.h"

namespace ZnConvertersLib {
namespace BayerDetail {

// Layouts of a 2x2 block, named by top row / bottom row.
constexpr int kLayoutGRBG = 0;
constexpr int kLayoutGBRG = 1;
constexpr int kLayoutRGGB = 2;
constexpr int kLayoutBGGR = 3;

// [pattern][row parity][column parity] -> layout of the block whose top-left sample sits
// at a position of that parity in an image of that pattern.
constexpr int kBlockLayout[4][2][2] = {
    {{kLayoutGRBG, kLayoutRGGB}, {kLayoutBGGR, kLayoutGBRG}},
    {{kLayoutGBRG, kLayoutBGGR}, {kLayoutRGGB, kLayoutGRBG}},
    {{kLayoutRGGB, kLayoutGRBG}, {kLayoutGBRG, kLayoutBGGR}},
    {{kLayoutBGGR, kLayoutGBRG}, {kLayoutGRBG, kLayoutRGGB}},
};

// With this numbering, moving a block one column over (or one row down) is a fixed XOR,
// which lets a loop derive the layouts of its neighbouring blocks at compile time.
constexpr int NextColumnLayout(int layout) {
    return layout ^ 2;
}
constexpr int NextRowLayout(int layout) {
    return layout ^ 3;
}

constexpr bool LayoutTableIsClosedUnderMoves() {
    for (int p = 0; p < 4; ++p) {
        for (int r = 0; r < 2; ++r) {
            if (kBlockLayout[p][r][1] != NextColumnLayout(kBlockLayout[p][r][0])) return false;
            if (kBlockLayout[p][1 - r][0] != NextRowLayout(kBlockLayout[p][r][0])) return false;
        }
    }
    return true;
}
static_assert(LayoutTableIsClosedUnderMoves(), "layout moves must agree with the table");

// Tile pattern code from the conversion flags: the highest of the four one-hot bits wins.
inline uint32_t PatternFromFlags(uint32_t flags) {
    uint32_t pattern = 0;
    if (flags & 0x20u) pattern = 1;
    if (flags & 0x40u) pattern = 2;
    if (flags & 0x80u) pattern = 3;
    return pattern;
}

constexpr uint32_t kNeighbourhoodFlag = 0x100;

// The odd last line of a mosaic goes with the line before it (and that line's row parity):
// convertPair(source of that line) writes the given destination line and the one after
// it. Code 26 when the source has fewer than 2 lines.
template <class ConvertPair>
ZnUtilsLib::Result ConvertWithLineBefore(const unsigned char* source, ConvertPair convertPair) {
    KernelContextScope context;
    if (context->sourceHeight < 2) return ZnUtilsLib::Result(ResultCode::kNotSupported);
    const uint32_t line = context->currentLine;
    context->currentLine = line - 1;
    const ZnUtilsLib::Result result = convertPair(source - context->sourceStride);
    context->currentLine = line;
    return result;
}

// Interpolation rules of the neighbourhood method, by the colour of the centre sample.
constexpr int kRedSite = 0;
constexpr int kGreenSiteOnBlueRow = 1;
constexpr int kGreenSiteOnRedRow = 2;
constexpr int kBlueSite = 3;

// [layout][position] -> rule, positions top-left, top-right, bottom-left, bottom-right.
constexpr int kSiteOf[4][4] = {
    {kGreenSiteOnRedRow, kRedSite, kBlueSite, kGreenSiteOnBlueRow},  // G R / B G
    {kGreenSiteOnBlueRow, kBlueSite, kRedSite, kGreenSiteOnRedRow},  // G B / R G
    {kRedSite, kGreenSiteOnRedRow, kGreenSiteOnBlueRow, kBlueSite},  // R G / G B
    {kBlueSite, kGreenSiteOnBlueRow, kGreenSiteOnRedRow, kRedSite},  // B G / G R
};

struct BayerRgb {
    uint32_t r, g, b;
};

// 3x3 neighbourhood of shifted 8-bit samples, P at the centre.
struct BayerWindow {
    uint32_t ul, u, ur;
    uint32_t l, p, r;
    uint32_t dl, d, dr;
};

// One colour for a whole 2x2 block: the red and blue samples as they are, the truncated
// mean of the two greens.
template <int Layout>
inline BayerRgb BlockColour(uint32_t t0, uint32_t t1, uint32_t b0, uint32_t b1) {
    static_assert(Layout >= 0 && Layout < 4, "four block layouts");
    if constexpr (Layout == kLayoutGRBG) return {t1, (t0 + b1) >> 1, b0};
    if constexpr (Layout == kLayoutGBRG) return {b0, (t0 + b1) >> 1, t1};
    if constexpr (Layout == kLayoutRGGB) return {t0, (t1 + b0) >> 1, b1};
    if constexpr (Layout == kLayoutBGGR) return {b1, (t1 + b0) >> 1, t0};
}

template <int Site>
inline BayerRgb Interpolate(const BayerWindow& w) {
    static_assert(Site >= 0 && Site < 4, "four sites");
    if constexpr (Site == kRedSite) {
        return {w.p, (w.u + w.l + w.r + w.d) >> 2, (w.ul + w.ur + w.dl + w.dr) >> 2};
    }
    if constexpr (Site == kGreenSiteOnBlueRow) return {(w.u + w.d) >> 1, w.p, (w.l + w.r) >> 1};
    if constexpr (Site == kGreenSiteOnRedRow) return {(w.l + w.r) >> 1, w.p, (w.u + w.d) >> 1};
    if constexpr (Site == kBlueSite) {
        return {(w.ul + w.ur + w.dl + w.dr) >> 2, (w.u + w.l + w.r + w.d) >> 2, w.p};
    }
}

// One source line read as 8-bit values: each sample shifted right by the converter's
// shift and cut to its low 8 bits, so samples above the declared depth wrap (as all
// arithmetic downstream is on 8-bit values) instead of saturating.
template <class Sample, bool kShifted>
class BayerRow {
    static_assert(std::is_same_v<Sample, unsigned char> || std::is_same_v<Sample, unsigned short>,
                  "8-bit samples or 16-bit little-endian words");

public:
    BayerRow(const unsigned char* line, uint32_t shift) : mLine(line), mShift(shift) {}
    uint32_t operator[](std::ptrdiff_t x) const {
        uint32_t sample;
        if constexpr (std::is_same_v<Sample, unsigned char>) {
            sample = mLine[x];
        } else {
            sample = LoadLE16(mLine + 2 * x);
        }
        if constexpr (kShifted) return static_cast<uint8_t>(sample >> mShift);
        return static_cast<uint8_t>(sample);
    }

private:
    const unsigned char* mLine;
    uint32_t mShift;
};

// Block method for one line pair whose first block has layout Layout: every 2x2 block
// gives four identical pixels; an odd last column takes the colour of the block of the
// last two columns.
// Columns before `begin` (even) are already done.
template <int Layout, class Row, class Kernel, class Writer>
void BlockPairRows(const Row& top, const Row& bottom, const Kernel& kernel, const Writer& out0,
                   const Writer& out1, uint32_t begin, uint32_t width) {
    const std::ptrdiff_t even = static_cast<std::ptrdiff_t>(width & ~1u);
    for (std::ptrdiff_t x = begin; x < even; x += 2) {
        const BayerRgb c = BlockColour<Layout>(top[x], top[x + 1], bottom[x], bottom[x + 1]);
        kernel.StorePair(out0, x, c);
        kernel.StorePair(out1, x, c);
    }
    if ((width & 1u) != 0 && width >= 3) {
        const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(width) - 2;
        const BayerRgb c =
            BlockColour<NextColumnLayout(Layout)>(top[x], top[x + 1], bottom[x], bottom[x + 1]);
        kernel.Store(out0, x + 1, c);
        kernel.Store(out1, x + 1, c);
    }
}

// Neighbourhood method for one line pair (top = line y, bottom = line y+1) of an image
// interior, width >= 3. Edge pixels use the block rule, pairing each line with the line
// above it, which has the colour layout of the line below. Interior steps (two pixels
// each, from pixel 1) before `firstStep` are already done.
template <int Layout, class Row, class Kernel, class Writer>
void NeighbourhoodPairRows(const Row& above, const Row& top, const Row& bottom, const Row& below,
                           const Kernel& kernel, const Writer& out0, const Writer& out1,
                           uint32_t firstStep, uint32_t width) {
    constexpr int kLower = NextRowLayout(Layout);  // layout with line y+1 on top
    constexpr int kTopEven = kSiteOf[Layout][0];
    constexpr int kTopOdd = kSiteOf[Layout][1];
    constexpr int kBottomEven = kSiteOf[Layout][2];
    constexpr int kBottomOdd = kSiteOf[Layout][3];

    // Pixel 0 from the two samples before the line start: they have the colour phase of
    // columns 0 and 1, and on an interior pair they lie inside the image.
    kernel.Store(out0, 0, BlockColour<Layout>(top[-2], top[-1], above[-2], above[-1]));
    kernel.Store(out1, 0, BlockColour<kLower>(bottom[-2], bottom[-1], top[-2], top[-1]));

    // Columns x-1 and x carried over, x+1 and x+2 read once per step: each sample enters
    // the window once and is shifted once.
    const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(firstStep);
    uint32_t a0 = above[c], a1 = above[c + 1];
    uint32_t t0 = top[c], t1 = top[c + 1];
    uint32_t b0 = bottom[c], b1 = bottom[c + 1];
    uint32_t d0 = below[c], d1 = below[c + 1];
    const uint32_t steps = (width - 2) >> 1;
    for (uint32_t i = firstStep; i < steps; ++i) {
        const std::ptrdiff_t x = 2 * static_cast<std::ptrdiff_t>(i) + 1;
        const uint32_t a2 = above[x + 1], a3 = above[x + 2];
        const uint32_t t2 = top[x + 1], t3 = top[x + 2];
        const uint32_t b2 = bottom[x + 1], b3 = bottom[x + 2];
        const uint32_t d2 = below[x + 1], d3 = below[x + 2];
        kernel.template Apply<kTopOdd>(out0, x, {a0, a1, a2, t0, t1, t2, b0, b1, b2});
        kernel.template Apply<kTopEven>(out0, x + 1, {a1, a2, a3, t1, t2, t3, b1, b2, b3});
        kernel.template Apply<kBottomOdd>(out1, x, {t0, t1, t2, b0, b1, b2, d0, d1, d2});
        kernel.template Apply<kBottomEven>(out1, x + 1, {t1, t2, t3, b1, b2, b3, d1, d2, d3});
        a0 = a2, a1 = a3, t0 = t2, t1 = t3, b0 = b2, b1 = b3, d0 = d2, d1 = d3;
    }

    // One tail pixel for an even width, two for an odd one.
    const std::ptrdiff_t x = 2 * static_cast<std::ptrdiff_t>(steps) + 1;
    kernel.Store(out0, x, BlockColour<Layout>(top[x - 1], top[x], above[x - 1], above[x]));
    kernel.Store(out1, x, BlockColour<kLower>(bottom[x - 1], bottom[x], top[x - 1], top[x]));
    if ((width & 1u) != 0) {
        kernel.Store(
            out0, x + 1,
            BlockColour<NextColumnLayout(Layout)>(top[x], top[x + 1], above[x], above[x + 1]));
        kernel.Store(
            out1, x + 1,
            BlockColour<NextColumnLayout(kLower)>(bottom[x], bottom[x + 1], top[x], top[x + 1]));
    }
}

}  // namespace BayerDetail
}  // namespace ZnConvertersLib
