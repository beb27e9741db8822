// The TGA trio.
#include "exports/arguments.h"
#include "formats/tga.h"
#include "pipeline/load.h"
#include "tavo45.h"

int32_t T_CALL T_LoadTGAFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  if (tavo::exports::missing(bitmap, sink)) return tavo::exports::refused_load(name);
  return tavo::tga::read(name, bitmap, sink, bitsPerPixel, context).code();
}

int32_t T_CALL T_LoadTGABitmap(const char* name, BitmapHandle* bitmap) {
  if (tavo::exports::missing(bitmap)) return tavo::exports::refused_load(name);
  return tavo::pipeline::load_picture(name, *bitmap, tavo::tga::read).code();
}

int32_t T_CALL T_SaveTGABitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_TGA, bitsPerPixel, 0);
}
