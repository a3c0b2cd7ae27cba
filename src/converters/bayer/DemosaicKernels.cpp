// Vector lines of the better demosaicing methods, written once and compiled for every
// target (DemosaicKernels.h).
//
// Each mosaic line is decoded once into its even and odd columns, with mirrored samples
// beyond both ends, as lanes of T (16 bits for byte samples, 32 for deeper ones, so no
// weighted sum can overflow). The columns of a line are then two phases of one colour
// rule each: a vector of pairs computes both, with every neighbour a load at a fixed
// offset. Finished channels join back into pixel order (even values in the low half of
// each doubled lane) and are stored from three channel lines by the shared stores.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/bayer/DemosaicKernels.cpp"
#include "converters/bayer/DemosaicKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "converters/bayer/DemosaicPlain.h"
#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using Demosaic::Job;
using Demosaic::Samples;
using Demosaic::Store;

// Mirrored samples kept beyond each end of a line: the widest rule reaches two pixels,
// and green lines are computed one pair beyond the ends.
constexpr int64_t kPad = 4;
constexpr ptrdiff_t kPadPairs = kPad / 2;
constexpr int kGreen = 1;

// A line split into its columns: sample x is phase[x & 1][kPadPairs + floor(x / 2)].
template <class T>
struct PhaseRow {
    T* phase[2];
    T& At(int64_t x) const {
        const int64_t i = x + kPad;
        return phase[i & 1][i >> 1];
    }
};

// The samples at Dx, Dy from the pixels of one phase of pairs p ... p + N - 1, for rows
// centred at rows[2].
template <class D, int Phase>
struct Window {
    using T = hn::TFromD<D>;
    D d;
    const PhaseRow<T>* rows;
    ptrdiff_t p;
    template <int Dx, int Dy>
    HWY_INLINE hn::Vec<D> At() const {
        constexpr int x = Phase + Dx + static_cast<int>(kPad);
        return hn::LoadU(d, rows[Dy + 2].phase[x & 1] + p + x / 2);
    }
};

template <int Shift, class D, class V = hn::Vec<D>>
HWY_INLINE V Finish(D d, V v, V most) {
    using T = hn::TFromD<D>;
    return hn::Min(
        hn::ShiftRight<Shift>(hn::Max(hn::Add(v, hn::Set(d, T{1 << (Shift - 1)})), hn::Zero(d))),
        most);
}

// k * v by shifts and adds: constant multiplies are slow on some targets' widest vectors.
template <int K, class V>
HWY_INLINE V Times(V v) {
    static_assert(K == 2 || K == 3 || K == 4 || K == 8 || K == 10 || K == 12,
                  "a weight of the filters");
    if constexpr (K == 2) return hn::Add(v, v);
    if constexpr (K == 3) return hn::Add(hn::Add(v, v), v);
    if constexpr (K == 4) return hn::ShiftLeft<2>(v);
    if constexpr (K == 8) return hn::ShiftLeft<3>(v);
    if constexpr (K == 10) return hn::Add(hn::ShiftLeft<3>(v), hn::Add(v, v));
    if constexpr (K == 12) return hn::Add(hn::ShiftLeft<3>(v), hn::ShiftLeft<2>(v));
}

// The three values of a line's pixels by role: the colour that shares the line with
// green (X), green, and the other colour (Y); [0] even pixels, [1] odd.
template <class V>
struct Roles {
    V x[2], g[2], y[2];
};

// The three values of one phase.
template <class V>
struct Site {
    V x, g, y;
};

// Built whole: some targets cannot default-construct a vector inside an aggregate.
template <int GreenPhase, class V>
HWY_INLINE Roles<V> ByPhase(const Site<V>& green, const Site<V>& other) {
    const Site<V>& even = GreenPhase == 0 ? green : other;
    const Site<V>& odd = GreenPhase == 0 ? other : green;
    return Roles<V>{{even.x, odd.x}, {even.g, odd.g}, {even.y, odd.y}};
}

