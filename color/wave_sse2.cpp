// The wave for every processor: the sixteen lanes are two vectors.
#include <emmintrin.h>

#include "color/wave.h"

namespace tavo::color {

namespace wave_sse2 {

struct Words {
  __m128i lo;
  __m128i hi;
};

inline Words operator&(Words a, Words b) {
  return {_mm_and_si128(a.lo, b.lo), _mm_and_si128(a.hi, b.hi)};
}
inline Words operator|(Words a, Words b) {
  return {_mm_or_si128(a.lo, b.lo), _mm_or_si128(a.hi, b.hi)};
}
inline Words splat(int16_t value) { return {_mm_set1_epi16(value), _mm_set1_epi16(value)}; }
inline Words add(Words a, Words b) {
  return {_mm_add_epi16(a.lo, b.lo), _mm_add_epi16(a.hi, b.hi)};
}
inline Words subtract(Words a, Words b) {
  return {_mm_sub_epi16(a.lo, b.lo), _mm_sub_epi16(a.hi, b.hi)};
}
inline Words multiply(Words a, Words b) {
  return {_mm_mullo_epi16(a.lo, b.lo), _mm_mullo_epi16(a.hi, b.hi)};
}
inline Words multiply_high(Words a, Words b) {
  return {_mm_mulhi_epi16(a.lo, b.lo), _mm_mulhi_epi16(a.hi, b.hi)};
}
inline Words greater(Words a, Words b) {
  return {_mm_cmpgt_epi16(a.lo, b.lo), _mm_cmpgt_epi16(a.hi, b.hi)};
}
template <int kBits>
inline Words shift_left(Words a) {
  return {_mm_slli_epi16(a.lo, kBits), _mm_slli_epi16(a.hi, kBits)};
}
template <int kBits>
inline Words shift_right(Words a) {
  return {_mm_srli_epi16(a.lo, kBits), _mm_srli_epi16(a.hi, kBits)};
}
template <int kBits>
inline Words shift_right_signed(Words a) {
  return {_mm_srai_epi16(a.lo, kBits), _mm_srai_epi16(a.hi, kBits)};
}
inline Words shift_right_signed(Words a, int bits) {
  const __m128i count = _mm_cvtsi32_si128(bits);
  return {_mm_sra_epi16(a.lo, count), _mm_sra_epi16(a.hi, count)};
}
inline __m128i clamp_to_byte(__m128i a) {
  return _mm_max_epi16(_mm_min_epi16(a, _mm_set1_epi16(255)), _mm_setzero_si128());
}
inline Words clamp_to_byte(Words a) { return {clamp_to_byte(a.lo), clamp_to_byte(a.hi)}; }

inline Words load(const int16_t* from) {
  return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)),
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8))};
}
template <class Word>
inline void store(Word* to, Words a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), a.lo);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), a.hi);
}
inline Words load_bytes(const uint8_t* from) {
  const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(from));
  return {_mm_unpacklo_epi8(bytes, _mm_setzero_si128()),
          _mm_unpackhi_epi8(bytes, _mm_setzero_si128())};
}
inline void store_bytes(uint8_t* to, Words a) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(a.lo, a.hi));
}

// Bytes by keys of 0 to 31.
struct Table32 {
  explicit Table32(const uint8_t* the_table) : table(the_table) {}
  Words look_up(Words key) const {
    alignas(16) int16_t words[kWaveLanes];
    store(words, key);
    for (int16_t& word : words) word = table[word];
    return load(words);
  }
  const uint8_t* table;
};

struct Choices {
  __m128i quads[4];
};

inline __m128i load_four(const uint32_t* choices, const uint16_t* classes) {
  const auto choice = [&](uint32_t i) { return static_cast<int>(choices[classes[i]]); };
  return _mm_set_epi32(choice(3), choice(2), choice(1), choice(0));
}
inline Choices load_choices(const uint32_t* choices, const uint16_t* classes) {
  return {{load_four(choices, classes), load_four(choices, classes + 4),
           load_four(choices, classes + 8), load_four(choices, classes + 12)}};
}
inline bool any_equal(const Choices& c, uint32_t value) {
  const __m128i wanted = _mm_set1_epi32(static_cast<int>(value));
  __m128i equal = _mm_setzero_si128();
  for (const __m128i& quad : c.quads) equal = _mm_or_si128(equal, _mm_cmpeq_epi32(quad, wanted));
  return _mm_movemask_epi8(equal) != 0;
}
template <int kShift>
inline __m128i byte_of(__m128i choices) {
  return _mm_and_si128(_mm_srli_epi32(choices, kShift), _mm_set1_epi32(255));
}
template <int kShift>
inline Words byte_of(const Choices& c) {
  return {_mm_packs_epi32(byte_of<kShift>(c.quads[0]), byte_of<kShift>(c.quads[1])),
          _mm_packs_epi32(byte_of<kShift>(c.quads[2]), byte_of<kShift>(c.quads[3]))};
}

#include "color/wave_kernel.inl"

}  // namespace wave_sse2

WaveKernel wave_kernel_sse2(WaveChoice choice, bool is_floyd_steinberg) {
  return is_floyd_steinberg ? wave_sse2::kernel_for<wave_sse2::FloydSteinberg>(choice)
                            : wave_sse2::kernel_for<wave_sse2::AnyFilter>(choice);
}

}  // namespace tavo::color
