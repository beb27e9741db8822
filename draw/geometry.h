// Positions on a page. Pixels are cells between whole numbers, rows count downward.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tavo::draw {

// Shapes have positions of 1/16 pixel.
inline constexpr int32_t kSubpixels = 16;

// Positions stay within these limits, so that no product of two of them overflows 64 bits.
inline constexpr int32_t kFarthest = 1 << 27;

constexpr int32_t limited(int64_t position) {
  return static_cast<int32_t>(std::clamp<int64_t>(position, -kFarthest, kFarthest));
}

// The pixel in which a position is.
constexpr int32_t pixel_of(int32_t position) { return position >> 4; }
// The first pixel whose centre is at or behind a position: where a shape that begins there begins
// to be seen, or ends.
constexpr int32_t edge_of(int32_t position) { return (position + kSubpixels / 2 - 1) >> 4; }

struct Point {
  int32_t x = 0;
  int32_t y = 0;
  bool operator==(const Point&) const = default;
};

// Right and bottom are outside. In pixels or in subpixels, as the name of what has one says.
struct Box {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;

  constexpr bool is_empty() const { return left >= right || top >= bottom; }
  bool operator==(const Box&) const = default;
};

constexpr Box common(const Box& a, const Box& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

// The pixels whose centres are in a box of subpixels.
constexpr Box pixels_of(const Box& box) {
  return {edge_of(box.left), edge_of(box.top), edge_of(box.right), edge_of(box.bottom)};
}

}  // namespace tavo::draw
