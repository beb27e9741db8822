// Division as filters and adjustments round.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>

namespace tavo::process {

// a / b rounded to nearest, halves up; b above 0.
template <std::signed_integral T>
constexpr T divide_rounded(T a, T b) {
  const T twice = 2 * a + b;
  return twice / (2 * b) - (twice % (2 * b) < 0 ? 1 : 0);
}

template <std::signed_integral T>
constexpr uint8_t clamp_level(T value) {
  return static_cast<uint8_t>(std::clamp(value, T{0}, T{255}));
}

}  // namespace tavo::process
