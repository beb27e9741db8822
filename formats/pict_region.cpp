#include "formats/pict_region.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace tavo::pict {

namespace {

constexpr int32_t kEndOfPoints = 0x7FFF;  // of a line, and instead of a line's row

int32_t load_word(const uint8_t* bytes) { return static_cast<int16_t>(load_be16(bytes)); }

}  // namespace

Rect load_rect(const uint8_t* bytes) {
  return {load_word(bytes), load_word(bytes + 2), load_word(bytes + 4), load_word(bytes + 6)};
}

Rect intersect(const Rect& a, const Rect& b) {
  return {std::max(a.top, b.top), std::max(a.left, b.left), std::min(a.bottom, b.bottom),
          std::min(a.right, b.right)};
}

Rect unite(const Rect& a, const Rect& b) {
  if (a.is_empty()) return b;
  return {std::min(a.top, b.top), std::min(a.left, b.left), std::max(a.bottom, b.bottom),
          std::max(a.right, b.right)};
}

// rgnSize, rgnBBox, lines. The size is not asked: `data` end where the record around them says.
Status Region::take(std::span<const uint8_t> data) {
  constexpr size_t kBoxAt = 2, kLinesAt = kBoxAt + kRectBytes;
  if (data.size() < kLinesAt) return kBadData;
  set(load_rect(&data[kBoxAt]));
  const auto lines = data.subspan(kLinesAt);
  if (lines.empty()) return kOk;
  TRY(lines_.allocate(lines.size()));
  std::ranges::copy(lines, lines_.data());
  return kOk;
}

Status RegionRows::start(const Region& region) {
  region_ = &region;
  // A word is a point at most; a last one may be missing.
  TRY(points_.allocate(std::max<size_t>(region.lines().size() / 2 + 1, 2)));
  rewind();
  return kOk;
}

void RegionRows::rewind() {
  left_ = region_->lines();
  count_ = 0;
  y_ = INT32_MIN;
  if (!region_->is_rect()) return;
  points_[0] = region_->box().left;
  points_[1] = region_->box().right;
  count_ = 2;
}

// The points stay in order, however the file has them.
void RegionRows::toggle(int32_t x) {
  int32_t* const first = points_.data();
  int32_t* const end = first + count_;
  int32_t* const at = std::lower_bound(first, end, x);
  const auto behind = static_cast<size_t>(end - at);
  if (behind != 0 && *at == x) {
    std::memmove(at, at + 1, (behind - 1) * sizeof(*at));
    --count_;
  } else {
    std::memmove(at + 1, at, behind * sizeof(*at));
    *at = x;
    ++count_;
  }
}

// The next line, if it is one of row `y` or above: its row, points, 7FFF. A row of 7FFF ends the
// lines, and so does the end of the data.
bool RegionRows::take_line(int32_t y) {
  if (left_.size() < 2) return false;
  const int32_t row = load_word(left_.data());
  if (row == kEndOfPoints || row > y) return false;
  left_ = left_.subspan(2);
  while (left_.size() >= 2) {
    const int32_t x = load_word(left_.data());
    left_ = left_.subspan(2);
    if (x == kEndOfPoints) break;
    toggle(x);
  }
  return true;
}

std::span<const int32_t> RegionRows::row(int32_t y) {
  const Rect& box = region_->box();
  if (y < box.top || y >= box.bottom) return {};
  if (y < y_) rewind();
  y_ = y;
  while (take_line(y)) {
  }
  // A point without partner, which only damaged regions have, reaches to the box's right edge.
  size_t count = count_;
  if (count % 2 != 0) {
    points_[count] = std::max(box.right, points_[count - 1]);
    ++count;
  }
  return points_.items().first(count);
}

}  // namespace tavo::pict
