// The TIFF trio.
#include "exports/trio.h"
#include "formats/tiff.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadTIFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(tiff::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadTIFBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(tiff::read, name, bitmap);
}

int32_t T_CALL T_SaveTIFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_TIFF, bitsPerPixel, 0);
}

int32_t T_CALL T_Create1BitTable() { return T_OK; }
