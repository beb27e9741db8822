// The EPS trio.
#include "exports/trio.h"
#include "formats/eps.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadEPSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(eps::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadEPSBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(eps::read, name, bitmap);
}

int32_t T_CALL T_SaveEPSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_EPS, bitsPerPixel, 0);
}
