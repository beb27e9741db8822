// The palettes that writers of indexed pictures list whole.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::formats {

// The bitmap's own colours, as far as `depth` goes; entries behind them are black. Above 8 bits,
// where rows are brought to them, all entries count.
inline void list_colors(const BitmapHandle& bitmap, int32_t depth,
                        std::span<T_PaletteEntry, 256> palette) {
  uint32_t count = 1u << std::min({depth, bitmap.BitsPerPixel, 8});
  if (bitmap.BitsPerPixel <= 8 && bitmap.Colors != 0) count = std::min(count, bitmap.Colors);
  std::ranges::fill(palette, T_PaletteEntry{});
  std::copy_n(bitmap.Info.Palette, count, palette.begin());
}

}  // namespace tavo::formats
