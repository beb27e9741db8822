// Colour conversion for SSE2, which has no rounding product: it is made of the truncating one.
#include <algorithm>
#include <cstring>

#include "base/vector_sse2.h"
#include "codec/jpeg/color.h"

namespace tavo::jpeg {

namespace {

using namespace sse2;

#include "codec/jpeg/color_kernel.inl"

// Half of the doubled product's upper word: rounding down twice is rounding down once.
inline V scaled(V a, int factor) {
  const V twice = multiply_high16(add16(a, a), splat16(factor));
  return shift_right16_signed<1>(sub16(twice, splat16(-1)));
}
inline V red_part(V cr) { return scaled(cr, 91881 - 65536); }
inline V blue_part(V cb) { return scaled(cb, 116130 - 131072); }

inline void write_pixels(V a, V b, V c, uint8_t* out) { store_triples(out, a, b, c); }

}  // namespace

const ColorConversion kColorSse2 = {convert_row<Kind::kRgb>, convert_row<Kind::kBgr>,
                                    convert_row<Kind::kInterleave>};

}  // namespace tavo::jpeg
