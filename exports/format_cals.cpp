// The CALS trio.
#include "exports/arguments.h"
#include "formats/cals.h"
#include "pipeline/load.h"
#include "tavo45.h"

int32_t T_CALL T_LoadCALSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                              int32_t bitsPerPixel, void* context) {
  if (tavo::exports::missing(bitmap, sink)) return tavo::exports::refused_load(name);
  return tavo::cals::read(name, bitmap, sink, bitsPerPixel, context).code();
}

int32_t T_CALL T_LoadCALSBitmap(const char* name, BitmapHandle* bitmap) {
  if (tavo::exports::missing(bitmap)) return tavo::exports::refused_load(name);
  return tavo::pipeline::load_picture(name, *bitmap, tavo::cals::read).code();
}

int32_t T_CALL T_SaveCALSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_CALS, bitsPerPixel, 0);
}
