// The WMF trio.
#include "exports/trio.h"
#include "formats/wmf.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadWMFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(wmf::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadWMFBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(wmf::read, name, bitmap);
}

int32_t T_CALL T_SaveWMFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_WMF, bitsPerPixel, 0);
}
