// A palette made for a picture: its colour classes are split into boxes, always the one with the
// largest variance, at the mean of the channel that varies most.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "core/progress.h"
#include "tavo45.h"

namespace tavo::color {

struct OptimizedPalette {
  T_PaletteEntry entries[256] = {};  // ascending by blue, green, red; zero beyond `count`
  uint32_t count = 0;
  // The inverse colour table (see dither.h) of the picture's classes; empty when the palette is
  // the picture's own.
  Array<uint32_t> inverse;
};

// Makes a palette of at most `wanted` colours (1 to 256). An indexed picture with no more than
// that keeps its own. Progress is told from 0 to `percent_share` of 100.
// kBadArgument when the bitmap is not allocated or `wanted` is 0; kNoMemory; what reading the rows
// and telling the progress give.
Status optimize_palette(BitmapHandle& bitmap, uint32_t wanted, OptimizedPalette& palette,
                        core::Progress& progress, uint32_t percent_share);

// T_OptimizeBitmap.
Status optimize_bitmap(BitmapHandle& source, BitmapHandle& destination, uint32_t colors);

}  // namespace tavo::color
