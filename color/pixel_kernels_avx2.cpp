#include <array>
#include <cstring>
#include <utility>

#include "base/vector_avx2.h"
#include "color/pixel_kernels.h"

TAVO_FOR_AVX2

namespace tavo::color {

namespace {

using namespace avx2;

#include "color/pixel_kernel.inl"

}  // namespace

PixelKernel avx2_kernel(int32_t bits_in, int32_t bits_out, bool exchange) {
  return choose(bits_in, bits_out, exchange);
}

}  // namespace tavo::color

TAVO_END
