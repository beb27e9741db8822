#include "color/paint_palette.h"

#include <algorithm>

#include "platform/platform.h"

namespace tavo::color {

PaintPalette::PaintPalette(const BitmapHandle& bitmap) {
  if (bitmap.GdiObjectA != 0) {
    count = std::min(platform::palette_entries(bitmap.GdiObjectA, 0, entries), 256u);
  } else {
    count = std::min(bitmap.Colors, 256u);
    std::copy_n(bitmap.Info.Palette, count, entries);
  }
  std::fill(entries + count, entries + 256, T_PaletteEntry{255, 255, 255, 0});
}

bool is_gray(const T_PaletteEntry& entry) {
  return entry.Red == entry.Green && entry.Green == entry.Blue;
}

bool is_gray(std::span<const T_PaletteEntry> entries) {
  return std::ranges::all_of(entries, [](const T_PaletteEntry& entry) { return is_gray(entry); });
}

}  // namespace tavo::color
