// The TIFF trio.
#include "exports/arguments.h"
#include "formats/tiff.h"
#include "pipeline/load.h"
#include "tavo45.h"

int32_t T_CALL T_LoadTIFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  if (tavo::exports::missing(bitmap, sink)) return tavo::exports::refused_load(name);
  return tavo::tiff::read(name, bitmap, sink, bitsPerPixel, context).code();
}

int32_t T_CALL T_LoadTIFBitmap(const char* name, BitmapHandle* bitmap) {
  if (tavo::exports::missing(bitmap)) return tavo::exports::refused_load(name);
  return tavo::pipeline::load_picture(name, *bitmap, tavo::tiff::read).code();
}

int32_t T_CALL T_SaveTIFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_TIFF, bitsPerPixel, 0);
}

int32_t T_CALL T_Create1BitTable() { return T_OK; }
