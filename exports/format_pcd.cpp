// Photo CD; there is no writer.
#include "base/settings.h"
#include "exports/answer.h"
#include "exports/trio.h"
#include "formats/pcd.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_LoadPCDFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                             int32_t bitsPerPixel, void* context) {
  return exports::load_rows(pcd::read, name, bitmap, sink, bitsPerPixel, context);
}

int32_t T_CALL T_LoadPCDBitmap(const char* name, BitmapHandle* bitmap) {
  return exports::load_picture(pcd::read, name, bitmap);
}

int32_t T_CALL T_SetPCDResolution(int32_t level) {
  if (level < 0 || level > pcd::kLevels) return exports::answer(kBadArgument);
  settings.photocd_level = level;
  return T_OK;
}

int32_t T_CALL T_SetPCDModule(int32_t flag) {
  settings.photocd_module = flag != 0;
  return T_OK;
}
