// Neighbourhood filters of whole bitmaps: the exports of the same names.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

Status average_filter_bitmap(BitmapHandle& bitmap, int32_t size);
Status median_filter_bitmap(BitmapHandle& bitmap, int32_t size);
Status spatial_filter_bitmap(BitmapHandle& bitmap, const int32_t* kernel, int32_t size,
                             int32_t divisor, int32_t bias, uint32_t flags);
Status sharpen_bitmap(BitmapHandle& bitmap, int32_t strength);
Status binary_filter_bitmap(BitmapHandle& bitmap, uint32_t operation, uint32_t shape, int32_t size);
Status despeckle_bitmap(BitmapHandle& bitmap, int32_t amount);
Status mosaic_bitmap(BitmapHandle& bitmap, int32_t size);

// Whether a square of that size has a pixel in its middle, and is not too large.
constexpr bool is_window_size(int32_t size) { return size >= 3 && size <= 255 && size % 2 == 1; }

}  // namespace tavo::process
