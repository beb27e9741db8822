// Arithmetic on sizes that come from files and callers.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>

namespace tavo {

// The sum if it fits T, nothing otherwise.
template <std::unsigned_integral T>
constexpr std::optional<T> checked_add(T a, T b) {
  T result = 0;
  if (__builtin_add_overflow(a, b, &result)) return std::nullopt;
  return result;
}

// `value` raised to a multiple of `step`, a power of two. The sum must fit T.
template <std::unsigned_integral T>
constexpr T round_up(T value, T step) {
  return static_cast<T>((value + (step - 1)) & ~(step - 1));
}

}  // namespace tavo
