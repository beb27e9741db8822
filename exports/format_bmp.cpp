// The BMP trio.
#include "exports/trio.h"
#include "formats/bmp.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadBMPFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(bmp::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadBMPBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(bmp::read, name, bitmap);
}

int32_t T_CALL T_SaveBMPBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_BMP, bitsPerPixel, 0);
}
