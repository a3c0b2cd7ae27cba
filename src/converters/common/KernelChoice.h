#pragma once

// How a family's vector row is chosen: once per process, from the targets the CPU
// supports, and kept in a pointer that every line call reads. Tests may narrow the
// targets; the epoch below tells every stored choice to look again.

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace ZnConvertersLib {
namespace KernelChoice {

extern std::atomic<uint32_t> gEpoch;

// No vector row converts anything from fewer units (pixels, pairs, groups or steps of at
// most four pixels) than this: the narrowest vector holds 16 bytes. Short lines skip the
// call into the chosen row.
constexpr uint32_t kFewestForVector = 4;

// The targets compiled in and supported by this CPU, best first (Highway target bits).
std::vector<int64_t> AvailableTargets();
std::string TargetName(int64_t target);

// Lets dispatch choose only `target` (0: every supported target again; kPlainRows: no
// vector row at all, the plain rows convert everything). For tests: call it while no
// conversion runs.
constexpr int64_t kPlainRows = -1;
void UseOnlyTargetForTest(int64_t target);

// Whether the plain rows were asked to run alone.
bool PlainRowsOnly();

// A vector row that converts nothing, of any row's signature.
template <class Fn>
struct NoVectorRow;
template <class... Args>
struct NoVectorRow<uint32_t (*)(Args...)> {
    static uint32_t Row(Args...) { return 0; }
};

// Makes Highway choose its target if no dispatch has done so yet.
void EnsureTargetChosen();

// The row chosen for the current epoch. Resolve is called at most once per epoch (a
// race between threads resolves twice to the same pointer, which is harmless).
template <class Fn>
class Chosen {
public:
    template <class Resolve>
    Fn Get(Resolve resolve) {
        const uint32_t epoch = gEpoch.load(std::memory_order_acquire);
        if (mEpoch.load(std::memory_order_acquire) == epoch) {
            return mFn.load(std::memory_order_relaxed);
        }
        const Fn fn = resolve();
        mFn.store(fn, std::memory_order_relaxed);
        mEpoch.store(epoch, std::memory_order_release);
        return fn;
    }

private:
    std::atomic<Fn> mFn{nullptr};
    std::atomic<uint32_t> mEpoch{0};
};

}  // namespace KernelChoice
}  // namespace ZnConvertersLib
