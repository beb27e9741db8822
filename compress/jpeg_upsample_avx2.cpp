#include <immintrin.h>

#include "compress/jpeg_upsample.h"

#define TAVO_TARGET __attribute__((target("avx2")))

namespace tavo::jpeg {
namespace {

using V = __m256i;
constexpr size_t kLanes = 16;

TAVO_TARGET inline V widen(const uint8_t* p) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
TAVO_TARGET inline V add(V a, V b) { return _mm256_add_epi16(a, b); }
template <int kShift>
TAVO_TARGET inline V left(V a) {
  return _mm256_slli_epi16(a, kShift);
}
template <int kShift>
TAVO_TARGET inline V right(V a) {
  return _mm256_srli_epi16(a, kShift);
}
TAVO_TARGET inline V all_words(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
TAVO_TARGET inline void store(uint8_t* p, V v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
TAVO_TARGET inline void pack_store(uint8_t* p, V v) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p),
                   _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_upsample_vector.h"

namespace tavo::jpeg {

const Upsampling kUpsamplingAvx2 = {double_width, double_both, double_height};

}  // namespace tavo::jpeg
