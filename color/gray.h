// The grey level of a colour.
#pragma once

#include <cstdint>

#include "tavo45.h"

namespace tavo::color {

// Weights 2/8, 5/8 and 1/8, rounded to nearest; components 0 to 255.
constexpr uint8_t gray_level(uint32_t red, uint32_t green, uint32_t blue) {
  return static_cast<uint8_t>((2 * red + 5 * green + blue + 4) >> 3);
}

constexpr uint8_t gray_level(const T_PaletteEntry& entry) {
  return gray_level(entry.Red, entry.Green, entry.Blue);
}

}  // namespace tavo::color
