// The MacPaint trio.
#include "exports/trio.h"
#include "formats/macpaint.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadMACFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(macpaint::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadMACBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(macpaint::read, name, bitmap);
}

int32_t T_CALL T_SaveMACBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_MAC, bitsPerPixel, 0);
}
