// Adjustments of colours as a whole, pixel by pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>

#include "core/progress.h"
#include "process/adjust/adjustment.h"

namespace tavo::process {

// Calls change(red, green, blue) with references to the channels of each pixel.
template <class Change>
void for_each_color(uint8_t* row, size_t width, ChannelLayout layout, const Change& change) {
  const size_t red = layout.is_red_first ? 0 : 2;
  for (uint8_t* at = row; at != row + width * layout.step; at += layout.step) {
    change(at[red], at[1], at[2 - red]);
  }
}

// Changes the bitmap; what has no colour stays as it is.
inline Status adjust_colors(BitmapHandle& bitmap, ChangeColors change, const void* data) {
  Adjustment adjustment = {{}, change, data};
  std::iota(adjustment.levels.begin(), adjustment.levels.end(), uint8_t{0});
  core::Progress progress;
  TRY(progress.start());
  return adjust_bitmap(bitmap, adjustment, progress);
}

}  // namespace tavo::process
