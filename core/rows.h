// Rows of a bitmap by number, whatever its storage; copies of bitmaps.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::core {

// The exports of the same names: a byte count or a negative status.
int32_t get_bitmap_row(BitmapHandle& bitmap, void* buffer, uint32_t row, uint32_t bytes);
int32_t put_bitmap_row(BitmapHandle& bitmap, const void* buffer, uint32_t row, uint32_t bytes);
int32_t get_bitmap_row_col(BitmapHandle& bitmap, void* buffer, uint32_t row, uint32_t column,
                           uint32_t bytes);
int32_t put_bitmap_row_col(BitmapHandle& bitmap, const void* buffer, uint32_t row, uint32_t column,
                           uint32_t bytes);

// The same as a status; a short disk read is kReadError, a short write kWriteError.
Status get_row(BitmapHandle& bitmap, uint32_t row, std::span<uint8_t> into);
Status put_row(BitmapHandle& bitmap, uint32_t row, std::span<const uint8_t> from);

// The stored number of the picture's row `y`, 0 being the top one.
inline uint32_t stored_row(const BitmapHandle& bitmap, uint32_t y) {
  return bitmap.ViewPerspective >= 2 ? static_cast<uint32_t>(bitmap.Height) - 1 - y : y;
}

// Zeroes what is behind the last of `width` pixels in a row, unused bits of its last byte included.
void clear_padding(std::span<uint8_t> row, int32_t width, int32_t bits_per_pixel);

// The rows of `src` into those of `dst`, which has as many; both stay accessed or not.
Status copy_rows(BitmapHandle& dst, BitmapHandle& src);

Status copy_bitmap(BitmapHandle& dst, BitmapHandle& src);
Status copy_bitmap_rect(BitmapHandle& dst, BitmapHandle& src, uint32_t x, uint32_t y,
                        uint32_t width, uint32_t height);
Status copy_bitmap_data(BitmapHandle& dst, BitmapHandle& src);
void copy_bitmap_handle(BitmapHandle& dst, const BitmapHandle& src);

// Gives `dst` what describes the picture of `src` apart from geometry, resolution and storage:
// perspective, order, the words of Info, palette objects, attributes. kNoMemory when a palette
// object cannot be duplicated.
Status copy_description(BitmapHandle& dst, const BitmapHandle& src);
// The same for a picture of another size, which the words of Info get.
Status copy_description_resized(BitmapHandle& dst, const BitmapHandle& src);

// A new palette object with the entries of `palette`; 0 for 0 and on failure.
uintptr_t duplicate_palette(uintptr_t palette);

}  // namespace tavo::core
