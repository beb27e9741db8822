// The MSP trio.
#include "exports/trio.h"
#include "formats/msp.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadMSPFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(msp::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadMSPBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(msp::read, name, bitmap);
}

int32_t T_CALL T_SaveMSPBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  return T_SaveBitmap(name, bitmap, T_FORMAT_MSP, bitsPerPixel, 0);
}
