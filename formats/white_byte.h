// What the missing pixels of a picture are filled with.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "color/gray.h"
#include "tavo45.h"

namespace tavo::formats {

// A byte whose pixels have the brightest colour of the palette, or white above 8 bits.
inline uint8_t white_byte(std::span<const T_PaletteEntry, 256> palette, uint32_t bits) {
  if (bits > 8) return 0xFF;
  const auto level = [](const T_PaletteEntry& entry) { return color::gray_level(entry); };
  const auto used = palette.first(size_t{1} << bits);
  const auto index =
      static_cast<uint32_t>(std::ranges::max_element(used, {}, level) - used.begin());
  constexpr uint32_t kRepeat[] = {0, 0xFF, 0x55, 0, 0x11, 0, 0, 0, 1};
  return static_cast<uint8_t>(index * kRepeat[bits]);
}

}  // namespace tavo::formats
