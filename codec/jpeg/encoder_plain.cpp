// The encoder's per-sample stages in plain C++, the judge of the vector code.
#include <algorithm>
#include <bit>
#include <cstdlib>

#include "base/variants.h"
#include "codec/jpeg/encoder_kernels.h"

namespace tavo::jpeg {

namespace {

using T = TransformConstants;

// JFIF 1.02: Y = 0.299 R + 0.587 G + 0.114 B, Cb = 0.5 B - 0.1687 R - 0.3313 G + 128, Cr likewise.
// Each product is cut to 8 bits of fraction, as the high halves of vector multiplications are.
void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  using C = ColorConstants;
  for (size_t i = 0; i < pixels; ++i) {
    const int b = bgr[3 * i];
    const int g = bgr[3 * i + 1];
    const int r = bgr[3 * i + 2];
    const int luma = (r * C::kYRed >> 8) + (g * C::kYGreen >> 8) + (b * C::kYBlue >> 8);
    y[i] = static_cast<uint8_t>((luma + C::kYBias) >> 8);
    const int blue = (b << 7) - (r * C::kCbRed >> 8) - (g * C::kCbGreen >> 8);
    cb[i] = static_cast<uint8_t>((blue + C::kChromaBias) >> 8);
    const int red = (r << 7) - (g * C::kCrGreen >> 8) - (b * C::kCrBlue >> 8);
    cr[i] = static_cast<uint8_t>((red + C::kChromaBias) >> 8);
  }
}

// The rounding of Kernels::halve: odd samples up, even ones down.
void halve(const uint8_t* samples, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count / 2; ++i) {
    out[i] = static_cast<uint8_t>((samples[2 * i] + samples[2 * i + 1] + (i & 1)) >> 1);
  }
}

// The rounding of Kernels::quarter: 1 and 2 are added in turn, so halves go down and up.
void quarter(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count / 2; ++i) {
    const size_t sum = size_t{upper[2 * i]} + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1];
    out[i] = static_cast<uint8_t>((sum + 1 + (i & 1)) >> 2);
  }
}

// One 8-point transform over v[0], v[step], ...; the result is scaled by sqrt(8). `descale` is
// the shift that drops the constants' fraction; outputs 0 and 4 have none, so `raise` or `lower`
// brings them to the others' scale.
void transform_line(int* v, int step, int raise, int lower) {
  const int s07 = v[0] + v[7 * step], d3 = v[0] - v[7 * step];
  const int s16 = v[step] + v[6 * step], d2 = v[step] - v[6 * step];
  const int s25 = v[2 * step] + v[5 * step], d1 = v[2 * step] - v[5 * step];
  const int s34 = v[3 * step] + v[4 * step], d0 = v[3 * step] - v[4 * step];
  // The even half: a transform of four points, whose outputs 0 and 4 are sums without factors.
  const int outer = s07 + s34, inner = s16 + s25;
  const int a = s07 - s34, b = s16 - s25;
  const int half = (1 << lower) >> 1;
  v[0] = ((outer + inner) * (1 << raise) + half) >> lower;
  v[4 * step] = ((outer - inner) * (1 << raise) + half) >> lower;

  const int shift = T::kBits - raise + lower;
  const int round = 1 << (shift - 1);
  for (int i = 0; i < 2; ++i) {
    v[(2 + 4 * i) * step] = (a * T::even[i][0] + b * T::even[i][1] + round) >> shift;
  }
  for (int i = 0; i < 4; ++i) {
    v[(1 + 2 * i) * step] =
        (d0 * T::odd[i][0] + d1 * T::odd[i][1] + d2 * T::odd[i][2] + d3 * T::odd[i][3] + round) >>
        shift;
  }
}

// A.3.1 (level shift), A.3.3, A.3.4, and the order of A.3.6.
void transform_block(const uint8_t* samples, size_t stride, const Divisors& divisors, int lane,
                     BlockPair& out) {
  int v[kBlockSize];
  for (size_t row = 0; row < 8; ++row) {
    for (size_t column = 0; column < 8; ++column) {
      v[8 * row + column] = samples[row * stride + column] - 128;
    }
  }
  // Between the passes values carry kPass1Bits more; the second one drops them.
  for (int column = 0; column < 8; ++column) transform_line(v + column, 8, T::kPass1Bits, 0);
  for (int row = 0; row < 8; ++row) transform_line(v + 8 * row, 1, 0, T::kPass1Bits);

  int16_t quotients[kBlockSize];
  for (size_t i = 0; i < kBlockSize; ++i) {
    // i counts column by column, v row by row.
    const int x = v[8 * (i & 7) + (i >> 3)];
    // A.3.4 rounds to the nearest: of magnitudes, so halves go away from zero on both sides.
    uint32_t q = static_cast<uint32_t>(std::abs(x)) + divisors.half[i];
    q = q * divisors.reciprocal[i] >> 16;
    q = q * divisors.scale[i] >> 16;
    quotients[i] = static_cast<int16_t>(x < 0 ? -static_cast<int>(q) : static_cast<int>(q));
    out.coefficients[i >> 3][lane][i & 7] = quotients[i];
  }
  uint64_t nonzero = 0;
  for (size_t k = 0; k < kBlockSize; ++k) {
    // -128 and 127 mean that the coefficient is to be looked up (BlockPair).
    const int q = std::clamp<int>(quotients[kColumnZigzag[k]], -128, 127);
    out.zigzag[lane][k] = static_cast<int8_t>(q);
    nonzero |= uint64_t{q != 0} << k;
  }
  out.nonzero[lane] = nonzero;
}

void transform(const uint8_t* samples, size_t stride, size_t pairs, const Divisors& divisors,
               BlockPair* out) {
  for (size_t i = 0; i < pairs; ++i) {
    transform_block(samples + 16 * i, stride, divisors, 0, out[i]);
    transform_block(samples + 16 * i + 8, stride, divisors, 1, out[i]);
  }
}

}  // namespace

// See the proof at Divisors.
void make_divisors(const std::array<uint8_t, kBlockSize>& table, Divisors& divisors) {
  for (size_t k = 0; k < kBlockSize; ++k) {
    const uint32_t divisor = 8u * table[k];
    const int log2 = static_cast<int>(std::bit_width(divisor)) - 1;
    // A power of two would need 2^16: half of that and one bit less of a shift.
    const bool power = std::has_single_bit(divisor);
    const uint32_t reciprocal = power ? 1u << 15 : ((1u << (16 + log2)) + divisor - 1) / divisor;
    const size_t i = kColumnZigzag[k];
    divisors.half[i] = static_cast<uint16_t>(divisor / 2);
    divisors.reciprocal[i] = static_cast<uint16_t>(reciprocal);
    divisors.scale[i] = static_cast<uint16_t>(1u << (16 - log2 + (power ? 1 : 0)));
  }
}

// For tests; no processor gets them.
const Kernels kPlainKernels = {convert, halve, quarter, transform};

const Kernels& kernels() {
  return *Variants<const Kernels*>{
      .any = &kSse2Kernels, .ssse3 = &kSsse3Kernels, .avx2 = &kAvx2Kernels}
              .best();
}

}  // namespace tavo::jpeg
