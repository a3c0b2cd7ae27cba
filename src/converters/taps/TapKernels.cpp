// Vector rows of the tap-reordering family, written once and compiled for every target
// (TapKernels.h). Pixels are moved, never changed.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "converters/taps/TapKernels.cpp"
#include "converters/taps/TapKernels.h"

#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "converters/common/ChannelStores-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ZnConvertersLib {
namespace HWY_NAMESPACE {
#if ZN_VECTOR_ROWS
namespace {

using D16 = hn::Repartition<uint16_t, D8>;

// Lanes in reverse order.
HWY_INLINE hn::Vec<D16> Reversed(D16 d, hn::Vec<D16> v) {
    return hn::Reverse(d, v);
}
HWY_INLINE V8 Reversed(D8 d, V8 v) {
    return ReverseBytes(d, v);
}

template <class D>
uint32_t QuadTaps(D d, const unsigned char* source, unsigned char* destination, std::size_t quarter,
                  uint32_t groups) {
    using T = hn::TFromD<D>;
    const size_t n = hn::Lanes(d);
    const T* in = reinterpret_cast<const T*>(source);
    T* out = reinterpret_cast<T*>(destination);
    size_t k = 0;
    for (; k + n <= groups; k += n) {
        hn::Vec<D> tap[4];
        hn::LoadInterleaved4(d, in + 4 * k, tap[0], tap[1], tap[2], tap[3]);
        for (size_t t = 0; t < 4; ++t) {
            hn::StoreU(Reversed(d, tap[t]), d, out + (t + 1) * quarter - k - n);
        }
    }
    return static_cast<uint32_t>(k);
}

}  // namespace

uint32_t QuadTapsRow(uint32_t pixelBytes, const unsigned char* source, unsigned char* destination,
                     std::size_t quarter, uint32_t groups) {
    if (quarter < groups) return 0;
    return pixelBytes == 1 ? QuadTaps(D8(), source, destination, quarter, groups)
                           : QuadTaps(D16(), source, destination, quarter, groups);
}

uint32_t EveryOtherByteRow(const unsigned char* source, unsigned char* destination,
                           uint32_t width) {
    const D8 d;
    const size_t n = hn::Lanes(d);
    if (width == 0 || width - 1 < n) return 0;
    const size_t end = width - 1;
    ForEachVector(n, end, SecondVectorAt(source, 4 * 2, n), [&](size_t i) {
        V8 even, odd;
        hn::LoadInterleaved2(d, source + 2 * i, even, odd);
        hn::StoreU(even, d, destination + i);
    });
    return static_cast<uint32_t>(end);
}
#else
uint32_t QuadTapsRow(uint32_t, const unsigned char*, unsigned char*, std::size_t, uint32_t) {
    return 0;
}
uint32_t EveryOtherByteRow(const unsigned char*, unsigned char*, uint32_t) {
    return 0;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace ZnConvertersLib
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "converters/common/KernelExport.h"

namespace ZnConvertersLib {

HWY_EXPORT(QuadTapsRow);
HWY_EXPORT(EveryOtherByteRow);

uint32_t QuadTapsVectorRow(uint32_t pixelBytes, const unsigned char* source,
                           unsigned char* destination, std::size_t quarter, uint32_t groups) {
    if (groups < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(QuadTapsRow)(pixelBytes, source, destination, quarter, groups);
}

uint32_t EveryOtherByteVectorRow(const unsigned char* source, unsigned char* destination,
                                 uint32_t width) {
    if (width < KernelChoice::kFewestForVector) return 0;
    return ZN_CHOSEN_ROW_OF(EveryOtherByteRow)(source, destination, width);
}

}  // namespace ZnConvertersLib
#endif
