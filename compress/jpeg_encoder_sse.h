// 128-bit operations that the SSE2 and the SSSE3 kernels share. Nothing here needs more than SSE2.
#pragma once

#include <emmintrin.h>

#include "compress/jpeg_encoder_kernels.h"

namespace tavo::jpeg::sse {

using V = __m128i;

inline V load(const void* p) { return _mm_loadu_si128(static_cast<const V*>(p)); }
inline void store(void* p, V v) { _mm_storeu_si128(static_cast<V*>(p), v); }
inline V load_repeated(const uint16_t* p) { return load(p); }
inline V splat16(int v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }
inline V splat32(int v) { return _mm_set1_epi32(v); }
inline V splat_pair(int16_t even, int16_t odd) {
  return _mm_set1_epi32(static_cast<int>(static_cast<uint32_t>(odd) << 16 | (even & 0xFFFF)));
}
inline V add16(V a, V b) { return _mm_add_epi16(a, b); }
inline V sub16(V a, V b) { return _mm_sub_epi16(a, b); }
inline V add32(V a, V b) { return _mm_add_epi32(a, b); }
inline V multiply_add(V a, V b) { return _mm_madd_epi16(a, b); }
inline V multiply_high(V a, V b) { return _mm_mulhi_epu16(a, b); }
inline V pack32(V a, V b) { return _mm_packs_epi32(a, b); }
template <int kBits>
inline V shift_left16(V a) {
  return _mm_slli_epi16(a, kBits);
}
template <int kBits>
inline V shift_right16(V a) {
  return _mm_srai_epi16(a, kBits);
}
template <int kBits>
inline V shift_right32(V a) {
  return _mm_srai_epi32(a, kBits);
}
inline V unpack_low16(V a, V b) { return _mm_unpacklo_epi16(a, b); }
inline V unpack_high16(V a, V b) { return _mm_unpackhi_epi16(a, b); }
inline V unpack_low32(V a, V b) { return _mm_unpacklo_epi32(a, b); }
inline V unpack_high32(V a, V b) { return _mm_unpackhi_epi32(a, b); }
inline V unpack_low64(V a, V b) { return _mm_unpacklo_epi64(a, b); }
inline V unpack_high64(V a, V b) { return _mm_unpackhi_epi64(a, b); }
inline V magnitude16(V a) { return _mm_max_epi16(a, _mm_sub_epi16(_mm_setzero_si128(), a)); }
inline V with_sign16(V value, V sign) {
  const V negative = _mm_srai_epi16(sign, 15);
  return _mm_sub_epi16(_mm_xor_si128(value, negative), negative);
}
inline V load_samples(const uint8_t* p) {
  const V bytes = _mm_loadl_epi64(reinterpret_cast<const V*>(p));
  return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

// Luma and chroma of 8 pixels, whose components stand in the high bytes of the lanes.
struct Planes {
  V y, cb, cr;
};
inline Planes convert_lanes(V b, V g, V r) {
  using C = ColorConstants;
  const auto times = [](V v, int c) { return _mm_mulhi_epu16(v, splat16(c)); };
  const V luma = add16(add16(times(r, C::kYRed), times(g, C::kYGreen)),
                       add16(times(b, C::kYBlue), splat16(C::kYBias)));
  const V bias = splat16(C::kChromaBias);
  const V blue =
      sub16(add16(_mm_srli_epi16(b, 1), bias), add16(times(r, C::kCbRed), times(g, C::kCbGreen)));
  const V red =
      sub16(add16(_mm_srli_epi16(r, 1), bias), add16(times(g, C::kCrGreen), times(b, C::kCrBlue)));
  return {_mm_srli_epi16(luma, 8), _mm_srli_epi16(blue, 8), _mm_srli_epi16(red, 8)};
}

inline void store_planes(const Planes& a, const Planes& b, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  store(y, _mm_packus_epi16(a.y, b.y));
  store(cb, _mm_packus_epi16(a.cb, b.cb));
  store(cr, _mm_packus_epi16(a.cr, b.cr));
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
