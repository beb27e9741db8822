// Colour reduction of whole bitmaps; palette objects.
#include "reduce/reduce.h"

#include "base/settings.h"
#include "core/rows.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "reduce/optimize.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_OptimizeBitmap(BitmapHandle* source, BitmapHandle* destination, uint32_t,
                                uint32_t colours) {
  if (exports::missing(source, destination) || source == destination)
    return exports::answer(kBadArgument);
  return exports::answer(color::optimize_bitmap(*source, *destination, colours));
}

int32_t T_CALL T_ColorResolution(BitmapHandle* bitmap, int32_t depth, int32_t paletteType,
                                 const T_PaletteEntry* palette, uint32_t colors) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(color::color_resolution(
      *bitmap, depth, static_cast<color::PaletteType>(paletteType), palette, colors));
}

int32_t T_CALL T_GrayScaleBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(color::gray_scale_bitmap(*bitmap));
}

int32_t T_CALL T_CreatePaintPalette(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(color::create_paint_palette(*bitmap));
}

int32_t T_CALL T_CreateScreenPalette(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(color::create_screen_palette(*bitmap));
}

uintptr_t T_CALL T_DupPalette(uintptr_t palette) { return core::duplicate_palette(palette); }

int32_t T_CALL T_SetGrayFixedPalette(int32_t flag) {
  settings.gray_fixed_palette = flag != 0;
  return T_OK;
}
