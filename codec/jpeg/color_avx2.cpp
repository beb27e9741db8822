// Colour conversion for AVX2.
#include <algorithm>
#include <cstring>

#include "base/vector_avx2.h"
#include "codec/jpeg/color.h"

TAVO_FOR_AVX2

namespace tavo::jpeg {

namespace {

using namespace avx2;

#include "codec/jpeg/color_kernel.inl"

// Half the constants, rounded: over the 256 chroma values the results are those of the whole ones.
inline V red_part(V cr) { return multiply_rounded16(cr, splat16(13173)); }
inline V blue_part(V cb) { return multiply_rounded16(cb, splat16(-7471)); }

// Pixels in 32-bit elements, of which three bytes count. The lower lanes come before the upper
// ones. Each store spills 4 bytes, which the next one covers.
inline void write_pixels(V a, V b, V c, uint8_t* out) {
  constexpr uint8_t kOrder[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
  const V order = load_repeated(kOrder);
  const V ab_low = unpack_low8(a, b), ab_high = unpack_high8(a, b);
  const V c_low = unpack_low8(c, c), c_high = unpack_high8(c, c);
  const V parts[4] = {shuffle8(unpack_low16(ab_low, c_low), order),
                      shuffle8(unpack_high16(ab_low, c_low), order),
                      shuffle8(unpack_low16(ab_high, c_high), order),
                      shuffle8(unpack_high16(ab_high, c_high), order)};
  for (size_t i = 0; i < 4; ++i) sse2::store(out + 12 * i, lane<0>(parts[i]));
  for (size_t i = 0; i < 4; ++i) sse2::store(out + 48 + 12 * i, lane<1>(parts[i]));
}

}  // namespace

const ColorConversion kColorAvx2 = {convert_row<Kind::kRgb>, convert_row<Kind::kBgr>,
                                    convert_row<Kind::kInterleave>};

}  // namespace tavo::jpeg

TAVO_END
