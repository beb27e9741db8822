// Whole bitmaps turned by any angle.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// T_RotateBitmapFine.
Status rotate_bitmap_fine(BitmapHandle& bitmap, int32_t angle, uint32_t flags, uint32_t color);

}  // namespace tavo::process
