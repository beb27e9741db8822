// The palettes that stand in where a caller gives none.
#pragma once

#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::color {

// The built-in palette of a depth: black and white (1), the 16 standard colours (4), the uniform
// 3-3-2 cube with blue in the low bits (8). Empty for every other depth.
std::span<const T_PaletteEntry> builtin_palette(int32_t depth);

}  // namespace tavo::color
