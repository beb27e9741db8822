#include <emmintrin.h>

#include "base/endian.h"
#include "compress/jpeg_idct.h"
#include "compress/jpeg_idct_constants.h"

#define TAVO_TARGET
#define TAVO_KERNEL inline __attribute__((always_inline))
#define TAVO_MM(operation) _mm_##operation

namespace tavo::jpeg {
namespace {

using V = __m128i;

#include "compress/jpeg_vector_ops.inc"

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_idct_vector.h"

namespace tavo::jpeg {
namespace {

void transform_block(const int16_t* block, const uint16_t* quantisers, Extent extent, uint8_t* out,
                     size_t stride) {
  const auto* in = reinterpret_cast<const __m128i*>(block);
  const auto* factors = reinterpret_cast<const __m128i*>(quantisers);
  V r[8];
  for (int i = 0; i < 8; ++i) {
    r[i] = _mm_mullo_epi16(_mm_loadu_si128(in + i), _mm_loadu_si128(factors + i));
  }
  V samples[4];
  transform(r, extent, samples);
  for (size_t i = 0; i < 4; ++i) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 2 * i * stride), samples[i]);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + (2 * i + 1) * stride),
                     _mm_unpackhi_epi64(samples[i], samples[i]));
  }
}

}  // namespace

void inverse_transform_sse2(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                            Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  if (extent == Extent::kFlat) {
    store_flat(flat_samples(a[0], quantisers[0]), out_a, stride);
    store_flat(flat_samples(b[0], quantisers[0]), out_b, stride);
    return;
  }
  transform_block(a, quantisers, extent, out_a, stride);
  transform_block(b, quantisers, extent, out_b, stride);
}

}  // namespace tavo::jpeg