// Gradient-corrected filters at the green sites of a line (Phase): the colour sharing the
// line along it, the other across it.
template <int Phase, class D, class T = hn::TFromD<D>>
HWY_INLINE Site<hn::Vec<D>> GradientAtGreen(D d, const PhaseRow<T>* rows, ptrdiff_t p,
                                            hn::Vec<D> most) {
    const Window<D, Phase> w{d, rows, p};
    const auto c = w.template At<0, 0>();
    const auto h1 = hn::Add(w.template At<-1, 0>(), w.template At<1, 0>());
    const auto v1 = hn::Add(w.template At<0, -1>(), w.template At<0, 1>());
    const auto h2 = hn::Add(w.template At<-2, 0>(), w.template At<2, 0>());
    const auto v2 = hn::Add(w.template At<0, -2>(), w.template At<0, 2>());
    const auto diag = hn::Add(hn::Add(w.template At<-1, -1>(), w.template At<1, -1>()),
                              hn::Add(w.template At<-1, 1>(), w.template At<1, 1>()));
    const auto base = hn::Sub(Times<10>(c), Times<2>(diag));
    return {Finish<4>(d, hn::Add(hn::Sub(hn::Add(base, Times<8>(h1)), Times<2>(h2)), v2), most), c,
            Finish<4>(d, hn::Add(hn::Sub(hn::Add(base, Times<8>(v1)), Times<2>(v2)), h2), most)};
}

// ... and at its red or blue sites: green, and the opposite colour from the diagonals.
template <int Phase, class D, class T = hn::TFromD<D>>
HWY_INLINE Site<hn::Vec<D>> GradientAtOther(D d, const PhaseRow<T>* rows, ptrdiff_t p,
                                            hn::Vec<D> most) {
    const Window<D, Phase> w{d, rows, p};
    const auto c = w.template At<0, 0>();
    const auto cross1 = hn::Add(hn::Add(w.template At<-1, 0>(), w.template At<1, 0>()),
                                hn::Add(w.template At<0, -1>(), w.template At<0, 1>()));
    const auto cross2 = hn::Add(hn::Add(w.template At<-2, 0>(), w.template At<2, 0>()),
                                hn::Add(w.template At<0, -2>(), w.template At<0, 2>()));
    const auto diag = hn::Add(hn::Add(w.template At<-1, -1>(), w.template At<1, -1>()),
                              hn::Add(w.template At<-1, 1>(), w.template At<1, 1>()));
    return {c, Finish<3>(d, hn::Sub(hn::Add(Times<4>(c), Times<2>(cross1)), cross2), most),
            Finish<4>(d, hn::Sub(hn::Add(Times<12>(c), Times<4>(diag)), Times<3>(cross2)), most)};
}

// Gradient-corrected filters for both phases of a line whose green sites are GreenPhase.
template <int GreenPhase, class D, class T = hn::TFromD<D>>
HWY_INLINE Roles<hn::Vec<D>> GradientPairs(D d, const PhaseRow<T>* rows, ptrdiff_t p,
                                           hn::Vec<D> most) {
    return ByPhase<GreenPhase>(GradientAtGreen<GreenPhase>(d, rows, p, most),
                               GradientAtOther<1 - GreenPhase>(d, rows, p, most));
}

// Green at the non-green sites of a mosaic line: along the direction whose gradient is
// less than half the other's, else the mean of both estimates.
template <int GreenPhase, class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> EdgeGreen(D d, const PhaseRow<T>* rows, ptrdiff_t p, hn::Vec<D> most) {
    const Window<D, 1 - GreenPhase> w{d, rows, p};
    const auto c2 = hn::Add(w.template At<0, 0>(), w.template At<0, 0>());
    const auto h2 = hn::Sub(hn::Sub(c2, w.template At<-2, 0>()), w.template At<2, 0>());
    const auto v2 = hn::Sub(hn::Sub(c2, w.template At<0, -2>()), w.template At<0, 2>());
    const auto left = w.template At<-1, 0>(), right = w.template At<1, 0>();
    const auto up = w.template At<0, -1>(), down = w.template At<0, 1>();
    const auto dh = hn::Add(hn::Abs(hn::Sub(left, right)), hn::Abs(h2));
    const auto dv = hn::Add(hn::Abs(hn::Sub(up, down)), hn::Abs(v2));
    const auto gh = hn::Add(Times<2>(hn::Add(left, right)), h2);
    const auto gv = hn::Add(Times<2>(hn::Add(up, down)), v2);
    const auto sum = hn::IfThenElse(
        hn::Lt(hn::Add(dh, dh), dv), hn::Add(gh, gh),
        hn::IfThenElse(hn::Lt(hn::Add(dv, dv), dh), hn::Add(gv, gv), hn::Add(gh, gv)));
    return Finish<3>(d, sum, most);
}

