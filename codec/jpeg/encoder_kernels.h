// The stages of the JPEG encoder that touch every sample, behind one table of functions for each
// kind of processor. All tables give the same bytes; the plain one is what the others are judged
// by.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/jpeg/tables.h"

namespace tavo::jpeg {

// Pixels and samples come in multiples of this, the bytes of the widest vector; kernels may read
// kOverread bytes past them.
inline constexpr size_t kPixelStep = 32;
inline constexpr size_t kOverread = 16;

// A quantisation table as its reciprocals. Transformed coefficients carry a factor of 8, so the
// divisor is d = 8 q and the quotient floor((|x| + d / 2) / d) is two high multiplications:
//   ((|x| + half) * reciprocal >> 16) * scale >> 16.
// Exact for |x| + half < 2^14, which 8-bit samples cannot exceed: with f = floor(log2 d),
// reciprocal = ceil(2^(16 + f) / d) is too large by less than 1, which adds less than
// 2^14 / 2^(16 + f) to the quotient, and that is less than 1 / d.
// Order: column by column, the order in which the transform leaves its coefficients.
struct Divisors {
  alignas(32) std::array<uint16_t, kBlockSize> half;
  alignas(32) std::array<uint16_t, kBlockSize> reciprocal;
  alignas(32) std::array<uint16_t, kBlockSize> scale;
};

// `table` holds the 64 entries (1 to 255) in zigzag order.
void make_divisors(const std::array<uint8_t, kBlockSize>& table, Divisors& divisors);

// Two horizontally adjacent blocks, quantised. coefficients[u][lane][v] has horizontal frequency
// u and vertical frequency v; zigzag[lane] is the same in the order of the stream, saturated to
// 8 bits (-128 and 127 mean: look the coefficient up); bit k of nonzero[lane] is set when
// zigzag[lane][k] is not 0.
struct BlockPair {
  alignas(32) int16_t coefficients[8][2][8];
  alignas(32) int8_t zigzag[2][kBlockSize];
  uint64_t nonzero[2];
};

// kColumnZigzag[k] is where the k-th coefficient of the stream stands in column order.
inline constexpr std::array<uint8_t, kBlockSize> kColumnZigzag = [] {
  std::array<uint8_t, kBlockSize> places{};
  for (size_t k = 0; k < kBlockSize; ++k) {
    places[k] = static_cast<uint8_t>((kZigzag[k] & 7) << 3 | kZigzag[k] >> 3);
  }
  return places;
}();

struct Kernels {
  // Blue, green, red bytes to three planes (ITU-R BT.601 as JFIF uses it).
  void (*convert)(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr);
  // `count` samples to count / 2: the mean of two. Halves are rounded down and up in turn, so
  // that the mean level stays.
  void (*halve)(const uint8_t* samples, size_t count, uint8_t* out);
  // The same for two rows to one: the mean of four.
  void (*quarter)(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out);
  // 16 x 8 samples each to a pair of blocks: accurate integer forward transform, quantisation,
  // zigzag.
  void (*transform)(const uint8_t* samples, size_t stride, size_t pairs, const Divisors& divisors,
                    BlockPair* out);
};

extern const Kernels kPlainKernels;
extern const Kernels kSse2Kernels;
extern const Kernels kSsse3Kernels;  // SSE2 where its byte shuffle does not help
extern const Kernels kAvx2Kernels;

// The best for the processor at hand.
const Kernels& kernels();

// Transform constants: 13 fractional bits. The four odd outputs as direct combinations of the four
// differences d0 = s3 - s4 ... d3 = s0 - s7; the even ones of the two inner differences.
struct TransformConstants {
  static constexpr int kBits = 13;
  static constexpr int kPass1Bits = 2;

  static constexpr int k0_298 = 2446, k0_390 = 3196, k0_541 = 4433, k0_765 = 6270;
  static constexpr int k0_899 = 7373, k1_175 = 9633, k1_501 = 12299, k1_847 = 15137;
  static constexpr int k1_961 = 16069, k2_053 = 16819, k2_562 = 20995, k3_072 = 25172;

  // odd[i] makes output 2 i + 1 from d0 ... d3.
  static constexpr int16_t odd[4][4] = {
      {k1_175 - k0_899, k1_175 - k0_390, k1_175, k1_501 - k0_899 - k0_390 + k1_175},
      {k1_175 - k1_961, k1_175 - k2_562, k3_072 - k2_562 - k1_961 + k1_175, k1_175},
      {k1_175, k2_053 - k2_562 - k0_390 + k1_175, k1_175 - k2_562, k1_175 - k0_390},
      {k0_298 - k0_899 - k1_961 + k1_175, k1_175, k1_175 - k1_961, k1_175 - k0_899}};
  // even[0] makes output 2, even[1] output 6, from (s0 + s7) - (s3 + s4), (s1 + s6) - (s2 + s5).
  static constexpr int16_t even[2][2] = {{k0_541 + k0_765, k0_541}, {k0_541, k0_541 - k1_847}};
};

// Colour conversion: products carry 8 fractional bits and are cut, so the rounding term makes up
// for what three (two) cuts lose on average.
struct ColorConstants {
  static constexpr int kYRed = 19595, kYGreen = 38470, kYBlue = 7471, kYBias = 129;
  static constexpr int kCbRed = 11059, kCbGreen = 21709;
  static constexpr int kCrGreen = 27439, kCrBlue = 5329;
  static constexpr int kChromaBias = 32768 + 126;
};

}  // namespace tavo::jpeg
