// Dithering passes, row by row.
#include "dither/dither.h"

#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_StartDithering(BitmapHandle* bitmap, const T_PaletteEntry* palette,
                                uint32_t colours) {
  // Rows of 2 bits are known to the library's own passes alone.
  if (exports::missing(bitmap) || bitmap->BitsPerPixel == 2) return exports::answer(kBadArgument);
  return exports::answer(color::start_pass(*bitmap, palette, colours, nullptr));
}

int32_t T_CALL T_DitherLine(BitmapHandle* bitmap, const void* input, void* output) {
  if (exports::missing(bitmap, input, output)) return exports::answer(kBadArgument);
  return exports::answer(color::dither_rows(*bitmap, static_cast<const uint8_t*>(input), 0,
                                            static_cast<uint8_t*>(output), 0, 1));
}

int32_t T_CALL T_StopDithering(BitmapHandle* bitmap) {
  if (!exports::missing(bitmap)) color::stop_pass(*bitmap);
  return T_OK;
}