// Red and blue at the green sites of a line (Phase) as green plus the mean colour
// difference of the two nearest sites of each; rows and greens are centred at [2].
template <int Phase, class D, class T = hn::TFromD<D>>
HWY_INLINE Site<hn::Vec<D>> EdgeAtGreen(D d, const PhaseRow<T>* rows, const PhaseRow<T>* greens,
                                        ptrdiff_t p, hn::Vec<D> most) {
    const Window<D, Phase> m{d, rows, p};
    const Window<D, Phase> g{d, greens, p};
    const auto c = m.template At<0, 0>();
    const auto c2 = hn::Add(c, c);
    const auto along = hn::Add(hn::Sub(m.template At<-1, 0>(), g.template At<-1, 0>()),
                               hn::Sub(m.template At<1, 0>(), g.template At<1, 0>()));
    const auto across = hn::Add(hn::Sub(m.template At<0, -1>(), g.template At<0, -1>()),
                                hn::Sub(m.template At<0, 1>(), g.template At<0, 1>()));
    return {Finish<1>(d, hn::Add(c2, along), most), c, Finish<1>(d, hn::Add(c2, across), most)};
}

// ... and the opposite colour at its red or blue sites, from the four diagonal differences.
template <int Phase, class D, class T = hn::TFromD<D>>
HWY_INLINE Site<hn::Vec<D>> EdgeAtOther(D d, const PhaseRow<T>* rows, const PhaseRow<T>* greens,
                                        ptrdiff_t p, hn::Vec<D> most) {
    const Window<D, Phase> m{d, rows, p};
    const Window<D, Phase> g{d, greens, p};
    const auto green = g.template At<0, 0>();
    const auto diag = hn::Add(hn::Add(hn::Sub(m.template At<-1, -1>(), g.template At<-1, -1>()),
                                      hn::Sub(m.template At<1, -1>(), g.template At<1, -1>())),
                              hn::Add(hn::Sub(m.template At<-1, 1>(), g.template At<-1, 1>()),
                                      hn::Sub(m.template At<1, 1>(), g.template At<1, 1>())));
    return {m.template At<0, 0>(), green, Finish<2>(d, hn::Add(Times<4>(green), diag), most)};
}

template <int GreenPhase, class D, class T = hn::TFromD<D>>
HWY_INLINE Roles<hn::Vec<D>> EdgePairs(D d, const PhaseRow<T>* rows, const PhaseRow<T>* greens,
                                       ptrdiff_t p, hn::Vec<D> most) {
    return ByPhase<GreenPhase>(EdgeAtGreen<GreenPhase>(d, rows, greens, p, most),
                               EdgeAtOther<1 - GreenPhase>(d, rows, greens, p, most));
}

// Three channel lines in pixel order: bytes for 8-bit outputs, words for 16-bit ones.
struct ChannelLines {
    uint8_t* narrow[3];
    uint16_t* wide[3];
};

