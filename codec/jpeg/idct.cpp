#include "codec/jpeg/idct.h"

#include <algorithm>
#include <array>

#include "base/variants.h"
#include "codec/jpeg/idct_constants.h"

namespace tavo::jpeg {
namespace {

// One pass over eight values `step` apart, in place. The sums cannot overflow: the constants of an
// output add up to 61213, times 32768.
void pass(int32_t* v, size_t step, int shift) {
  const int32_t a0 = v[0], a1 = v[step], a2 = v[2 * step], a3 = v[3 * step];
  const int32_t a4 = v[4 * step], a5 = v[5 * step], a6 = v[6 * step], a7 = v[7 * step];
  const int32_t round = 1 << (shift - 1);
  const int32_t e0 = (a0 + a4) * kOne + round;
  const int32_t e1 = (a0 - a4) * kOne + round;
  const int32_t e2 = a2 * kEven2 - a6 * kEven6;
  const int32_t e3 = a2 * kEven6Sum + a6 * kEven2;
  const std::array<int32_t, 4> even = {e0 + e3, e1 + e2, e1 - e2, e0 - e3};
  const std::array<int32_t, 4> odd = {
      a1 * kOdd[0][0] + a3 * kOdd[0][1] + a5 * kOdd[0][2] + a7 * kOdd[0][3],
      a1 * kOdd[1][0] + a3 * kOdd[1][1] + a5 * kOdd[1][2] + a7 * kOdd[1][3],
      a1 * kOdd[2][0] + a3 * kOdd[2][1] + a5 * kOdd[2][2] + a7 * kOdd[2][3],
      a1 * kOdd[3][0] + a3 * kOdd[3][1] + a5 * kOdd[3][2] + a7 * kOdd[3][3],
  };
  for (size_t i = 0; i < 4; ++i) {
    v[i * step] = (even[i] + odd[i]) >> shift;
    v[(7 - i) * step] = (even[i] - odd[i]) >> shift;
  }
}

// A.3.4 and A.3.3: dequantises, transforms columns, then rows, and undoes the level shift of A.3.1.
// In 16 bits where the vector code is, so that damaged streams give the same samples.
void transform_block(const int16_t* block, const uint16_t* quantisers, uint8_t* out,
                     size_t stride) {
  std::array<int32_t, 64> work;
  for (size_t i = 0; i < work.size(); ++i) {
    work[i] = static_cast<int16_t>(block[i] * static_cast<int16_t>(quantisers[i]));
  }
  for (size_t x = 0; x < 8; ++x) pass(&work[x], 8, kFirstShift);
  for (int32_t& value : work) value = std::clamp(value, -32768, 32767);
  for (size_t y = 0; y < 8; ++y) pass(&work[8 * y], 1, kSecondShift);
  for (size_t y = 0; y < 8; ++y) {
    for (size_t x = 0; x < 8; ++x) {
      out[y * stride + x] = static_cast<uint8_t>(std::clamp(work[8 * y + x] + 128, 0, 255));
    }
  }
}

}  // namespace

// The judge of the vector code. An extent saves work there; here it would be one more thing to
// prove.
void inverse_transform_plain(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                             Extent /*extent*/, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  transform_block(a, quantisers, out_a, stride);
  transform_block(b, quantisers, out_b, stride);
}

InverseTransform choose_inverse_transform() {
  return Variants<InverseTransform>{.any = inverse_transform_sse2, .avx2 = inverse_transform_avx2}
      .best();
}

}  // namespace tavo::jpeg
