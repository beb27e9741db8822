// The GIF trio.
#include "exports/trio.h"
#include "formats/gif.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadGIFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(gif::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadGIFBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(gif::read, name, bitmap);
}

int32_t T_CALL T_SaveGIFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_GIF, bitsPerPixel, 0);
}
