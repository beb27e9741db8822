// The colours that the indices of a bitmap stand for.
#pragma once

#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::color {

// The palette with which a bitmap of up to 8 bits is painted: the object GdiObjectA when there is
// one, otherwise the record's own palette with Colors entries. Indices beyond it are white.
struct PaintPalette {
  T_PaletteEntry entries[256];
  uint32_t count;  // entries that the palette has; the others are white

  explicit PaintPalette(const BitmapHandle& bitmap);
};

bool is_gray(const T_PaletteEntry& entry);

// Whether all of them are grey.
bool is_gray(std::span<const T_PaletteEntry> entries);

}  // namespace tavo::color
