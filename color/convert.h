// Rows from one pixel layout to another, in place or apart.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "color/index_rows.h"
#include "color/nearest.h"
#include "color/pixel_kernels.h"
#include "tavo45.h"

namespace tavo::color {

// Set up once for a picture, then used for its rows. Layouts are named by depth codes: 0 (8-bit
// grey), 1, 2, 4, 8 (palette indices, leftmost pixel in the high bits), 16 (5-5-5), 24 and 32.
class RowConverter {
 public:
  // Arguments as those of T_ConvertBuffer, and 2 bits. kBadArgument for an unknown depth code or,
  // where it counts, an unknown order. The palettes (2, 4, 16 or 256 entries by depth; null: the
  // built-in one) are copied. What was learnt about the output palette is kept when that does not
  // change.
  Status start(int32_t bits_in, int32_t bits_out, int32_t order_in, int32_t order_out,
               const T_PaletteEntry* palette_in, const T_PaletteEntry* palette_out);

  // Converts `width` pixels from a row to another. They are apart, or the same: such a row is as
  // long as the larger of the two layouts needs. Unused bits of a last byte keep their values.
  // kBadArgument for a null row and a width below 1.
  Status convert(const void* from, void* to, int32_t width);
  Status convert(void* row, int32_t width) { return convert(row, row, width); }

 private:
  enum class Path { kNothing, kPixels, kIndicesToIndices, kIndicesToColors, kColorsToIndices };

  void start_indices_to_indices(const T_PaletteEntry* from, const T_PaletteEntry* to);
  void start_colors(std::span<const T_PaletteEntry> palette, int32_t order);
  void start_search(std::span<const T_PaletteEntry> palette);
  void convert_indices_to_colors(const uint8_t* from, uint8_t* to, size_t width) const;
  void convert_chunk(const uint8_t* from, uint8_t* to, size_t first, size_t width);

  Path path_ = Path::kNothing;
  int32_t bits_in_ = 0;
  int32_t bits_out_ = 0;
  PixelKernel kernel_ = nullptr;
  std::array<uint8_t, 256> table_ = {};
  // The pixels of a palette's entries, and what they were made for.
  ColorTable colors_ = {};
  std::array<T_PaletteEntry, 256> colors_palette_ = {};
  size_t colors_count_ = 0;
  int32_t colors_bits_ = 0;
  int32_t colors_order_ = 0;
  NearestColor nearest_;
};

}  // namespace tavo::color
