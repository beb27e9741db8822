#include "process/adjust/gray_rows.h"

#include "color/paint_palette.h"
#include "process/work_rows.h"

namespace tavo::process {

Status GrayRows::start() {
  TRY(rows_.start(1, 0));
  if (is_gray_ramp(bitmap_)) return kOk;
  TRY(levels_.allocate(static_cast<uint64_t>(bitmap_.Width)));
  const color::PaintPalette palette(bitmap_);
  return converter_.start(bitmap_.BitsPerPixel, 0, static_cast<int32_t>(bitmap_.Order), T_ORDER_BGR,
                          palette.entries, nullptr);
}

Status GrayRows::read(uint32_t y, std::span<const uint8_t>& levels) {
  TRY(rows_.read(y, 1));
  if (levels_.size() == 0) {
    levels = {rows_.row(y), static_cast<size_t>(bitmap_.Width)};
    return kOk;
  }
  levels = levels_.bytes();
  return converter_.convert(rows_.row(y), levels_.data(), bitmap_.Width);
}

}  // namespace tavo::process
