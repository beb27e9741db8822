// The palettes that stand in where a caller gives none.
#pragma once

#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::color {

// The built-in palette of a depth: black and white (1), even steps of grey (2), the 16 standard
// colours (4), the uniform 3-3-2 cube with blue in the low bits (8). Empty for every other depth.
std::span<const T_PaletteEntry> builtin_palette(int32_t depth);

// The palette that pictures are reduced to when nothing else is asked: the built-in one of the
// depth (1, 2, 4, 8), or, for grey pictures, an even ramp from black to white.
void fixed_palette(int32_t depth, bool is_gray, std::span<T_PaletteEntry, 256> palette);

// Even steps of grey from black to white; the last entry is white.
void fill_gray_ramp(std::span<T_PaletteEntry> palette);

}  // namespace tavo::color
