#include "codec/photocd_samples.h"

#include <algorithm>
#include <cstring>

#include "base/vector_sse2.h"

namespace tavo::photocd {

namespace {

using namespace sse2;

constexpr size_t kSamples = kBytes / 2;  // of a vector of words

// Even and odd samples as the low and the high bytes of words.
V join(V even, V odd) { return add16(even, shift_left16<8>(odd)); }

}  // namespace

void double_row(const uint8_t* in, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kSamples) {
    const V here = load_widened8(in + i);
    const V sum = add16(add16(here, load_widened8(in + i + 1)), splat16(1));
    store(out + 2 * i, join(here, shift_right16<1>(sum)));
  }
  out[2 * count - 1] = in[count - 1];
}

void double_between(const uint8_t* above, const uint8_t* below, size_t count, uint8_t* out) {
  const auto column = [=](size_t i) {
    return add16(load_widened8(above + i), load_widened8(below + i));
  };
  for (size_t i = 0; i < count; i += kSamples) {
    const V here = column(i);
    const V four = add16(add16(here, column(i + 1)), splat16(2));
    store(out + 2 * i, join(shift_right16<1>(add16(here, splat16(1))), shift_right16<2>(four)));
  }
  out[2 * count - 1] = out[2 * count - 2];
}

// What is added and what is taken away stay bytes without a sign.
void add_differences(const int8_t* differences, size_t count, uint8_t* row) {
  for (size_t i = 0; i < count; i += kBytes) {
    const V difference = load(differences + i);
    const V is_less = greater8(V{}, difference);
    const V more = difference & ~is_less;
    const V less = sub8(V{}, difference) & is_less;
    store(row + i, sub8_clamped(add8_clamped(load(row + i), more), less));
  }
}

namespace {

// A component each.
struct Pixels {
  V red;
  V green;
  V blue;
};

// The constants are taken apart so that what is multiplied fits 16 bits: 89024 is 65536 + 23488,
// 119374 is 131072 - 11698, 145352 is 131072 + 14280, -60761 is 4775 - 65536.
constexpr int kLuma = 89024 - 65536;
constexpr int kRed = 119374 - 131072;
constexpr int kBlue = 145352 - 131072;
constexpr int kGreenOfBlue = -28198;
constexpr int kGreenOfRed = 65536 - 60761;

// Sums of products >> 16 for the words of `low` and `high`.
TAVO_INLINE V scaled(V low, V high) {
  return pack32(shift_right32_signed<16>(low), shift_right32_signed<16>(high));
}

// Half of the pixels, in words.
TAVO_INLINE Pixels convert_words(V y, V c1, V c2) {
  const V round = splat32(32768);
  const auto sums = [round](V a, V b, int factor_a, int factor_b) {
    const V factors = splat_pairs16(factor_a, factor_b);
    return scaled(add32(multiply_add16(unpack_low16(a, b), factors), round),
                  add32(multiply_add16(unpack_high16(a, b), factors), round));
  };
  // For green the rounding is a product, too: 2 * 16384.
  const V y_c1 = splat_pairs16(kLuma, kGreenOfBlue);
  const V c2_round = splat_pairs16(kGreenOfRed, 16384);
  const V two = splat16(2);
  const V green = scaled(add32(multiply_add16(unpack_low16(y, c1), y_c1),
                               multiply_add16(unpack_low16(c2, two), c2_round)),
                         add32(multiply_add16(unpack_high16(y, c1), y_c1),
                               multiply_add16(unpack_high16(c2, two), c2_round)));
  return {add16(add16(y, add16(c2, c2)), sums(y, c2, kLuma, kRed)), add16(sub16(y, c2), green),
          add16(add16(y, add16(c1, c1)), sums(y, c1, kLuma, kBlue))};
}

TAVO_INLINE void convert(const uint8_t* y, const uint8_t* c1, const uint8_t* c2, uint8_t* out) {
  const V luma = load(y), blue = load(c1), red = load(c2);
  const V blue_zero = splat16(156), red_zero = splat16(137);
  const Pixels low = convert_words(unpack_low8(luma, V{}), sub16(unpack_low8(blue, V{}), blue_zero),
                                   sub16(unpack_low8(red, V{}), red_zero));
  const Pixels high =
      convert_words(unpack_high8(luma, V{}), sub16(unpack_high8(blue, V{}), blue_zero),
                    sub16(unpack_high8(red, V{}), red_zero));
  store_triples(out, pack16_unsigned(low.red, high.red), pack16_unsigned(low.green, high.green),
                pack16_unsigned(low.blue, high.blue));
}

}  // namespace

// Whole groups are stored while a pixel more follows, which takes what spills; the rest goes by a
// buffer.
void to_rgb(const uint8_t* y, const uint8_t* c1, const uint8_t* c2, size_t width, uint8_t* out) {
  size_t x = 0;
  for (; x + kBytes + 1 <= width; x += kBytes) convert(y + x, c1 + x, c2 + x, out + 3 * x);
  for (; x < width; x += kBytes) {
    uint8_t rest[3 * kBytes + 2];
    convert(y + x, c1 + x, c2 + x, rest);
    std::memcpy(out + 3 * x, rest, 3 * std::min(kBytes, width - x));
  }
}

}  // namespace tavo::photocd
