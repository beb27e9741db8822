// The PNG trio.
#include "exports/trio.h"
#include "formats/png.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadPNGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(png::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadPNGBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(png::read, name, bitmap);
}

int32_t T_CALL T_SavePNGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_PNG, bitsPerPixel, 0);
}
