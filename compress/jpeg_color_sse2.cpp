#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "compress/jpeg_color.h"

#define TAVO_TARGET

namespace tavo::jpeg {
namespace {

using V = __m128i;
constexpr size_t kPixels = 16;

inline V load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline V zero() { return _mm_setzero_si128(); }
inline V low_bytes(V a, V b) { return _mm_unpacklo_epi8(a, b); }
inline V high_bytes(V a, V b) { return _mm_unpackhi_epi8(a, b); }
inline V low_words(V a, V b) { return _mm_unpacklo_epi16(a, b); }
inline V high_words(V a, V b) { return _mm_unpackhi_epi16(a, b); }
inline V add(V a, V b) { return _mm_add_epi16(a, b); }
inline V sub(V a, V b) { return _mm_sub_epi16(a, b); }
inline V madd(V a, V b) { return _mm_madd_epi16(a, b); }
inline V add_dwords(V a, V b) { return _mm_add_epi32(a, b); }
inline V shift_dwords(V a) { return _mm_srai_epi32(a, 16); }
inline V pack_words(V a, V b) { return _mm_packs_epi32(a, b); }
inline V pack_bytes(V a, V b) { return _mm_packus_epi16(a, b); }
inline V all_words(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline V all_dwords(int value) { return _mm_set1_epi32(value); }
inline V word_pairs(int even, int odd) {
  return _mm_set1_epi32(
      static_cast<int>(static_cast<uint32_t>(odd) << 16 | (static_cast<uint32_t>(even) & 0xFFFF)));
}

// Half of the doubled product's upper word: rounding down twice is rounding down once.
inline V scaled(V a, int factor) {
  const V twice = _mm_mulhi_epi16(add(a, a), all_words(factor));
  return _mm_srai_epi16(sub(twice, all_words(-1)), 1);
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
  const V ab_low = low_bytes(a, b), ab_high = high_bytes(a, b);
  const V c_low = low_bytes(c, zero()), c_high = high_bytes(c, zero());
  store_four(low_words(ab_low, c_low), out);
  store_four(high_words(ab_low, c_low), out + 12);
  store_four(low_words(ab_high, c_high), out + 24);
  store_four(high_words(ab_high, c_high), out + 36);
}

}  // namespace
}  // namespace tavo::jpeg

#include "compress/jpeg_color_vector.h"

namespace tavo::jpeg {

const ColorConversion kColorSse2 = {convert_row<Kind::kRgb>, convert_row<Kind::kBgr>,
                                    convert_row<Kind::kInterleave>};

}  // namespace tavo::jpeg
