// XXH64 with seed 0, in which names and files of a batch are hashed; "xxhsum -H1" computes it, too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo::tools {

uint64_t hash_of(std::string_view bytes);

// Of a whole file.
struct FileSum {
  int64_t size = 0;
  uint64_t hash = 0;
};
// None when it cannot be read.
std::optional<FileSum> sum_of_file(const std::string& path);

// 16 digits.
std::string to_hex(uint64_t number);
std::string to_hex(std::string_view bytes);
// What to_hex made of bytes; empty for anything else.
std::string from_hex(std::string_view digits);

}  // namespace tavo::tools
