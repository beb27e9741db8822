// The CALS trio.
#include "exports/trio.h"
#include "formats/cals.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadCALSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                              int32_t bitsPerPixel, void* context) {
  return exports::load_rows(cals::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadCALSBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(cals::read, name, bitmap);
}

int32_t T_CALL T_SaveCALSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_CALS, bitsPerPixel, 0);
}
