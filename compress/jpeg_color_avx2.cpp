#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "compress/jpeg_color.h"

#define TAVO_TARGET __attribute__((target("avx2")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("avx2")))
#define TAVO_MM(operation) _mm256_##operation

namespace tavo::jpeg {
namespace {

using V = __m256i;
constexpr size_t kPixels = 32;

TAVO_TARGET inline V load(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
TAVO_TARGET inline V zero() { return _mm256_setzero_si256(); }
#include "compress/jpeg_vector_ops.inc"

// Half the constants, rounded: over the 256 chroma values the results are those of the whole ones.
TAVO_TARGET inline V red_part(V cr) { return _mm256_mulhrs_epi16(cr, splat16(13173)); }
TAVO_TARGET inline V blue_part(V cb) { return _mm256_mulhrs_epi16(cb, splat16(-7471)); }

TAVO_TARGET inline void store(__m128i v, uint8_t* p) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// Each lane of `a`, `b`, `c` and `d` has four pixels in dwords; the highest byte of each is
// dropped. The lower lanes come before the upper ones. Each store spills 4 bytes, which the next
// one covers.
TAVO_TARGET inline void store_dwords(V a, V b, V c, V d, uint8_t* out) {
  const V order = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  const V parts[4] = {_mm256_shuffle_epi8(a, order), _mm256_shuffle_epi8(b, order),
                      _mm256_shuffle_epi8(c, order), _mm256_shuffle_epi8(d, order)};
  for (size_t i = 0; i < 4; ++i) store(_mm256_castsi256_si128(parts[i]), out + 12 * i);
  for (size_t i = 0; i < 4; ++i) store(_mm256_extracti128_si256(parts[i], 1), out + 48 + 12 * i);
}

TAVO_TARGET inline void write_pixels(V a, V b, V c, uint8_t* out) {
  const V ab_low = unpack_low8(a, b), ab_high = unpack_high8(a, b);
  const V c_low = unpack_low8(c, c), c_high = unpack_high8(c, c);
  store_dwords(unpack_low16(ab_low, c_low), unpack_high16(ab_low, c_low),
               unpack_low16(ab_high, c_high), unpack_high16(ab_high, c_high), out);
}

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_color_vector.h"

namespace tavo::jpeg {

const ColorConversion kColorAvx2 = {convert_row<Kind::kRgb>, convert_row<Kind::kBgr>,
                                    convert_row<Kind::kInterleave>};

}  // namespace tavo::jpeg
