// The inverse transform for AVX2: a block in each lane.
#include "base/endian.h"
#include "base/vector_avx2.h"
#include "codec/jpeg/idct.h"
#include "codec/jpeg/idct_constants.h"

TAVO_FOR_AVX2

namespace tavo::jpeg {

namespace {

using namespace avx2;

#include "codec/jpeg/idct_kernel.inl"

}  // namespace

void inverse_transform_avx2(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                            Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  transform_pair(a, b, quantisers, extent, out_a, out_b, stride);
}

}  // namespace tavo::jpeg

TAVO_END
