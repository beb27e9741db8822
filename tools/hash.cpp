#include "hash.h"

#include <cstdio>
#include <memory>

#define XXH_INLINE_ALL
#define XXH_NO_XXH3
#include <xxhash.h>

#include "native_name.h"

namespace tavo::tools {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

}  // namespace

uint64_t hash_of(std::string_view bytes) { return XXH64(bytes.data(), bytes.size(), 0); }

std::optional<FileSum> sum_of_file(const std::string& path) {
  const auto close = [](std::FILE* file) { std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> file(open_stream(path, "rb"), close);
  if (!file) return std::nullopt;
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  XXH64_state_t state;
  XXH64_reset(&state, 0);
  char block[1 << 16];
  FileSum sum;
  size_t got = 0;
  do {
    got = std::fread(block, 1, sizeof block, file.get());
    XXH64_update(&state, block, got);
    sum.size += static_cast<int64_t>(got);
  } while (got == sizeof block);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  sum.hash = XXH64_digest(&state);
  return sum;
}

std::string to_hex(uint64_t number) {
  std::string digits(16, '0');
  for (size_t i = digits.size(); i > 0; --i, number >>= 4) digits[i - 1] = kDigits[number & 15];
  return digits;
}

std::string to_hex(std::string_view bytes) {
  std::string digits;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15];
  }
  return digits;
}

std::string from_hex(std::string_view digits) {
  std::string bytes;
  if (digits.size() % 2 != 0) return bytes;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const size_t high = kDigits.find(digits[i]);
    const size_t low = kDigits.find(digits[i + 1]);
    if (high == kDigits.npos || low == kDigits.npos) return {};
    bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

}  // namespace tavo::tools
