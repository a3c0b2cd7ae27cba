// The reference lines of the better demosaicing methods, one pixel at a time from the
// mirrored samples, and the line driver that prefers the vector lines.
#include "converters/bayer/Demosaic.h"

#include <cstdlib>

#include "converters/bayer/DemosaicKernels.h"
#include "converters/bayer/DemosaicPlain.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {
namespace Demosaic {
namespace {

constexpr int kGreen = 1;

struct Rgb {
    int32_t c[3];
};

// Malvar, He and Cutler's 5x5 filters: the bilinear estimate corrected by the Laplacian
// of the centre's own colour, which follows the edges bilinear blurs across.
Rgb GradientCorrected(const Samples& s, const int (&colour)[2][2], int64_t x, int64_t y) {
    const auto at = [&](int dx, int dy) { return s.Mirrored(x + dx, y + dy); };
    const int32_t most = s.Most(), c = at(0, 0);
    const int32_t h1 = at(-1, 0) + at(1, 0), v1 = at(0, -1) + at(0, 1);
    const int32_t h2 = at(-2, 0) + at(2, 0), v2 = at(0, -2) + at(0, 2);
    const int32_t diag = at(-1, -1) + at(1, -1) + at(-1, 1) + at(1, 1);
    const int site = colour[y & 1][x & 1];
    Rgb out;
    out.c[site] = c;
    if (site == kGreen) {
        out.c[colour[y & 1][(x + 1) & 1]] =
            Finish(10 * c + 8 * h1 - 2 * diag - 2 * h2 + v2, 4, most);
        out.c[colour[(y + 1) & 1][x & 1]] =
            Finish(10 * c + 8 * v1 - 2 * diag - 2 * v2 + h2, 4, most);
    } else {
        out.c[kGreen] = Finish(4 * c + 2 * (h1 + v1) - (h2 + v2), 3, most);
        out.c[2 - site] = Finish(12 * c + 4 * diag - 3 * (h2 + v2), 4, most);
    }
    return out;
}

// Hamilton and Adams: green from the direction whose gradient (of green, and of the
// centre colour's second difference) is clearly smaller, from both when neither is.
int32_t EdgeDirectedGreen(const Samples& s, const int (&colour)[2][2], int64_t x, int64_t y) {
    const auto at = [&](int dx, int dy) { return s.Mirrored(x + dx, y + dy); };
    const int32_t c = at(0, 0);
    if (colour[y & 1][x & 1] == kGreen) return c;
    const int32_t h2 = 2 * c - at(-2, 0) - at(2, 0), v2 = 2 * c - at(0, -2) - at(0, 2);
    const int32_t dh = std::abs(at(-1, 0) - at(1, 0)) + std::abs(h2);
    const int32_t dv = std::abs(at(0, -1) - at(0, 1)) + std::abs(v2);
    const int32_t gh = 2 * (at(-1, 0) + at(1, 0)) + h2, gv = 2 * (at(0, -1) + at(0, 1)) + v2;
    const int32_t sum = 2 * dh < dv ? 2 * gh : 2 * dv < dh ? 2 * gv : gh + gv;
    return Finish(sum, 3, s.Most());
}

// Red and blue as green plus the mean colour difference of their nearest sites.
Rgb EdgeDirected(const Samples& s, const int (&colour)[2][2], int64_t x, int64_t y) {
    const auto difference = [&](int dx, int dy) {
        return s.Mirrored(x + dx, y + dy) - EdgeDirectedGreen(s, colour, x + dx, y + dy);
    };
    const int32_t most = s.Most(), g = EdgeDirectedGreen(s, colour, x, y);
    const int site = colour[y & 1][x & 1];
    Rgb out;
    out.c[kGreen] = g;
    if (site == kGreen) {
        out.c[colour[y & 1][(x + 1) & 1]] =
            Finish(2 * g + difference(-1, 0) + difference(1, 0), 1, most);
        out.c[colour[(y + 1) & 1][x & 1]] =
            Finish(2 * g + difference(0, -1) + difference(0, 1), 1, most);
    } else {
        out.c[site] = s.Mirrored(x, y);
        out.c[2 - site] = Finish(
            4 * g + difference(-1, -1) + difference(1, -1) + difference(-1, 1) + difference(1, 1),
            2, most);
    }
    return out;
}

}  // namespace

uint32_t PixelBytes(Store store) {
    switch (store) {
        case Store::kRGB16:
            return 2;
        case Store::kRGB24:
        case Store::kBGR24:
            return 3;
        case Store::kRGB32:
        case Store::kBGR32:
            return 4;
        case Store::kPlanar24:
            return 1;
        default:
            return 6;
    }
}

bool Balances(const Job& job) {
    if (job.filter == nullptr || IsDefaultFilter(*job.filter)) return false;
    if (job.form.words) return true;
    const RGBFilter& f = *job.filter;
    for (uint32_t v = 0; v < 256; ++v) {
        if (f.GetRedValue8(v) != v || f.GetGreenValue8(v) != v || f.GetBlueValue8(v) != v) {
            return true;
        }
    }
    return false;
}

void PlainLine(const Job& job, uint32_t y) {
    const Samples samples(job);
    const int(&colour)[2][2] = kTileColour[job.pattern];
    unsigned char* line = job.destination + y * job.destinationStride;
    const uint32_t planeSize = PlaneSize(job), bits = job.form.bits;
    const bool wide = IsWide(job.store);
    for (uint32_t x = 0; x < job.width; ++x) {
        const Rgb c = job.method == DemosaicMethod::kEdgeDirected
                          ? EdgeDirected(samples, colour, x, y)
                          : GradientCorrected(samples, colour, x, y);
        StorePixel(job.store, line, planeSize, x, ToOutputDepth(c.c[0], bits, wide),
                   ToOutputDepth(c.c[1], bits, wide), ToOutputDepth(c.c[2], bits, wide));
    }
}

void ConvertLines(const Job& job, uint32_t first, uint32_t end) {
    if (first >= end || VectorLines(job, first, end)) return;
    for (uint32_t y = first; y < end; ++y) PlainLine(job, y);
}

}  // namespace Demosaic
}  // namespace ZnConvertersLib
