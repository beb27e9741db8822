// Bytes through a table of 256.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavo::process {

// Replaces each byte by the table's; in place.
inline void map_levels(const std::array<uint8_t, 256>& table, uint8_t* bytes, size_t count) {
  for (size_t i = 0; i < count; ++i) bytes[i] = table[bytes[i]];
}

}  // namespace tavo::process
