// What is looked for on scanned pages.
#include "process/scans/scans.h"

#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_FindSkew(BitmapHandle* bitmap, int32_t* angle) {
  if (exports::missing(bitmap, angle)) return exports::answer(kBadArgument);
  return exports::answer(process::find_skew(*bitmap, *angle));
}

int32_t T_CALL T_FindContent(BitmapHandle* bitmap, uint32_t* x, uint32_t* y, uint32_t* width,
                             uint32_t* height) {
  if (exports::missing(bitmap, x, y, width, height)) return exports::answer(kBadArgument);
  process::Area area;
  const Status status = process::find_content(*bitmap, area);
  if (!status.ok()) return exports::answer(status);
  *x = area.x;
  *y = area.y;
  *width = area.width;
  *height = area.height;
  return T_OK;
}

int32_t T_CALL T_IsBlank(BitmapHandle* bitmap, int32_t share, int32_t* blank) {
  if (exports::missing(bitmap, blank)) return exports::answer(kBadArgument);
  bool answer = false;
  const Status status = process::is_blank(*bitmap, share, answer);
  if (status.ok()) *blank = answer ? 1 : 0;
  return exports::answer(status);
}
