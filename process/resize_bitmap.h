// Nearest-neighbour resampling of whole bitmaps.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// T_SizeBitmap: on failure the bitmap is as it was. T_ResizeBitmap: both must be allocated.
Status size_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height);
Status resize_bitmap(BitmapHandle& source, BitmapHandle& destination);

}  // namespace tavo::process
