#include <emmintrin.h>

#include "base/endian.h"
#include "compress/jpeg_idct.h"
#include "compress/jpeg_idct_constants.h"

#define TAVO_TARGET

namespace tavo::jpeg {
namespace {

using V = __m128i;

inline V madd(V a, V b) { return _mm_madd_epi16(a, b); }
inline V add(V a, V b) { return _mm_add_epi32(a, b); }
inline V sub(V a, V b) { return _mm_sub_epi32(a, b); }
inline V add_bytes(V a, V b) { return _mm_add_epi8(a, b); }
template <int kShift>
inline V shift_right(V a) {
  return _mm_srai_epi32(a, kShift);
}
inline V pack_words(V a, V b) { return _mm_packs_epi32(a, b); }
inline V pack_bytes(V a, V b) { return _mm_packs_epi16(a, b); }
inline V low_bytes(V a, V b) { return _mm_unpacklo_epi8(a, b); }
inline V high_bytes(V a, V b) { return _mm_unpackhi_epi8(a, b); }
inline V low_words(V a, V b) { return _mm_unpacklo_epi16(a, b); }
inline V high_words(V a, V b) { return _mm_unpackhi_epi16(a, b); }
inline V low_dwords(V a, V b) { return _mm_unpacklo_epi32(a, b); }
inline V high_dwords(V a, V b) { return _mm_unpackhi_epi32(a, b); }
inline V low_qwords(V a, V b) { return _mm_unpacklo_epi64(a, b); }
inline V high_qwords(V a, V b) { return _mm_unpackhi_epi64(a, b); }
inline V all_bytes(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline V all_dwords(int value) { return _mm_set1_epi32(value); }
inline V word_pairs(int even, int odd) {
  return _mm_set1_epi32(
      static_cast<int>(static_cast<uint32_t>(odd) << 16 | (static_cast<uint32_t>(even) & 0xFFFF)));
}

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
