#pragma once

// Plain pieces of the better demosaicing methods (Demosaic.h), shared by the reference
// line and the vector lines: the mirrored, balanced samples, the rounding rule and the
// scalar store of a finished pixel.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ZnConvertersLib/RGBFilter.h"
#include "converters/bayer/Demosaic.h"
#include "converters/common/KernelSupport.h"
#include "converters/common/OutputPolicies.h"

namespace ZnConvertersLib {
namespace Demosaic {

// Index i of a line of n samples mirrored about both ends without repeating them
// (-1 -> 1, n -> n - 2), which keeps the colour of every site for any i.
inline uint32_t Reflect(int64_t i, uint32_t n) {
    // Inside, or one reflection away: no division on the paths every line takes.
    if (i >= 0 && i < n) return static_cast<uint32_t>(i);
    if (i < 0 && -i < n) return static_cast<uint32_t>(-i);
    if (i >= n && i < 2 * static_cast<int64_t>(n) - 1)
        return static_cast<uint32_t>(2 * (n - 1) - i);
    if (n == 1) return 0;
    const int64_t period = 2 * (static_cast<int64_t>(n) - 1);
    i %= period;
    if (i < 0) i += period;
    return static_cast<uint32_t>(i < n ? i : period - i);
}

// (v + half) >> shift, negative values to 0, capped at most: the rounding of every
// weighted sum of the methods.
inline int32_t Finish(int32_t v, int shift, int32_t most) {
    return std::min(std::max(v + (1 << (shift - 1)), 0) >> shift, most);
}

// Whether the job's filter changes samples (the library's default filters never do, nor
// 8-bit tables that map every value to itself).
bool Balances(const Job& job);

// The samples as the methods see them.
class Samples {
public:
    explicit Samples(const Job& job)
        : mJob(job), mMost((1 << job.form.bits) - 1), mBalance(Balances(job)) {}

    int32_t Most() const { return mMost; }
    bool Balanced() const { return mBalance; }

    // Sample x of line y, both inside the frame.
    int32_t At(uint32_t x, uint32_t y) const {
        const unsigned char* line = mJob.source + y * mJob.sourceStride;
        int32_t v =
            mJob.form.words
                ? std::min<int32_t>(
                      static_cast<int32_t>(LoadLE16(line + 2 * size_t{x}) >> mJob.form.down), mMost)
                : line[x];
        return mBalance ? Balance(v, kTileColour[mJob.pattern][y & 1][x & 1]) : v;
    }
    int32_t Mirrored(int64_t x, int64_t y) const {
        return At(Reflect(x, mJob.width), Reflect(y, mJob.height));
    }

private:
    int32_t Balance(int32_t v, int colour) const {
        const RGBFilter& f = *mJob.filter;
        if (!mJob.form.words) {
            return colour == 0   ? f.GetRedValue8(v)
                   : colour == 1 ? f.GetGreenValue8(v)
                                 : f.GetBlueValue8(v);
        }
        const uint32_t i = std::min<uint32_t>(v, f.GetEntryCount() - 1);
        const int32_t b = colour == 0   ? f.GetRedValue16(i)
                          : colour == 1 ? f.GetGreenValue16(i)
                                        : f.GetBlueValue16(i);
        return std::min(b, mMost);
    }

    const Job& mJob;
    int32_t mMost;
    bool mBalance;
};

// A value at the sample depth brought to the output's: rounded to 8 bits, or scaled to
// the full 16-bit range.
inline uint32_t ToOutputDepth(int32_t v, uint32_t bits, bool wide) {
    if (wide) return static_cast<uint32_t>(v) << (16 - bits);
    if (bits == 8) return static_cast<uint32_t>(v);
    return std::min<uint32_t>((static_cast<uint32_t>(v) + (1u << (bits - 9))) >> (bits - 8), 255);
}

// Pixel x of a destination line, from values at the output's depth.
inline void StorePixel(Store store, unsigned char* line, uint32_t planeSize, std::ptrdiff_t x,
                       uint32_t r, uint32_t g, uint32_t b) {
    const auto r8 = static_cast<uint8_t>(r), g8 = static_cast<uint8_t>(g),
               b8 = static_cast<uint8_t>(b);
    switch (store) {
        case Store::kRGB16:
            return OutputRGB16::Store(line, planeSize, x, r8, g8, b8);
        case Store::kRGB24:
            return OutputRGB24::Store(line, planeSize, x, r8, g8, b8);
        case Store::kBGR24:
            return OutputBGR24::Store(line, planeSize, x, r8, g8, b8);
        case Store::kRGB32:
            return OutputRGB32::Store(line, planeSize, x, r8, g8, b8);
        case Store::kBGR32:
            return OutputBGR32::Store(line, planeSize, x, r8, g8, b8);
        case Store::kPlanar24:
            return OutputPlanar24::Store(line, planeSize, x, r8, g8, b8);
        case Store::kRGB48:
        case Store::kBGR48: {
            unsigned char* p = line + 6 * x;
            const bool blueFirst = store == Store::kBGR48;
            OutputDetail::StoreLE16(p, blueFirst ? b : r);
            OutputDetail::StoreLE16(p + 2, g);
            OutputDetail::StoreLE16(p + 4, blueFirst ? r : b);
            return;
        }
    }
}

inline uint32_t PlaneSize(const Job& job) {
    return job.store == Store::kPlanar24 ? static_cast<uint32_t>(job.destinationStride * job.height)
                                         : 0;
}

}  // namespace Demosaic
}  // namespace ZnConvertersLib
