// The palettes that stand in where a caller gives none.
#pragma once

#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::color {

// The colour of three bytes as files have them.
constexpr T_PaletteEntry rgb_entry(const uint8_t* rgb) { return {rgb[2], rgb[1], rgb[0], 0}; }
constexpr T_PaletteEntry bgr_entry(const uint8_t* bgr) { return {bgr[0], bgr[1], bgr[2], 0}; }
constexpr void put_rgb(const T_PaletteEntry& entry, uint8_t* rgb) {
  rgb[0] = entry.Red;
  rgb[1] = entry.Green;
  rgb[2] = entry.Blue;
}
constexpr T_PaletteEntry gray_entry(uint8_t level) { return {level, level, level, 0}; }

// The built-in palette of a depth: black and white (1), even steps of grey (2), the 16 standard
// colours (4), the uniform 3-3-2 cube with blue in the low bits (8). Empty for every other depth.
std::span<const T_PaletteEntry> builtin_palette(int32_t depth);

// The palette that pictures are reduced to when nothing else is asked: the built-in one of the
// depth (1, 2, 4, 8), or, for grey pictures, an even ramp from black to white.
void fixed_palette(int32_t depth, bool is_gray, std::span<T_PaletteEntry, 256> palette);

// Even steps of grey from black to white; the last entry is white.
void fill_gray_ramp(std::span<T_PaletteEntry> palette);

// Whether the entries are what fill_gray_ramp makes: indices stand for grey levels.
bool is_gray_ramp(std::span<const T_PaletteEntry> palette);

}  // namespace tavo::color
