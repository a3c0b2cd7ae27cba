#pragma once

// Vector lines of the better demosaicing methods (DemosaicKernels.cpp), in the target
// chosen for this CPU.

#include <cstdint>

#include "converters/bayer/Demosaic.h"

namespace ZnConvertersLib {
namespace Demosaic {

// Converts lines [first, end) of the job and returns true, or converts nothing and
// returns false when the lines are narrower than the target's vectors (or there are
// no vector lines); the plain lines then convert them.
bool VectorLines(const Job& job, uint32_t first, uint32_t end);

}  // namespace Demosaic
}  // namespace ZnConvertersLib
