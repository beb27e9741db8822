// Adam7, the interlacing of PNG (8.1): seven pictures of ever more pixels.
#pragma once

#include <cstdint>

namespace tavo::png {

// The pixels of a pass: from `x` on in steps of `dx`, likewise the rows.
struct Pass {
  uint8_t x, y, dx, dy;

  uint32_t columns(uint32_t width) const { return width > x ? (width - x - 1) / dx + 1 : 0; }
  uint32_t rows(uint32_t height) const { return height > y ? (height - y - 1) / dy + 1 : 0; }
};
// Each pass is stored as a picture of its own, filter types included.
inline constexpr Pass kPasses[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                   {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
inline constexpr uint32_t kPassCount = 7;

// How far a picture has come.
struct Progress {
  uint32_t passes = 0;  // that are whole
  uint32_t rows = 0;    // of the next one
};

// From which pixels one of row `y` can be shown: those at multiples of `dx` in the row `from`.
struct Nearest {
  bool is_there = false;
  uint32_t from = 0;
  uint32_t dx = 1;
};
// Not there: rows that the first pass has not reached.
Nearest nearest(const Progress& progress, uint32_t y);

// Pixels of 1, 4, 8, 24 or 32 bits from one row to their places in another: number i, of `count`,
// from i * from_dx to x + i * dx.
struct Places {
  uint32_t from_dx, x, dx, count;
};
void place_pixels(const uint8_t* from, uint8_t* to, int32_t bits, const Places& places);

}  // namespace tavo::png
