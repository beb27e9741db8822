// The TGA trio.
#include "exports/trio.h"
#include "formats/tga.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadTGAFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(tga::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadTGABitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(tga::read, name, bitmap);
}

int32_t T_CALL T_SaveTGABitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_TGA, bitsPerPixel, 0);
}
