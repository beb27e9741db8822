// 128-bit operations that the SSE2 and the SSSE3 kernels share. Nothing here needs more than SSE2.
#pragma once

#include <emmintrin.h>

#include "compress/jpeg_encoder_kernels.h"

#define TAVO_KERNEL inline
#define TAVO_MM(operation) _mm_##operation

namespace tavo::jpeg::sse {

using V = __m128i;

inline V load(const void* p) { return _mm_loadu_si128(static_cast<const V*>(p)); }
inline void store(void* p, V v) { _mm_storeu_si128(static_cast<V*>(p), v); }
inline V load_repeated(const void* p) { return load(p); }

#include "compress/jpeg_vector_ops.inc"

inline V magnitude16(V a) { return _mm_max_epi16(a, _mm_sub_epi16(_mm_setzero_si128(), a)); }
inline V with_sign16(V value, V sign) {
  const V negative = _mm_srai_epi16(sign, 15);
  return _mm_sub_epi16(_mm_xor_si128(value, negative), negative);
}
inline V load_samples(const uint8_t* p) {
  const V bytes = _mm_loadl_epi64(reinterpret_cast<const V*>(p));
  return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

// Sums of horizontal neighbours.
inline V pair_sums(V bytes) {
  return add16(_mm_and_si128(bytes, splat16(0x00FF)), _mm_srli_epi16(bytes, 8));
}

inline void halve(const uint8_t* samples, size_t count, uint8_t* out) {
  const V bias = splat32(0x00010000);
  for (size_t i = 0; i < count; i += 32) {
    const V a = _mm_srli_epi16(add16(pair_sums(load(samples + i)), bias), 1);
    const V b = _mm_srli_epi16(add16(pair_sums(load(samples + i + 16)), bias), 1);
    store(out + i / 2, _mm_packus_epi16(a, b));
  }
}

inline void quarter(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out) {
  const V bias = splat32(0x00020001);
  const auto sums = [&](size_t i) {
    const V sum = add16(pair_sums(load(upper + i)), pair_sums(load(lower + i)));
    return _mm_srli_epi16(add16(sum, bias), 2);
  };
  for (size_t i = 0; i < count; i += 32) {
    store(out + i / 2, _mm_packus_epi16(sums(i), sums(i + 16)));
  }
}

// Bit k set where byte k of the 64 is not 0.
inline uint64_t nonzero_mask(V a, V b, V c, V d) {
  const auto zeros = [](V v) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())));
  };
  const uint32_t low = zeros(a) | zeros(b) << 16;
  const uint32_t high = zeros(c) | zeros(d) << 16;
  return ~(uint64_t{high} << 32 | low);
}

}  // namespace tavo::jpeg::sse

#undef TAVO_KERNEL
#undef TAVO_MM
