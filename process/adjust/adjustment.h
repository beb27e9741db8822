// Changes of colours, pixel by pixel: what they are, and how a bitmap takes them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/status.h"
#include "core/progress.h"
#include "process/adjust/level_table.h"
#include "tavo45.h"

namespace tavo::process {

// Where the channels of a pixel are. The fourth byte of 32 bits is left alone.
struct ChannelLayout {
  size_t step;  // bytes from pixel to pixel: 3 or 4
  bool is_red_first;
};

// Changes the colours of a row in place; `data` is the adjustment's own.
using ChangeColors = void (*)(const void* data, uint8_t* row, size_t width, ChannelLayout layout);

// A table for grey levels and, when there is no function for colours, for each of their channels.
struct Adjustment {
  LevelTable levels;
  ChangeColors colors = nullptr;
  const void* data = nullptr;
};

// The colours of an indexed picture change in its palette, those of all others, and of grey ones
// with the 256 greys in order, in their pixels.
bool changes_palette(const BitmapHandle& bitmap);

// Changes the bitmap, which has been checked; progress goes from where it is to 100.
Status adjust_bitmap(BitmapHandle& bitmap, const Adjustment& adjustment, core::Progress& progress,
                     uint32_t percent_done = 0);

}  // namespace tavo::process