// Stores pairs p ... p + N - 1 of one channel, from its even and odd values at the
// sample depth.
template <class D>
HWY_INLINE void PutChannel(D d, hn::Vec<D> even, hn::Vec<D> odd, uint32_t bits, bool wide,
                           uint8_t* narrow, uint16_t* words, ptrdiff_t p) {
    using T = hn::TFromD<D>;
    if constexpr (sizeof(T) == 2) {
        // Byte samples: the values already are 8-bit.
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<uint8_t, D> d8;
        const auto joined = hn::Or(hn::BitCast(du, even), hn::ShiftLeft<8>(hn::BitCast(du, odd)));
        hn::StoreU(hn::BitCast(d8, joined), d8, narrow + 2 * p);
    } else {
        const hn::RebindToUnsigned<D> du;
        const hn::Repartition<uint16_t, D> d16;
        auto e = hn::BitCast(du, even), o = hn::BitCast(du, odd);
        if (wide) {
            const int up = static_cast<int>(16 - bits);
            const auto joined =
                hn::Or(hn::ShiftLeftSame(e, up), hn::ShiftLeft<16>(hn::ShiftLeftSame(o, up)));
            hn::StoreU(hn::BitCast(d16, joined), d16, words + 2 * p);
            return;
        }
        const int down = static_cast<int>(bits - 8);
        const auto half = hn::Set(du, 1u << (down - 1));
        const auto most = hn::Set(du, 255u);
        e = hn::Min(hn::ShiftRightSame(hn::Add(e, half), down), most);
        o = hn::Min(hn::ShiftRightSame(hn::Add(o, half), down), most);
        const hn::Repartition<int16_t, D> di16;
        const hn::Rebind<uint8_t, decltype(di16)> d8;
        const auto joined = hn::BitCast(di16, hn::Or(e, hn::ShiftLeft<16>(o)));
        hn::StoreU(hn::DemoteTo(d8, joined), d8, narrow + 2 * p);
    }
}

template <class D>
HWY_INLINE void PutRoles(D d, const Roles<hn::Vec<D>>& v, bool xIsRed, uint32_t bits, bool wide,
                         const ChannelLines& lines, ptrdiff_t p) {
    const int x = xIsRed ? 0 : 2, y = 2 - x;
    PutChannel(d, v.x[0], v.x[1], bits, wide, lines.narrow[x], lines.wide[x], p);
    PutChannel(d, v.g[0], v.g[1], bits, wide, lines.narrow[1], lines.wide[1], p);
    PutChannel(d, v.y[0], v.y[1], bits, wide, lines.narrow[y], lines.wide[y], p);
}

// Pixels from three channel lines of bytes, for the shared stores.
struct ChannelPixels {
    const uint8_t* r;
    const uint8_t* g;
    const uint8_t* b;
    HWY_INLINE void Decode(D8 d, size_t i, V8& red, V8& green, V8& blue) const {
        red = hn::LoadU(d, r + i);
        green = hn::LoadU(d, g + i);
        blue = hn::LoadU(d, b + i);
    }
};

OutputKind KindOf(Store store) {
    switch (store) {
        case Store::kRGB16:
            return OutputKind::kRGB16;
        case Store::kRGB24:
            return OutputKind::kRGB24;
        case Store::kBGR24:
            return OutputKind::kBGR24;
        case Store::kRGB32:
            return OutputKind::kRGB32;
        case Store::kBGR32:
            return OutputKind::kBGR32;
        default:
            return OutputKind::kPlanar24;
    }
}

void StoreLine(const Job& job, const ChannelLines& lines, uint32_t y) {
    unsigned char* line = job.destination + y * job.destinationStride;
    if (!Demosaic::IsWide(job.store)) {
        const RowOutput out{line, Demosaic::PlaneSize(job), KindOf(job.store), nullptr};
        ColourRows(ChannelPixels{lines.narrow[0], lines.narrow[1], lines.narrow[2]}, out, nullptr,
                   job.width);
        return;
    }
    const hn::ScalableTag<uint16_t> d;
    const size_t n = hn::Lanes(d), width = job.width;
    const bool blueFirst = job.store == Store::kBGR48;
    uint16_t* words = reinterpret_cast<uint16_t*>(line);
    ForEachVector(n, width, SecondVectorAt(words, 4 * 6, n), [&](size_t i) {
        const auto r = hn::LoadU(d, lines.wide[0] + i), g = hn::LoadU(d, lines.wide[1] + i),
                   b = hn::LoadU(d, lines.wide[2] + i);
        hn::StoreInterleaved3(blueFirst ? b : r, g, blueFirst ? r : b, d, words + 3 * i);
    });
}

