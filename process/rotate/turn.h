// Whole bitmaps by quarter and half turns, and mirrored.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// T_RotateBitmap, T_FlipBitmap and T_ReverseBitmap.
Status rotate_bitmap(BitmapHandle& bitmap, int32_t degrees);
Status flip_bitmap(BitmapHandle& bitmap);
Status reverse_bitmap(BitmapHandle& bitmap);

// The same after the checks; `quarters` 1 to 3.
Status turn_bitmap(BitmapHandle& bitmap, uint32_t quarters);

}  // namespace tavo::process
