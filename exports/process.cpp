// Rotation and mirroring, neighbourhood filters, point adjustments.
#include "exports/answer.h"
#include "exports/arguments.h"
#include "process/adjust/adjust.h"
#include "process/filters/filters.h"
#include "process/rotate/fine.h"
#include "process/rotate/turn.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_RotateBitmap(BitmapHandle* bitmap, int32_t degrees) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::rotate_bitmap(*bitmap, degrees));
}

int32_t T_CALL T_RotateBitmapFine(BitmapHandle* bitmap, int32_t angle, uint32_t flags,
                                  uint32_t color) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::rotate_bitmap_fine(*bitmap, angle, flags, color));
}

int32_t T_CALL T_FlipBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::flip_bitmap(*bitmap));
}

int32_t T_CALL T_ReverseBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::reverse_bitmap(*bitmap));
}

int32_t T_CALL T_ChangeBitmapIntensity(BitmapHandle* bitmap, int32_t level) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::change_intensity(*bitmap, level));
}

int32_t T_CALL T_ChangeBitmapContrast(BitmapHandle* bitmap, int32_t level) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::change_contrast(*bitmap, level));
}

int32_t T_CALL T_ChangeBitmapHue(BitmapHandle* bitmap, int32_t degrees) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::change_hue(*bitmap, degrees));
}

int32_t T_CALL T_ChangeBitmapSaturation(BitmapHandle* bitmap, int32_t level) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::change_saturation(*bitmap, level));
}

int32_t T_CALL T_InvertBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::invert_bitmap(*bitmap));
}

int32_t T_CALL T_PosterizeBitmap(BitmapHandle* bitmap, int32_t levels) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::posterize_bitmap(*bitmap, levels));
}

int32_t T_CALL T_HistoEqualizeBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::equalize_bitmap(*bitmap));
}

int32_t T_CALL T_HalfToneBitmap(BitmapHandle* bitmap, int32_t cell, int32_t angle) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::halftone_bitmap(*bitmap, cell, angle));
}

int32_t T_CALL T_AverageFilterBitmap(BitmapHandle* bitmap, int32_t size) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::average_filter_bitmap(*bitmap, size));
}

int32_t T_CALL T_MedianFilterBitmap(BitmapHandle* bitmap, int32_t size) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::median_filter_bitmap(*bitmap, size));
}

int32_t T_CALL T_SpatialFilterBitmap(BitmapHandle* bitmap, const int32_t* kernel, int32_t size,
                                     int32_t divisor, int32_t bias, uint32_t flags) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(
      process::spatial_filter_bitmap(*bitmap, kernel, size, divisor, bias, flags));
}

int32_t T_CALL T_SharpenBitmap(BitmapHandle* bitmap, int32_t strength) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::sharpen_bitmap(*bitmap, strength));
}

int32_t T_CALL T_BinaryFilterBitmap(BitmapHandle* bitmap, uint32_t operation, uint32_t shape,
                                    int32_t size) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::binary_filter_bitmap(*bitmap, operation, shape, size));
}

int32_t T_CALL T_DespeckleBitmap(BitmapHandle* bitmap, int32_t amount) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::despeckle_bitmap(*bitmap, amount));
}

int32_t T_CALL T_MosaicBitmap(BitmapHandle* bitmap, int32_t size) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::mosaic_bitmap(*bitmap, size));
}
