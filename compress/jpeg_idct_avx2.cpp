#include <immintrin.h>

#include "base/endian.h"
#include "compress/jpeg_idct.h"
#include "compress/jpeg_idct_constants.h"

#define TAVO_TARGET __attribute__((target("avx2")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("avx2")))
#define TAVO_MM(operation) _mm256_##operation

namespace tavo::jpeg {
namespace {

using V = __m256i;

#include "compress/jpeg_vector_ops.inc"

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_idct_vector.h"

namespace tavo::jpeg {
namespace {

TAVO_TARGET inline __m128i load(const void* p) {
  return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

TAVO_TARGET inline void store_rows(__m128i rows, uint8_t* out, size_t stride) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), rows);
  _mm_storeh_pd(reinterpret_cast<double*>(out + stride), _mm_castsi128_pd(rows));
}

}  // namespace

TAVO_TARGET void inverse_transform_avx2(const int16_t* a, const int16_t* b,
                                        const uint16_t* quantisers, Extent extent, uint8_t* out_a,
                                        uint8_t* out_b, size_t stride) {
  if (extent == Extent::kFlat) {
    store_flat(flat_samples(a[0], quantisers[0]), out_a, stride);
    store_flat(flat_samples(b[0], quantisers[0]), out_b, stride);
    return;
  }
  V r[8];
  for (int i = 0; i < 8; ++i) {
    const V both =
        _mm256_inserti128_si256(_mm256_castsi128_si256(load(a + 8 * i)), load(b + 8 * i), 1);
    r[i] = _mm256_mullo_epi16(both, _mm256_broadcastsi128_si256(load(quantisers + 8 * i)));
  }
  V samples[4];
  transform(r, extent, samples);
  for (size_t i = 0; i < 4; ++i) {
    store_rows(_mm256_castsi256_si128(samples[i]), out_a + 2 * i * stride, stride);
    store_rows(_mm256_extracti128_si256(samples[i], 1), out_b + 2 * i * stride, stride);
  }
}

}  // namespace tavo::jpeg
