// Vectors of 64 bytes that permutations of bytes take as a whole: four lanes that no verb needs.
#pragma once

#include <immintrin.h>

#include "base/vector_sse2.h"

TAVO_FOR_AVX512

namespace tavo::avx512 {

using V = __m512i;

inline constexpr size_t kBytes = sizeof(V);

TAVO_INLINE V load(const void* p) { return _mm512_loadu_si512(p); }
TAVO_INLINE void store(void* p, V v) { _mm512_storeu_si512(p, v); }
// The first `count` bytes, 1 to 64.
TAVO_INLINE void store_first(void* p, V v, uint32_t count) {
  _mm512_mask_storeu_epi8(p, UINT64_MAX >> (64 - count), v);
}

TAVO_INLINE V min8_unsigned(V a, V b) { return _mm512_min_epu8(a, b); }
TAVO_INLINE V max8_unsigned(V a, V b) { return _mm512_max_epu8(a, b); }
// a where the byte of `keys` has its top bit, else b.
TAVO_INLINE V select_by_top8(V keys, V a, V b) {
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(keys), b, a);
}

// Byte i is v[index[i]], or that of `low` with `high` behind it.
TAVO_INLINE V permute8(V v, V index) {
  return _mm512_maskz_permutexvar_epi8(UINT64_MAX, index, v);  // GCC 12 warns of the plain one
}
TAVO_INLINE V permute8(V low, V high, V index) {
  return _mm512_permutex2var_epi8(low, index, high);
}

}  // namespace tavo::avx512

TAVO_END
