// Device bitmaps and the clipboard; Windows only.
#include "display/clipboard.h"
#include "display/ddb.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_ConvertFromDDB(T_DeviceBitmap ddb, T_PaletteObject palette, BitmapHandle* bitmap) {
  if (exports::missing(ddb, bitmap)) return exports::answer(kBadArgument);
  return exports::answer(display::convert_from_ddb(ddb, palette, *bitmap));
}

int32_t T_CALL T_CopyToClipboard(BitmapHandle* bitmap, T_Window owner) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(display::copy_to_clipboard(*bitmap, owner));
}

int32_t T_CALL T_CopyFromClipboard(BitmapHandle* bitmap, T_Window owner) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(display::copy_from_clipboard(*bitmap, owner));
}
