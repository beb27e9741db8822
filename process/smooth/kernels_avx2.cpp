#include "base/vector_avx2.h"
#include "process/smooth/kernels.h"

TAVO_FOR_AVX2

namespace tavo::process {

namespace {

using namespace avx2;

TAVO_INLINE V pick_pairs(const int16_t* first, const int16_t* second, const uint8_t* shuffles) {
  return shuffle8(load_lanes(first, second), load(shuffles));
}

#include "process/smooth/kernel.inl"

}  // namespace

const SmoothKernels kSmoothAvx2 = kKernels;

}  // namespace tavo::process

TAVO_END
