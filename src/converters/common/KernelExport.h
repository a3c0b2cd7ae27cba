#pragma once

// For the once-only part of a multi-target kernel file: the chosen target's instance of
// an exported row.

#include <hwy/highway.h>

#include "converters/common/KernelChoice.h"

// A single compiled target is called directly. Tests may ask for no vector row at all.
#if HWY_IDE || ((HWY_TARGETS & (HWY_TARGETS - 1)) == 0)
#define ZN_CHOSEN_ROW(FUNC_NAME) (&HWY_STATIC_DISPATCH(FUNC_NAME))
#else
#define ZN_CHOSEN_ROW(FUNC_NAME)                            \
    (::ZnConvertersLib::KernelChoice::EnsureTargetChosen(), \
     HWY_DISPATCH_TABLE(FUNC_NAME)[hwy::GetChosenTarget().GetIndex()])
#endif
#define ZN_RESOLVE_ROW(FUNC_NAME)                                                       \
    (::ZnConvertersLib::KernelChoice::PlainRowsOnly()                                   \
         ? &::ZnConvertersLib::KernelChoice::NoVectorRow<decltype(&HWY_STATIC_DISPATCH( \
               FUNC_NAME))>::Row                                                        \
         : ZN_CHOSEN_ROW(FUNC_NAME))

// The row of FUNC_NAME (exported with HWY_EXPORT) chosen for this CPU, resolved once per
// choice epoch and then read from a cached pointer.
#define ZN_CHOSEN_ROW_OF(FUNC_NAME)                                                               \
    ([] {                                                                                         \
        static ::ZnConvertersLib::KernelChoice::Chosen<decltype(&HWY_STATIC_DISPATCH(FUNC_NAME))> \
            sChosen;                                                                              \
        return sChosen.Get([] { return ZN_RESOLVE_ROW(FUNC_NAME); });                             \
    }())
