// The Sun raster trio.
#include "exports/trio.h"
#include "formats/ras.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadRASFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(ras::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadRASBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(ras::read, name, bitmap);
}

int32_t T_CALL T_SaveRASBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_RAS, bitsPerPixel, 0);
}
