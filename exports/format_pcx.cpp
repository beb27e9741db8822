// The PCX trio.
#include "exports/trio.h"
#include "formats/pcx.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadPCXFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(pcx::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadPCXBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(pcx::read, name, bitmap, /*memory_only=*/true);
}

int32_t T_CALL T_SavePCXBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_PCX, bitsPerPixel, 0);
}
