#include <emmintrin.h>

#include "compress/jpeg_upsample.h"

#define TAVO_TARGET

namespace tavo::jpeg {
namespace {

using V = __m128i;
constexpr size_t kLanes = 8;

inline V widen(const uint8_t* p) {
  return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                           _mm_setzero_si128());
}
inline V add(V a, V b) { return _mm_add_epi16(a, b); }
template <int kShift>
inline V left(V a) {
  return _mm_slli_epi16(a, kShift);
}
template <int kShift>
inline V right(V a) {
  return _mm_srli_epi16(a, kShift);
}
inline V all_words(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline void store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline void pack_store(uint8_t* p, V v) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(v, v));
}

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_upsample_vector.h"

namespace tavo::jpeg {

const Upsampling kUpsamplingSse2 = {double_width, double_both, double_height};

}  // namespace tavo::jpeg
