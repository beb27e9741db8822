// Point adjustments of whole bitmaps: the exports of the same names.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

Status change_intensity(BitmapHandle& bitmap, int32_t level);
Status change_contrast(BitmapHandle& bitmap, int32_t level);
Status change_hue(BitmapHandle& bitmap, int32_t degrees);
Status change_saturation(BitmapHandle& bitmap, int32_t level);
Status invert_bitmap(BitmapHandle& bitmap);
Status posterize_bitmap(BitmapHandle& bitmap, int32_t levels);
Status equalize_bitmap(BitmapHandle& bitmap);
Status halftone_bitmap(BitmapHandle& bitmap, int32_t cell, int32_t angle);

}  // namespace tavo::process
