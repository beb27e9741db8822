// The rows of a bitmap through a histogram.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/status.h"
#include "color/row_blocks.h"
#include "core/progress.h"
#include "tavo45.h"

namespace tavo::color {

// Calls histogram.add_rows(rows, stride, count, width, depth, order) for all rows, from the stored
// first one on. Progress is told from `percent_done` to `percent_done` + `percent_share`.
template <class Histogram>
Status count_rows(BitmapHandle& bitmap, Histogram& histogram, core::Progress& progress,
                  uint32_t percent_done, uint32_t percent_share) {
  RowBlocks blocks(bitmap);
  TRY(blocks.start());
  const auto width = static_cast<uint32_t>(bitmap.Width);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(blocks.rows(), height - y);
    const uint8_t* rows = nullptr;
    TRY(blocks.read(y, n, rows));
    histogram.add_rows(rows, blocks.stride(), n, width, bitmap.BitsPerPixel, bitmap.Order);
    const uint64_t share = uint64_t{y + n} * percent_share;
    TRY(progress.at(uint64_t{height} * percent_done + share, uint64_t{height} * 100));
  }
  return kOk;
}

}  // namespace tavo::color
