#include "numbers.h"

#include <charconv>

namespace tavo::tools {
namespace {

// All of `text`, nothing else.
std::optional<int64_t> read_all(std::string_view text) {
  int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// std::from_chars knows no plus.
std::string_view without_plus(std::string_view text) {
  const bool has_plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
  return has_plus ? text.substr(1) : text;
}

}  // namespace

std::string text_of(const Range& range) {
  return (range.is_odd ? "odd whole number from " : "whole number from ") +
         std::to_string(range.from) + " to " + std::to_string(range.to);
}

std::string help_of(const Range& range) {
  return (range.is_odd ? "odd, " : "") + std::to_string(range.from) + " to " +
         std::to_string(range.to);
}

std::optional<int> read_whole(std::string_view text, const Range& range) {
  const auto number = read_all(without_plus(text));
  if (!number || *number < range.from || *number > range.to) return std::nullopt;
  if (range.is_odd && *number % 2 == 0) return std::nullopt;
  return static_cast<int>(*number);
}

std::optional<int64_t> read_decimal(std::string_view text, int places) {
  constexpr size_t kMostDigits = 15;
  std::string digits(without_plus(text));
  size_t fraction = 0;
  if (const size_t point = digits.find('.'); point != std::string::npos) {
    digits.erase(point, 1);
    fraction = digits.size() - point;
  }
  const auto wanted = static_cast<size_t>(places);
  if (fraction > wanted || digits.size() > kMostDigits) return std::nullopt;
  return read_all(digits.append(wanted - fraction, '0'));
}

}  // namespace tavo::tools
