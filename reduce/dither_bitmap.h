// Dithering of whole bitmaps.
#pragma once

#include <cstdint>

#include "core/progress.h"
#include "tavo45.h"

namespace tavo::color {

// Dithers all rows of `source` into `destination`, which is allocated, of the same size and 1, 4
// or 8 bits deep, with the destination's DitherMethod. Palette and table as for start_pass.
// Progress is told from `percent_done` on. Both may be accessed or not, in memory or not.
// `consumes`: nobody needs the source's pixels any more; their memory goes as the other's comes.
Status dither_bitmap(BitmapHandle& source, BitmapHandle& destination, const T_PaletteEntry* palette,
                     uint32_t count, uint32_t* inverse_table, core::Progress& progress,
                     uint32_t percent_done, bool consumes);

}  // namespace tavo::color
