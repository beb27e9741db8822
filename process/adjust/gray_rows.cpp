#include "process/adjust/gray_rows.h"

#include "color/paint_palette.h"

namespace tavo::process {

Status GrayRows::start() {
  TRY(rows_.start(1, 0));
  const color::PaintPalette palette(bitmap_);
  return converter_.start(bitmap_.BitsPerPixel, 0, static_cast<int32_t>(bitmap_.Order), T_ORDER_BGR,
                          palette.entries, nullptr);
}

Status GrayRows::read(uint32_t y, std::span<uint8_t> levels) {
  TRY(rows_.read(y, 1));
  return converter_.convert(rows_.row(y), levels.data(), static_cast<int32_t>(levels.size()));
}

}  // namespace tavo::process
