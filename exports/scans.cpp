// What is looked for on scanned pages.
#include "process/scans/scans.h"

#include "exports/arguments.h"
#include "tavo45_scans.h"

using namespace tavo;

int32_t T_CALL T_FindSkew(BitmapHandle* bitmap, int32_t* angle) {
  if (exports::missing(bitmap, angle)) return T_ERR_ARGUMENT;
  return process::find_skew(*bitmap, *angle).code();
}

int32_t T_CALL T_FindContent(BitmapHandle* bitmap, uint32_t* x, uint32_t* y, uint32_t* width,
                             uint32_t* height) {
  if (exports::missing(bitmap, x, y, width, height)) return T_ERR_ARGUMENT;
  process::Area area;
  const Status status = process::find_content(*bitmap, area);
  if (!status.ok()) return status.code();
  *x = area.x;
  *y = area.y;
  *width = area.width;
  *height = area.height;
  return T_OK;
}

int32_t T_CALL T_IsBlank(BitmapHandle* bitmap, int32_t share, int32_t* blank) {
  if (exports::missing(bitmap, blank)) return T_ERR_ARGUMENT;
  bool answer = false;
  const Status status = process::is_blank(*bitmap, share, answer);
  if (status.ok()) *blank = answer ? 1 : 0;
  return status.code();
}
