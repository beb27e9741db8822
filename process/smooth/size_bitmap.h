// Filtered resampling of whole bitmaps.
#pragma once

#include "base/status.h"
#include "process/smooth/weights.h"
#include "tavo45.h"

namespace tavo::process {

// T_SizeBitmapFine with one of the filters, sizes above 0. On failure the bitmap is as it was.
Status size_bitmap_smoothly(BitmapHandle& bitmap, int32_t width, int32_t height,
                            SmoothFilter filter);

}  // namespace tavo::process
