// The GEM IMG trio.
#include "exports/trio.h"
#include "formats/gem.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadIMGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(gem::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadIMGBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(gem::read, name, bitmap);
}

int32_t T_CALL T_SaveIMGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_IMG, bitsPerPixel, 0);
}
