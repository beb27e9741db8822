#include "base/vector_ssse3.h"
#include "process/smooth/kernels.h"

TAVO_FOR_SSSE3

namespace tavo::process {

namespace {

using namespace ssse3;

TAVO_INLINE V pick_pairs(const int16_t* first, const int16_t* second, const uint8_t* shuffles) {
  return shuffle8(load_lanes(first, second), load(shuffles));
}

#include "process/smooth/kernel.inl"

}  // namespace

const SmoothKernels kSmoothSsse3 = kKernels;

}  // namespace tavo::process

TAVO_END
