// Vectors of 32 bytes, two lanes. What begins with TAVO_FOR_AVX2 may use BMI, too.
#pragma once

#include <immintrin.h>

#include "base/vector_sse2.h"

TAVO_FOR_AVX2

namespace tavo::avx2 {

using V = __m256i;

#define TAVO_MM(operation) _mm256_##operation
#include "base/vector_shuffles.inl"
#include "base/vector_verbs.inl"
#undef TAVO_MM

TAVO_INLINE V load(const void* p) { return _mm256_loadu_si256(static_cast<const V*>(p)); }
TAVO_INLINE void store(void* p, V v) { _mm256_storeu_si256(static_cast<V*>(p), v); }

// ---- Lanes ----

TAVO_INLINE V load_repeated(const void* p) { return _mm256_broadcastsi128_si256(sse2::load(p)); }
TAVO_INLINE V load_lanes(const void* first, const void* second) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(sse2::load(first)), sse2::load(second), 1);
}
template <ptrdiff_t kStride>
TAVO_INLINE V load_lanes(const uint8_t* p) {
  if constexpr (kStride == 0) return load_repeated(p);
  if constexpr (kStride == 16) return load(p);
  return load_lanes(p, p + kStride);
}
template <int kLane>
TAVO_INLINE sse2::V lane(V v) {
  return _mm256_extracti128_si256(v, kLane);
}
TAVO_INLINE V low_lanes(V a, V b) { return _mm256_permute2x128_si256(a, b, 0x20); }
TAVO_INLINE V high_lanes(V a, V b) { return _mm256_permute2x128_si256(a, b, 0x31); }

TAVO_INLINE V in_order64(V v) { return _mm256_permute4x64_epi64(v, 0xD8); }
TAVO_INLINE V in_order32(V v) {
  return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}
// The first 12 bytes of each lane, one after another.
TAVO_INLINE void store_twelves(uint8_t* p, V a, V b, V c, V d) {
  // Six 32-bit elements of each vector count; they are turned so that whole vectors can be blended.
  a = _mm256_permutevar8x32_epi32(a, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
  b = _mm256_permutevar8x32_epi32(b, _mm256_setr_epi32(2, 4, 5, 6, 7, 7, 0, 1));
  c = _mm256_permutevar8x32_epi32(c, _mm256_setr_epi32(5, 6, 7, 7, 0, 1, 2, 4));
  d = _mm256_permutevar8x32_epi32(d, _mm256_setr_epi32(7, 7, 0, 1, 2, 4, 5, 6));
  store(p, _mm256_blend_epi32(a, b, 0xC0));
  store(p + 32, _mm256_blend_epi32(b, c, 0xF0));
  store(p + 64, _mm256_blend_epi32(c, d, 0xFC));
}

// ---- The rest of the verbs of vector_sse2.h ----

TAVO_INLINE V load_widened8(const void* p) { return _mm256_cvtepu8_epi16(sse2::load(p)); }
TAVO_INLINE void store_narrowed16(void* p, const V (&v)[1]) {
  sse2::store(p, _mm_packus_epi16(lane<0>(v[0]), lane<1>(v[0])));
}
TAVO_INLINE V look_up32(const uint32_t* table, const uint16_t* keys) {
  return _mm256_set_m128i(sse2::look_up32(table, keys + 8), sse2::look_up32(table, keys));
}
TAVO_INLINE uint32_t top_bits32(V v) {
  return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(v)));
}
TAVO_INLINE V magnitude16(V v) { return _mm256_abs_epi16(v); }
TAVO_INLINE V with_sign16(V v, V sign) { return _mm256_sign_epi16(v, sign); }
TAVO_INLINE V min32(V a, V b) { return _mm256_min_epi32(a, b); }
TAVO_INLINE int32_t least32(V v) {
  __m128i half = _mm_min_epi32(lane<0>(v), lane<1>(v));
  half = _mm_min_epi32(half, _mm_shuffle_epi32(half, 0x4E));
  return _mm_cvtsi128_si32(_mm_min_epi32(half, _mm_shuffle_epi32(half, 0xB1)));
}

// Each 64-bit half of the result is that half of v which bit 1 of the choice's same half names.
TAVO_INLINE sse2::V choose64(sse2::V v, sse2::V choice) {
  return _mm_castpd_si128(_mm_permutevar_pd(_mm_castsi128_pd(v), choice));
}

// a where the mask is set, else b.
TAVO_INLINE V select(V mask, V a, V b) { return _mm256_blendv_epi8(b, a, mask); }

}  // namespace tavo::avx2

TAVO_END
