// Printing. Windows only.
#include "display/print.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_PrintBitmap(BitmapHandle* bitmap, T_DC dc, T_Rect destination) {
  if (exports::missing(bitmap, dc)) return exports::answer(kBadArgument);
  const uint32_t placement = destination != nullptr ? T_PRINT_STRETCH : T_PRINT_ACTUAL;
  return exports::answer(
      display::print_bitmap(*bitmap, dc, {.destination = destination, .placement = placement}));
}

int32_t T_CALL T_PrintBitmapExt(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                uint32_t placement, uint32_t rop, const char* documentName,
                                const char* outputName) {
  if (exports::missing(bitmap, dc)) return exports::answer(kBadArgument);
  return exports::answer(display::print_bitmap(
      *bitmap, dc, {source, destination, placement, rop, documentName, outputName}));
}
