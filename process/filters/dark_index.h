// What is dark in a picture of 1 bit.
#pragma once

#include "color/gray.h"
#include "color/paint_palette.h"
#include "tavo45.h"

namespace tavo::process {

// The index whose colour has the lower grey level; 0 when both have one.
inline uint32_t dark_index(const BitmapHandle& bitmap) {
  const color::PaintPalette palette(bitmap);
  return color::gray_level(palette.entries[1]) < color::gray_level(palette.entries[0]) ? 1 : 0;
}

}  // namespace tavo::process
