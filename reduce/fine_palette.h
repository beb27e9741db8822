// A palette made for a picture with more care than the optimised one: its colours are counted
// finely, cut into boxes, and the boxes' means refined as clusters.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "core/progress.h"
#include "reduce/optimize.h"
#include "tavo45.h"

namespace tavo::color {

// Makes a palette of at most `wanted` colours (1 to 256), ascending by grey level, without an
// inverse table. `is_exact`: the picture has no other colours than these. Progress is told from 0
// to `percent_share` of 100. kNoMemory; what reading the rows and telling the progress give.
Status make_fine_palette(BitmapHandle& bitmap, uint32_t wanted, OptimizedPalette& palette,
                         bool& is_exact, core::Progress& progress, uint32_t percent_share);

// The inverse table of the palette: for each class the entry nearest to its middle.
Status fill_inverse(OptimizedPalette& palette);

}  // namespace tavo::color
