#include "letters.h"

#include <algorithm>
#include <cstdint>

namespace tavo::tools {
namespace {

// How many bytes behind the first one belong to its letter (RFC 3629, section 3).
size_t bytes_behind(uint8_t first) {
  if (first >= 0xF0 && first < 0xF5) return 3;
  if (first >= 0xE0) return first < 0xF0 ? 2 : 0;
  return first >= 0xC2 ? 1 : 0;
}

bool is_behind(char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; }

}  // namespace

std::u32string letters_of(std::string_view name) {
  std::u32string letters;
  for (size_t at = 0; at < name.size(); ++at) {
    const auto first = static_cast<uint8_t>(name[at]);
    const size_t count = bytes_behind(first);
    const std::string_view behind = name.substr(at + 1, count);
    char32_t letter = first;
    if (count > 0 && behind.size() == count && std::ranges::all_of(behind, is_behind)) {
      letter = first & (0x3Fu >> count);
      for (const char byte : behind) letter = letter << 6 | (static_cast<uint8_t>(byte) & 0x3F);
      at += count;
    }
    letters += letter;
  }
  return letters;
}

std::u32string shortened(const std::u32string& letters, size_t most) {
  constexpr std::u32string_view kGap = U"...";
  if (letters.size() <= most) return letters;
  if (most <= kGap.size()) return letters.substr(0, most);
  const size_t left = most - kGap.size();
  const size_t end = left / 2;
  return letters.substr(0, left - end).append(kGap) + letters.substr(letters.size() - end);
}

}  // namespace tavo::tools
