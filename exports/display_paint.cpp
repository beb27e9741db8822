// Painting. Windows only.
#include "base/settings.h"
#include "display/paint.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_EnableFastPaint(int32_t on) {
  settings.paint.fast = on != 0;
  return T_OK;
}

int32_t T_CALL T_EnableIndexedPaint(int32_t on) {
  settings.paint.indexed = on != 0;
  return T_OK;
}

int32_t T_CALL T_EnableDitheredPaint(int32_t on) {
  settings.paint.dithered = on != 0;
  return T_OK;
}

int32_t T_CALL T_EnableOrderedDither(int32_t on) {
  settings.paint.ordered = on != 0;
  return T_OK;
}

int32_t T_CALL T_EnableScaleToGray(int32_t on) {
  settings.paint.scale_to_gray = on != 0;
  return T_OK;
}

int32_t T_CALL T_PaintDevice(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                             T_Rect clip, uint32_t rop) {
  if (exports::missing(bitmap, dc)) return exports::answer(kBadArgument);
  return exports::answer(display::paint_device(*bitmap, dc, {source, destination, clip, rop}));
}

int32_t T_CALL T_PaintBuffer(BitmapHandle* picture, const void* rows, int32_t firstRow,
                             int32_t rowCount, T_DC dc, T_Rect source, T_Rect destination,
                             T_Rect clip, uint32_t rop) {
  if (exports::missing(picture, rows, dc)) return exports::answer(kBadArgument);
  return exports::answer(display::paint_buffer(*picture, rows, firstRow, rowCount, dc,
                                               {source, destination, clip, rop}));
}

int32_t T_CALL T_PaintEffect(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                             T_Rect clip, uint32_t rop, int32_t effect, int32_t blockSize,
                             int32_t delay) {
  if (exports::missing(bitmap, dc)) return exports::answer(kBadArgument);
  return exports::answer(display::paint_effect(*bitmap, dc, {source, destination, clip, rop},
                                               effect, blockSize, delay));
}

int32_t T_CALL T_ConvertToDDB(BitmapHandle* bitmap, T_DC dc, T_DeviceBitmap* result) {
  if (exports::missing(bitmap, result)) return exports::answer(kBadArgument);
  *result = nullptr;
  return exports::answer(display::convert_to_ddb(*bitmap, dc, *result));
}
