// The inverse transform for SSE2: the two blocks of a pair one after the other.
#include "base/endian.h"
#include "base/vector_sse2.h"
#include "codec/jpeg/idct.h"
#include "codec/jpeg/idct_constants.h"

namespace tavo::jpeg {

namespace {

using namespace sse2;

#include "codec/jpeg/idct_kernel.inl"

}  // namespace

void inverse_transform_sse2(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                            Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  transform_pair(a, b, quantisers, extent, out_a, out_b, stride);
}

}  // namespace tavo::jpeg
