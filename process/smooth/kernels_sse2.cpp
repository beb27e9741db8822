#include <cstring>

#include "base/vector_sse2.h"
#include "process/smooth/kernels.h"

namespace tavo::process {

namespace {

using namespace sse2;

// The shuffles are told as where in its bytes each pair begins.
TAVO_INLINE V pick_pairs(const int16_t* samples, const int16_t* /*of the second lane*/,
                         const uint8_t* shuffles) {
  const auto pair = [=](size_t i) {
    uint32_t both = 0;
    std::memcpy(&both, reinterpret_cast<const uint8_t*>(samples) + shuffles[4 * i], sizeof both);
    return single32(both);
  };
  return unpack_low64(unpack_low32(pair(0), pair(1)), unpack_low32(pair(2), pair(3)));
}

#include "process/smooth/kernel.inl"

}  // namespace

const SmoothKernels kSmoothSse2 = kKernels;

}  // namespace tavo::process