// Whole pairs 0 ... width / 2 - 1 of source line y into row, without a filter.
template <class D, class T = hn::TFromD<D>>
void DecodePairs(D d, const Job& job, uint32_t y, const PhaseRow<T>& row) {
    const unsigned char* line = job.source + y * job.sourceStride;
    const size_t n = hn::Lanes(d), pairs = job.width / 2;
    const hn::RebindToUnsigned<D> du;
    // A lane holds a pair: two source samples of sizeof(T) / 2 bytes.
    ForEachVector(n, pairs, SecondVectorAt(line, 4 * sizeof(T), n), [&](size_t p) {
        const auto store = [&](hn::Vec<decltype(du)> even, hn::Vec<decltype(du)> odd) {
            hn::StoreU(hn::BitCast(d, even), d, row.phase[0] + kPadPairs + p);
            hn::StoreU(hn::BitCast(d, odd), d, row.phase[1] + kPadPairs + p);
        };
        if constexpr (sizeof(T) == 2) {
            const hn::Repartition<uint8_t, D> d8;
            const auto w = hn::BitCast(du, hn::LoadU(d8, line + 2 * p));
            store(hn::And(w, hn::Set(du, 0xFF)), hn::ShiftRight<8>(w));
        } else {
            const hn::Repartition<uint16_t, D> d16;
            const auto w =
                hn::BitCast(du, hn::LoadU(d16, reinterpret_cast<const uint16_t*>(line) + 2 * p));
            const int down = static_cast<int>(job.form.down);
            const auto most = hn::Set(du, (1u << job.form.bits) - 1);
            store(hn::Min(hn::ShiftRightSame(hn::And(w, hn::Set(du, 0xFFFFu)), down), most),
                  hn::Min(hn::ShiftRightSame(hn::ShiftRight<16>(w), down), most));
        }
    });
}

template <class D>
class Band {
    using T = hn::TFromD<D>;
    using V = hn::Vec<D>;

public:
    Band(const Job& job, std::vector<T>& scratch)
        : mJob(job),
          mSamples(job),
          mPairs((job.width + 1) / 2),
          mLength(static_cast<size_t>(mPairs + 2 * kPadPairs + 1)),
          mMost(static_cast<T>(mSamples.Most())) {
        const size_t channelTs = (3 * 2 * mLength * sizeof(uint16_t) + sizeof(T) - 1) / sizeof(T);
        scratch.resize((kMosaicRows + kGreenRows) * 2 * mLength + channelTs);
        T* next = scratch.data();
        const auto place = [&](Held& held) {
            held.row = PhaseRow<T>{{next, next + mLength}};
            next += 2 * mLength;
        };
        for (Held& held : mMosaic) place(held);
        for (Held& held : mGreens) place(held);
        for (int c = 0; c < 3; ++c) {
            mChannels.wide[c] = reinterpret_cast<uint16_t*>(next) + c * 2 * mLength;
            mChannels.narrow[c] = reinterpret_cast<uint8_t*>(mChannels.wide[c]);
        }
    }

