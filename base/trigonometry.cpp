#include "base/trigonometry.h"

namespace tavo {

namespace {

constexpr int64_t kOne = int64_t{1} << 31;

constexpr int64_t multiply(int64_t a, int64_t b) { return (a * b + kOne / 2) >> 31; }

// The Taylor series 1 - z / (last (last + 1)) (1 - ... z / (first (first + 1))), of a sine over x
// with `last` 2, of a cosine with 1; z is x squared.
constexpr int64_t series(int64_t z, int64_t first, int64_t last) {
  int64_t sum = kOne;
  for (int64_t n = first; n >= last; n -= 2) sum = kOne - multiply(z, sum) / (n * (n + 1));
  return sum;
}

constexpr SineCosine of_radians(int64_t x) {
  const int64_t z = multiply(x, x);
  return {multiply(x, series(z, 10, 2)), series(z, 11, 1)};
}

// Up to 45 degrees.
constexpr SineCosine of_half_quarter(int32_t angle) {
  return of_radians((angle * kRadiansOf45Degrees + 2250) / 4500);
}

static_assert(of_half_quarter(0).sine == 0 && of_half_quarter(0).cosine == kOne);
static_assert(of_half_quarter(3000).sine == kOne / 2);
static_assert(of_half_quarter(3000).cosine == 1859775394);

}  // namespace

SineCosine sine_cosine_of_radians(int64_t x) { return of_radians(x); }

SineCosine sine_cosine(int32_t angle) {
  const int32_t rest = angle % 9000;
  SineCosine in_quarter = of_half_quarter(rest <= 4500 ? rest : 9000 - rest);
  if (rest > 4500) in_quarter = {in_quarter.cosine, in_quarter.sine};
  const auto [sine, cosine] = in_quarter;
  switch (angle / 9000) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case 2:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

}  // namespace tavo
