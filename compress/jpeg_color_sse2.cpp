#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "compress/jpeg_color.h"

#define TAVO_TARGET
#define TAVO_KERNEL inline __attribute__((always_inline))
#define TAVO_MM(operation) _mm_##operation

namespace tavo::jpeg {
namespace {

using V = __m128i;
constexpr size_t kPixels = 16;

inline V load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline V zero() { return _mm_setzero_si128(); }
#include "compress/jpeg_vector_ops.inc"

// Half of the doubled product's upper word: rounding down twice is rounding down once.
inline V scaled(V a, int factor) {
  const V twice = _mm_mulhi_epi16(add16(a, a), splat16(factor));
  return _mm_srai_epi16(sub16(twice, splat16(-1)), 1);
}
inline V red_part(V cr) { return scaled(cr, 91881 - 65536); }
inline V blue_part(V cb) { return scaled(cb, 116130 - 131072); }

// Four pixels in dwords whose highest byte is 0: closes the gaps.
inline void store_four(V pixels, uint8_t* out) {
  const V even = _mm_and_si128(pixels, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF));
  const V odd = _mm_slli_epi64(_mm_srli_epi64(pixels, 32), 24);
  const V joined = _mm_or_si128(even, odd);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), joined);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 6), _mm_unpackhi_epi64(joined, joined));
}

inline void write_pixels(V a, V b, V c, uint8_t* out) {
  const V ab_low = unpack_low8(a, b), ab_high = unpack_high8(a, b);
  const V c_low = unpack_low8(c, zero()), c_high = unpack_high8(c, zero());
  store_four(unpack_low16(ab_low, c_low), out);
  store_four(unpack_high16(ab_low, c_low), out + 12);
  store_four(unpack_low16(ab_high, c_high), out + 24);
  store_four(unpack_high16(ab_high, c_high), out + 36);
}

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_color_vector.h"

namespace tavo::jpeg {

const ColorConversion kColorSse2 = {convert_row<Kind::kRgb>, convert_row<Kind::kBgr>,
                                    convert_row<Kind::kInterleave>};

}  // namespace tavo::jpeg
