// What shapes are filled with.
#pragma once

#include <array>
#include <cstdint>

#include "tavo45.h"

namespace tavo::draw {

// The picture of a brush repeats over the page from its origin on; each of its pixels takes `cell`
// of the page's in both directions.
struct Brush {
  enum class Kind : uint8_t {
    kNone,   // draws nothing
    kSolid,  // `color`
    kBits,   // 8 rows of 8 bits, the high one at the left: of 1 `color`, of 0 `background`
    kTile,   // pixels of `tile`
  };

  Kind kind = Kind::kSolid;
  T_PaletteEntry color = {};
  T_PaletteEntry background = {};
  bool is_transparent = false;  // kBits: where bits are 0 nothing is drawn
  std::array<uint8_t, 8> bits = {};
  const uint8_t* tile = nullptr;  // rows of 24-bit pixels in the page's order, without padding
  int32_t tile_width = 0;
  int32_t tile_height = 0;
  int32_t x_origin = 0;
  int32_t y_origin = 0;
  int32_t cell = 1;
};

constexpr Brush solid(T_PaletteEntry color) { return {.color = color}; }

// The six hatches of GDI, by number: horizontal, vertical, down, up, cross, diagonal cross.
std::array<uint8_t, 8> hatch_bits(uint32_t number);

}  // namespace tavo::draw
