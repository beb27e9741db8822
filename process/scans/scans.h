// What is looked for on scanned pages: the exports of the same names.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// Pixels of a picture as seen; empty with a width of 0.
struct Area {
  uint32_t x = 0;
  uint32_t y = 0;
  uint32_t width = 0;
  uint32_t height = 0;
};

Status find_skew(BitmapHandle& bitmap, int32_t& angle);
Status find_content(BitmapHandle& bitmap, Area& area);

inline constexpr uint32_t kWholePage = 1000000;  // a share of it
Status is_blank(BitmapHandle& bitmap, int32_t share, bool& answer);

}  // namespace tavo::process
