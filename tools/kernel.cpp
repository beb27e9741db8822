#include "kernel.h"

#include <algorithm>

#include "numbers.h"

namespace tavo::tools {
namespace {

constexpr Range kCoefficient = {-32768, 32767};
constexpr Range kDivisor = {0, 8388607};
constexpr Range kBias = {-255, 255};

constexpr std::string_view kBlanks = " ,\t\n";
constexpr std::string_view kAbsolute = ":abs";

// Takes what is in front of the first of `ends` out of `text`.
std::string_view take_until(std::string_view& text, std::string_view ends) {
  const std::string_view front = text.substr(0, text.find_first_of(ends));
  text.remove_prefix(front.size());
  return front;
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// The number behind `mark`, where that is next; false when it is no such number.
bool take_number(std::string_view& text, char mark, const Range& range, int32_t& number) {
  if (!text.starts_with(mark)) return true;
  text.remove_prefix(1);
  const auto read = read_whole(trimmed(take_until(text, "+:")), range);
  number = read.value_or(0);
  return read.has_value();
}

}  // namespace

int32_t Kernel::size() const {
  return coefficients.size() == 9 ? 3 : coefficients.size() == 25 ? 5 : 7;
}

std::optional<Kernel> parse_kernel(std::string_view text) {
  Kernel kernel;
  std::string_view numbers = trimmed(take_until(text, "/+:"));
  while (!numbers.empty()) {
    const auto number = read_whole(take_until(numbers, kBlanks), kCoefficient);
    if (!number) return std::nullopt;
    kernel.coefficients.push_back(*number);
    numbers = trimmed(numbers);
  }
  const size_t count = kernel.coefficients.size();
  if (count != 9 && count != 25 && count != 49) return std::nullopt;
  if (!take_number(text, '/', kDivisor, kernel.divisor)) return std::nullopt;
  if (!take_number(text, '+', kBias, kernel.bias)) return std::nullopt;
  kernel.is_absolute = text == kAbsolute;
  if (!text.empty() && !kernel.is_absolute) return std::nullopt;
  return kernel;
}

std::string kernel_help() {
  return "9, 25 or 49 whole numbers " + help_of(kCoefficient) + " row by row, then /DIVISOR (" +
         help_of(kDivisor) + "), +BIAS (" + help_of(kBias) + "), :abs";
}

}  // namespace tavo::tools
