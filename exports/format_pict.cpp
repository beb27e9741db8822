// The PICT trio.
#include "exports/trio.h"
#include "formats/pict.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadPCTFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(pict::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadPCTBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(pict::read, name, bitmap);
}

int32_t T_CALL T_SavePCTBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_PCT, bitsPerPixel, 0);
}
