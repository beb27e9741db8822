// The WPG trio.
#include "exports/trio.h"
#include "formats/wpg.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadWPGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(wpg::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadWPGBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(wpg::read, name, bitmap);
}

int32_t T_CALL T_SaveWPGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_WPG, bitsPerPixel, 0);
}
