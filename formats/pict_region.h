// Rectangles and regions of QuickDraw.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo::pict {

// In the order of the file, four signed words; right and bottom are exclusive.
struct Rect {
  int32_t top = 0;
  int32_t left = 0;
  int32_t bottom = 0;
  int32_t right = 0;

  int32_t width() const { return right - left; }
  int32_t height() const { return bottom - top; }
  bool is_empty() const { return right <= left || bottom <= top; }
  bool contains(const Rect& other) const {
    return top <= other.top && left <= other.left && bottom >= other.bottom && right >= other.right;
  }
  bool operator==(const Rect&) const = default;
};

inline constexpr size_t kRectBytes = 8;
Rect load_rect(const uint8_t* bytes);
// The part that both have, which may be empty.
Rect intersect(const Rect& a, const Rect& b);
// The smallest that has both, of which `a` may be empty.
Rect unite(const Rect& a, const Rect& b);

inline constexpr Rect kEverywhere = {INT16_MIN, INT16_MIN, INT16_MAX, INT16_MAX};

// A region as pictures store it: its size in bytes, its box and, unless it is a rectangle, the
// points of each row in which inside and outside change places, as far as they are others than in
// the row above.
class Region {
 public:
  Status take(std::span<const uint8_t> data);
  void set(const Rect& box) {
    box_ = box;
    lines_.release();
  }

  const Rect& box() const { return box_; }
  bool is_rect() const { return lines_.size() == 0; }
  // Whether it leaves all of `rect` visible.
  bool is_open_to(const Rect& rect) const { return is_rect() && box_.contains(rect); }
  std::span<const uint8_t> lines() const { return lines_.bytes(); }

 private:
  Rect box_ = kEverywhere;
  Buffer lines_;
};

// What of a region stands in a row, one after the other from the top.
class RegionRows {
 public:
  Status start(const Region& region);

  // The columns in which row `y` enters and leaves the region, in turn.
  std::span<const int32_t> row(int32_t y);

 private:
  void rewind();
  void toggle(int32_t x);
  bool take_line(int32_t y);

  const Region* region_ = nullptr;
  std::span<const uint8_t> left_;  // of the lines
  Array<int32_t> points_;          // ascending
  size_t count_ = 0;
  int32_t y_ = INT32_MIN;
};

// Calls use(left, right) for every piece that is in both rows.
template <class Use>
void for_each_common(std::span<const int32_t> a, std::span<const int32_t> b, Use&& use) {
  size_t i = 0, j = 0;
  while (i + 1 < a.size() && j + 1 < b.size()) {
    const int32_t left = a[i] > b[j] ? a[i] : b[j];
    const int32_t right = a[i + 1] < b[j + 1] ? a[i + 1] : b[j + 1];
    if (left < right) use(left, right);
    a[i + 1] < b[j + 1] ? i += 2 : j += 2;
  }
}

}  // namespace tavo::pict
