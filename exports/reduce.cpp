// Colour reduction of whole bitmaps; palette objects.
#include "reduce/reduce.h"

#include "base/settings.h"
#include "core/rows.h"
#include "reduce/optimize.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_OptimizeBitmap(BitmapHandle* source, BitmapHandle* destination, uint32_t flags,
                                uint32_t colours) {
  if (source == nullptr || destination == nullptr || source == destination) return T_ERR_ARGUMENT;
  return color::optimize_bitmap(*source, *destination, flags, colours).code();
}

int32_t T_CALL T_ColorResolution(BitmapHandle* bitmap, int32_t depth, int32_t paletteType,
                                 const T_PaletteEntry* palette, uint32_t colors) {
  if (bitmap == nullptr) return T_ERR_ARGUMENT;
  return color::color_resolution(*bitmap, depth, static_cast<color::PaletteType>(paletteType),
                                 palette, colors)
      .code();
}

int32_t T_CALL T_GrayScaleBitmap(BitmapHandle* bitmap) {
  return bitmap != nullptr ? color::gray_scale_bitmap(*bitmap).code() : T_ERR_ARGUMENT;
}

int32_t T_CALL T_CreatePaintPalette(BitmapHandle* bitmap) {
  return bitmap != nullptr ? color::create_paint_palette(*bitmap).code() : T_ERR_ARGUMENT;
}

int32_t T_CALL T_CreateScreenPalette(BitmapHandle* bitmap) {
  return bitmap != nullptr ? color::create_screen_palette(*bitmap).code() : T_ERR_ARGUMENT;
}

uintptr_t T_CALL T_DupPalette(uintptr_t palette) { return core::duplicate_palette(palette); }

int32_t T_CALL T_SetGrayFixedPalette(int32_t flag) {
  settings.gray_fixed_palette = flag != 0;
  return T_OK;
}