    void Line(uint32_t y) {
        const int64_t at = y;
        const auto& colour = Demosaic::kTileColour[mJob.pattern][y & 1];
        const bool greenEven = colour[0] == kGreen;
        const bool xIsRed = colour[greenEven ? 1 : 0] == 0;
        const PhaseRow<T> rows[5] = {Mosaic(at - 2), Mosaic(at - 1), Mosaic(at), Mosaic(at + 1),
                                     Mosaic(at + 2)};
        PhaseRow<T> greens[5] = {};
        const bool edge = mJob.method == DemosaicMethod::kEdgeDirected;
        if (edge) {
            for (int k = 1; k < 4; ++k) greens[k] = Green(at + k - 2);
        }
        const D d;
        const V most = hn::Set(d, mMost);
        if (edge) {
            return greenEven ? Store(PairsOf<true, 0>{d, rows, greens, most}, xIsRed, y)
                             : Store(PairsOf<true, 1>{d, rows, greens, most}, xIsRed, y);
        }
        return greenEven ? Store(PairsOf<false, 0>{d, rows, greens, most}, xIsRed, y)
                         : Store(PairsOf<false, 1>{d, rows, greens, most}, xIsRed, y);
    }

private:
    // The values of a line's pairs by one method, for one phase of green.
    template <bool kEdge, int kGreenPhase>
    struct PairsOf {
        D d;
        const PhaseRow<T>* rows;
        const PhaseRow<T>* greens;
        V most;
        HWY_INLINE Roles<V> operator()(ptrdiff_t p) const {
            if constexpr (kEdge) return EdgePairs<kGreenPhase>(d, rows, greens, p, most);
            if constexpr (!kEdge) return GradientPairs<kGreenPhase>(d, rows, p, most);
        }
    };

    template <class PairsAt>
    void Store(const PairsAt& pairsAt, bool xIsRed, uint32_t y) {
        const bool wide = Demosaic::IsWide(mJob.store);
        if constexpr (sizeof(T) == 2) {
            // 8-bit values of an even number of pixels go straight to the output.
            if (!wide && mJob.width % 2 == 0) {
                switch (KindOf(mJob.store)) {
#define ZN_DIRECT_CASE(kind) \
    case OutputKind::kind:   \
        return Direct<OutputKind::kind>(pairsAt, xIsRed, y);
                    ZN_DIRECT_CASE(kRGB16)
                    ZN_DIRECT_CASE(kRGB24)
                    ZN_DIRECT_CASE(kBGR24)
                    ZN_DIRECT_CASE(kRGB32)
                    ZN_DIRECT_CASE(kBGR32)
                    ZN_DIRECT_CASE(kPlanar24)
#undef ZN_DIRECT_CASE
                    default:
                        break;
                }
            }
        }
        const D d;
        const size_t n = hn::Lanes(d);
        ForEachVector(n, mPairs, n, [&](size_t p) {
            const ptrdiff_t q = static_cast<ptrdiff_t>(p);
            PutRoles(d, pairsAt(q), xIsRed, mJob.form.bits, wide, mChannels, q);
        });
        StoreLine(mJob, mChannels, y);
    }

    // Pairs p ... p + N - 1 are pixels 2p ... 2p + 2N - 1 of the output line: with an even
    // width the last vector of pairs ends at the line end too.
    template <OutputKind Kind, class PairsAt>
    void Direct(const PairsAt& pairsAt, bool xIsRed, uint32_t y) {
        const D d;
        const D8 d8;
        const hn::RebindToUnsigned<D> du;
        const auto join = [&](V even, V odd) {
            return hn::BitCast(
                d8, hn::Or(hn::BitCast(du, even), hn::ShiftLeft<8>(hn::BitCast(du, odd))));
        };
        const RowOutput out{mJob.destination + y * mJob.destinationStride,
                            Demosaic::PlaneSize(mJob), Kind, nullptr};
        const size_t n = hn::Lanes(d);
        const size_t aligned = SecondVectorAt(out.line, 8 * PixelBytes(Kind), n);
        ForEachVector(n, mPairs, aligned, [&](size_t p) {
            const Roles<V> v = pairsAt(static_cast<ptrdiff_t>(p));
            const V8 x = join(v.x[0], v.x[1]), g = join(v.g[0], v.g[1]),
                     other = join(v.y[0], v.y[1]);
            ColourStore<Kind>::Put(d8, out, 2 * p, xIsRed ? x : other, g, xIsRed ? other : x);
        });
    }

    static constexpr size_t kMosaicRows = 8;  // a line's rule reaches 3 mosaic lines away
    static constexpr size_t kGreenRows = 4;

