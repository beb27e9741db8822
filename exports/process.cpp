// Rotation and mirroring, neighbourhood filters, point adjustments.
#include "exports/arguments.h"
#include "process/rotate/fine.h"
#include "process/rotate/turn.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_RotateBitmap(BitmapHandle* bitmap, int32_t degrees) {
  if (exports::missing(bitmap)) return T_ERR_ARGUMENT;
  return process::rotate_bitmap(*bitmap, degrees).code();
}

int32_t T_CALL T_RotateBitmapFine(BitmapHandle* bitmap, int32_t angle, uint32_t flags,
                                  uint32_t color) {
  if (exports::missing(bitmap)) return T_ERR_ARGUMENT;
  return process::rotate_bitmap_fine(*bitmap, angle, flags, color).code();
}

int32_t T_CALL T_FlipBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return T_ERR_ARGUMENT;
  return process::flip_bitmap(*bitmap).code();
}

int32_t T_CALL T_ReverseBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return T_ERR_ARGUMENT;
  return process::reverse_bitmap(*bitmap).code();
}
