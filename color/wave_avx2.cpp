// The wave for processors with AVX2.
#include <immintrin.h>

#include "color/wave.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace tavo::color {

namespace wave_avx2 {

struct Words {
  __m256i v;
};

inline Words operator&(Words a, Words b) { return {_mm256_and_si256(a.v, b.v)}; }
inline Words operator|(Words a, Words b) { return {_mm256_or_si256(a.v, b.v)}; }
inline Words splat(int16_t value) { return {_mm256_set1_epi16(value)}; }
inline Words add(Words a, Words b) { return {_mm256_add_epi16(a.v, b.v)}; }
inline Words subtract(Words a, Words b) { return {_mm256_sub_epi16(a.v, b.v)}; }
inline Words multiply(Words a, Words b) { return {_mm256_mullo_epi16(a.v, b.v)}; }
inline Words multiply_high(Words a, Words b) { return {_mm256_mulhi_epi16(a.v, b.v)}; }
inline Words greater(Words a, Words b) { return {_mm256_cmpgt_epi16(a.v, b.v)}; }
template <int kBits>
inline Words shift_left(Words a) {
  return {_mm256_slli_epi16(a.v, kBits)};
}
template <int kBits>
inline Words shift_right(Words a) {
  return {_mm256_srli_epi16(a.v, kBits)};
}
template <int kBits>
inline Words shift_right_signed(Words a) {
  return {_mm256_srai_epi16(a.v, kBits)};
}
inline Words shift_right_signed(Words a, int bits) {
  return {_mm256_sra_epi16(a.v, _mm_cvtsi32_si128(bits))};
}
inline Words clamp_to_byte(Words a) {
  return {_mm256_max_epi16(_mm256_min_epi16(a.v, _mm256_set1_epi16(255)), _mm256_setzero_si256())};
}

inline Words load(const int16_t* from) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
}
template <class Word>
inline void store(Word* to, Words a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), a.v);
}
inline Words load_bytes(const uint8_t* from) {
  return {_mm256_cvtepu8_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(from)))};
}
inline void store_bytes(uint8_t* to, Words a) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to),
                  _mm_packus_epi16(_mm256_castsi256_si128(a.v), _mm256_extracti128_si256(a.v, 1)));
}

// Bytes by keys of 0 to 31.
struct Table32 {
  explicit Table32(const uint8_t* table)
      : low(_mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)))),
        high(_mm256_broadcastsi128_si256(
            _mm_load_si128(reinterpret_cast<const __m128i*>(table + 16)))) {}
  Words look_up(Words key) const {
    // Bit 7 of the upper byte's key makes the upper byte of the result zero.
    const __m256i keys = _mm256_or_si256(key.v, _mm256_set1_epi16(static_cast<int16_t>(0x8000)));
    const __m256i is_high = _mm256_cmpgt_epi16(key.v, _mm256_set1_epi16(15));
    return {_mm256_blendv_epi8(_mm256_shuffle_epi8(low, keys), _mm256_shuffle_epi8(high, keys),
                               is_high)};
  }
  __m256i low, high;
};

// Sixteen choices; the order in which packing puts words right again.
struct Choices {
  __m256i a;  // lanes 0-3, 8-11
  __m256i b;  // lanes 4-7, 12-15
};

inline __m128i load_four(const uint32_t* choices, const uint16_t* classes) {
  const auto choice = [&](uint32_t i) __attribute__((always_inline)) {
    return static_cast<int>(choices[classes[i]]);
  };
  return _mm_set_epi32(choice(3), choice(2), choice(1), choice(0));
}
inline Choices load_choices(const uint32_t* choices, const uint16_t* classes) {
  return {_mm256_set_m128i(load_four(choices, classes + 8), load_four(choices, classes)),
          _mm256_set_m128i(load_four(choices, classes + 12), load_four(choices, classes + 4))};
}
inline bool any_equal(const Choices& c, uint32_t value) {
  const __m256i wanted = _mm256_set1_epi32(static_cast<int>(value));
  const __m256i equal =
      _mm256_or_si256(_mm256_cmpeq_epi32(c.a, wanted), _mm256_cmpeq_epi32(c.b, wanted));
  return _mm256_testz_si256(equal, equal) == 0;
}
template <int kShift>
inline Words byte_of(const Choices& c) {
  const __m256i byte = _mm256_set1_epi32(255);
  return {_mm256_packus_epi32(_mm256_and_si256(_mm256_srli_epi32(c.a, kShift), byte),
                              _mm256_and_si256(_mm256_srli_epi32(c.b, kShift), byte))};
}

#include "color/wave_kernel.inl"

}  // namespace wave_avx2

WaveKernel wave_kernel_avx2(WaveChoice choice, bool is_floyd_steinberg) {
  return is_floyd_steinberg ? wave_avx2::kernel_for<wave_avx2::FloydSteinberg>(choice)
                            : wave_avx2::kernel_for<wave_avx2::AnyFilter>(choice);
}

}  // namespace tavo::color

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
