// Adjustments that are a table: each channel on its own.
#include "core/progress.h"
#include "process/adjust/adjust.h"
#include "process/adjust/adjustment.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

constexpr bool is_level(int32_t level) { return level >= -1000 && level <= 1000; }

template <class Curve>
Status adjust_levels(BitmapHandle& bitmap, const Curve& curve) {
  Adjustment adjustment = {};
  for (int32_t v = 0; v < 256; ++v) adjustment.levels[static_cast<size_t>(v)] = curve(v);
  core::Progress progress;
  TRY(progress.start());
  return adjust_bitmap(bitmap, adjustment, progress);
}

}  // namespace

Status change_intensity(BitmapHandle& bitmap, int32_t level) {
  if (!is_level(level)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (level == 0) return kOk;
  const int32_t more = divide_rounded(255 * level, 1000);
  return adjust_levels(bitmap, [=](int32_t v) { return clamp_level(v + more); });
}

// A straight line through mid grey, level to steep.
Status change_contrast(BitmapHandle& bitmap, int32_t level) {
  if (!is_level(level)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (level == 0) return kOk;
  const int32_t rise = level <= 0 ? 1000 + level : 1000;
  const int32_t run = level <= 0 ? 1000 : 1000 - level;
  return adjust_levels(bitmap, [=](int32_t v) {
    if (run == 0) return clamp_level(v >= 128 ? 255 : 0);
    return clamp_level(divide_rounded(255 * run + rise * (2 * v - 255), 2 * run));
  });
}

Status invert_bitmap(BitmapHandle& bitmap) {
  TRY(check_bitmap(bitmap));
  return adjust_levels(bitmap, [](int32_t v) { return clamp_level(255 - v); });
}

Status posterize_bitmap(BitmapHandle& bitmap, int32_t levels) {
  if (levels < 2 || levels > 64) return kBadArgument;
  TRY(check_bitmap(bitmap));
  return adjust_levels(bitmap, [=](int32_t v) {
    return clamp_level(divide_rounded(255 * (v * levels >> 8), levels - 1));
  });
}

}  // namespace tavo::process
