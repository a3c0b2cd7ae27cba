#include "converters/common/KernelChoice.h"

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace ZnConvertersLib {
namespace KernelChoice {

std::atomic<uint32_t> gEpoch{1};

namespace {
std::atomic<bool> gPlainRowsOnly{false};
}  // namespace

bool PlainRowsOnly() {
    return gPlainRowsOnly.load(std::memory_order_relaxed);
}

std::vector<int64_t> AvailableTargets() {
    return hwy::SupportedAndGeneratedTargets();
}

std::string TargetName(int64_t target) {
    return hwy::TargetName(target);
}

void EnsureTargetChosen() {
    hwy::ChosenTarget& chosen = hwy::GetChosenTarget();
    if (!chosen.IsInitialized()) chosen.Update(hwy::SupportedTargets());
}

void UseOnlyTargetForTest(int64_t target) {
    gPlainRowsOnly.store(target == kPlainRows, std::memory_order_relaxed);
    hwy::SetSupportedTargetsForTest(target == kPlainRows ? 0 : target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    gEpoch.fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace KernelChoice
}  // namespace ZnConvertersLib
