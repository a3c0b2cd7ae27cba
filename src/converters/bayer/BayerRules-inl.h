// The block and neighbourhood rules of the Bayer family on vectors: the same truncated
// means as the plain rows (BayerRows.h), on lanes twice as wide as the samples so that no
// sum overflows. Shared by the 8-bit and the deep kernel files, compiled once per target
// (per-target include guard, as Highway's -inl.h headers).

#if defined(ZN_CONVERTERS_BAYER_RULES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZN_CONVERTERS_BAYER_RULES_INL_H_
#undef ZN_CONVERTERS_BAYER_RULES_INL_H_
#else
#define ZN_CONVERTERS_BAYER_RULES_INL_H_
#endif

#include <hwy/highway.h>

#include "converters/bayer/BayerRows.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
namespace BayerRules {

namespace hn = hwy::HWY_NAMESPACE;
using namespace BayerDetail;

// Even and odd columns of a vector of samples.
template <class V>
struct Columns {
    V even, odd;
};

// The columns of x as lanes of DW, twice the samples' width.
template <class DW, class VN>
HWY_INLINE Columns<hn::Vec<DW>> Split(DW dw, VN x) {
    using TW = hn::TFromD<DW>;
    constexpr int kHalf = 4 * sizeof(TW);
    const hn::Vec<DW> w = hn::BitCast(dw, x);
    return {hn::And(w, hn::Set(dw, static_cast<TW>((TW{1} << kHalf) - 1))),
            hn::ShiftRight<kHalf>(w)};
}

template <class V>
struct Colour {
    V r, g, b;
};

template <class V>
HWY_INLINE V Mean2(V a, V b) {
    return hn::ShiftRight<1>(hn::Add(a, b));
}
template <class V>
HWY_INLINE V Mean4(V a, V b, V c, V d) {
    return hn::ShiftRight<2>(hn::Add(hn::Add(a, b), hn::Add(c, d)));
}

template <int Layout, class V>
HWY_INLINE Colour<V> BlockColourOf(const Columns<V>& top, const Columns<V>& bottom) {
    const V t0 = top.even, t1 = top.odd, b0 = bottom.even, b1 = bottom.odd;
    if constexpr (Layout == kLayoutGRBG) return {t1, Mean2(t0, b1), b0};
    if constexpr (Layout == kLayoutGBRG) return {b0, Mean2(t0, b1), t1};
    if constexpr (Layout == kLayoutRGGB) return {t0, Mean2(t1, b0), b1};
    if constexpr (Layout == kLayoutBGGR) return {b1, Mean2(t1, b0), t0};
}

template <int Site, class V>
HWY_INLINE Colour<V> InterpolateOf(V ul, V u, V ur, V l, V p, V r, V dl, V d, V dr) {
    if constexpr (Site == kRedSite) return {p, Mean4(u, l, r, d), Mean4(ul, ur, dl, dr)};
    if constexpr (Site == kGreenSiteOnBlueRow) return {Mean2(u, d), p, Mean2(l, r)};
    if constexpr (Site == kGreenSiteOnRedRow) return {Mean2(l, r), p, Mean2(u, d)};
    if constexpr (Site == kBlueSite) return {Mean4(ul, ur, dl, dr), Mean4(u, l, r, d), p};
}

}  // namespace BayerRules
}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#endif  // include guard