    struct Held {
        PhaseRow<T> row;
        int64_t line = INT64_MIN;
    };

    PhaseRow<T> Mosaic(int64_t line) {
        Held& held = mMosaic[static_cast<size_t>(line) & (kMosaicRows - 1)];
        if (held.line != line) {
            Decode(line, held.row);
            held.line = line;
        }
        return held.row;
    }

    // Mirrored samples past both ends come from the plain samples; so does the whole line
    // when a filter balances it.
    void Decode(int64_t line, const PhaseRow<T>& row) {
        const uint32_t y = Demosaic::Reflect(line, mJob.height);
        int64_t x = 0;
        if (!mSamples.Balanced()) {
            DecodePairs(D(), mJob, y, row);
            x = 2 * (mJob.width / 2);
        }
        for (; x < mJob.width; ++x) row.At(x) = static_cast<T>(mSamples.At(x, y));
        for (x = -kPad; x < 0; ++x) row.At(x) = static_cast<T>(mSamples.Mirrored(x, y));
        for (x = mJob.width; x < 2 * mPairs + kPad; ++x) {
            row.At(x) = static_cast<T>(mSamples.Mirrored(x, y));
        }
    }

    // Green of a whole mosaic line, one pair beyond each end.
    PhaseRow<T> Green(int64_t line) {
        Held& held = mGreens[static_cast<size_t>(line) & (kGreenRows - 1)];
        if (held.line == line) return held.row;
        held.line = line;
        const PhaseRow<T> rows[5] = {Mosaic(line - 2), Mosaic(line - 1), Mosaic(line),
                                     Mosaic(line + 1), Mosaic(line + 2)};
        const int greenPhase = Demosaic::kTileColour[mJob.pattern][line & 1][0] == kGreen ? 0 : 1;
        const D d;
        const size_t n = hn::Lanes(d), count = mPairs + 2;
        const V most = hn::Set(d, mMost);
        ForEachVector(n, count, n, [&](size_t i) {
            const ptrdiff_t p = static_cast<ptrdiff_t>(i) - 1;
            const auto green =
                greenPhase == 0 ? EdgeGreen<0>(d, rows, p, most) : EdgeGreen<1>(d, rows, p, most);
            const int x = greenPhase + static_cast<int>(kPad);
            hn::StoreU(hn::LoadU(d, rows[2].phase[x & 1] + p + x / 2), d,
                       held.row.phase[greenPhase] + kPadPairs + p);
            hn::StoreU(green, d, held.row.phase[1 - greenPhase] + kPadPairs + p);
        });
        return held.row;
    }

    const Job& mJob;
    const Samples mSamples;
    const int64_t mPairs;
    const size_t mLength;
    const T mMost;
    Held mMosaic[kMosaicRows];
    Held mGreens[kGreenRows];
    ChannelLines mChannels;
};

template <class T>
uint32_t Lines(const Job& job, uint32_t first, uint32_t end) {
    const hn::ScalableTag<T> d;
    const bool wide = Demosaic::IsWide(job.store);
    if (job.width / 2 < hn::Lanes(d) || (!wide && job.width < hn::Lanes(D8()))) return 0;
    thread_local std::vector<T> scratch;
    Band<hn::ScalableTag<T>> band(job, scratch);
    for (uint32_t y = first; y < end; ++y) band.Line(y);
    return end - first;
}

}  // namespace

// The number of lines converted: all of them, or none.
uint32_t DemosaicLines(const Job& job, uint32_t first, uint32_t end) {
    return job.form.words ? Lines<int32_t>(job, first, end) : Lines<int16_t>(job, first, end);
}
#else
uint32_t DemosaicLines(const Demosaic::Job&, uint32_t, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(DemosaicLines);

namespace Demosaic {

bool VectorLines(const Job& job, uint32_t first, uint32_t end) {
    return ZN_CHOSEN_ROW_OF(DemosaicLines)(job, first, end) != 0;
}

}  // namespace Demosaic
}  // namespace ZnConvertersLib
#endif
