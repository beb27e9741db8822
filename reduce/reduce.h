// Whole bitmaps to another depth, and palette objects for them.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::color {

// Where the palette of a picture of 8 bits or less comes from.
enum class PaletteType : int32_t { kOptimized = 1, kFixed = 2, kGiven = 3, kNone = 4, kFine = 5 };

// T_ColorResolution: brings `bitmap` to `depth`. On failure it is as it was; with `consumes` its
// pixels may be lost then, and less memory is in use at once.
Status color_resolution(BitmapHandle& bitmap, int32_t depth, PaletteType type,
                        const T_PaletteEntry* palette, uint32_t colors, bool consumes = false);

// T_GrayScaleBitmap: 8 bits, a ramp palette, the grey mark. On failure the bitmap is as it was.
Status gray_scale_bitmap(BitmapHandle& bitmap);

// Records for the same picture in another depth, and in that of T_GrayScaleBitmap; not allocated.
Status describe_like(BitmapHandle& made, const BitmapHandle& bitmap, int32_t depth);
Status describe_gray(BitmapHandle& made, const BitmapHandle& bitmap);

// T_CreatePaintPalette and T_CreateScreenPalette.
Status create_paint_palette(BitmapHandle& bitmap);
Status create_screen_palette(BitmapHandle& bitmap);

}  // namespace tavo::color
