#include "draw/region.h"

#include <algorithm>

namespace tavo::draw {

namespace {

// The boxes of one band.
std::span<const Box> band_at(std::span<const Box> boxes) {
  size_t count = 0;
  while (count < boxes.size() && boxes[count].top == boxes[0].top) ++count;
  return boxes.first(count);
}

bool is_in(Region::Operation operation, bool in_first, bool in_second) {
  switch (operation) {
    case Region::Operation::kBoth:
      return in_first && in_second;
    case Region::Operation::kEither:
      return in_first || in_second;
    case Region::Operation::kFirstOnly:
      return in_first && !in_second;
    default:
      return in_first != in_second;
  }
}

// Where the next change of a row's membership is: 2 * i is where box i begins, 2 * i + 1 its end.
int32_t border(std::span<const Box> band, size_t at) {
  if (at >= 2 * band.size()) return INT32_MAX;
  const Box& box = band[at / 2];
  return at % 2 == 0 ? box.left : box.right;
}

}  // namespace

Status Region::assign(const Box& box) {
  clear();
  return box.is_empty() ? kOk : boxes_.push(box);
}

Box Region::bounds() const {
  if (boxes_.empty()) return {};
  Box bounds = boxes_[0];
  for (const Box& box : boxes()) {
    bounds.left = std::min(bounds.left, box.left);
    bounds.right = std::max(bounds.right, box.right);
    bounds.bottom = box.bottom;
  }
  return bounds;
}

void Region::move(int32_t x, int32_t y) {
  for (Box& box : boxes_.items()) {
    box = {limited(int64_t{box.left} + x), limited(int64_t{box.top} + y),
           limited(int64_t{box.right} + x), limited(int64_t{box.bottom} + y)};
  }
}

// The first box of row `y` that does not end left of column `x`, or one further below.
size_t Region::first_at(int32_t y, int32_t x) const {
  const auto boxes = this->boxes();
  const auto is_before = [y, x](const Box& box) {
    return box.bottom <= y || (box.top <= y && box.right <= x);
  };
  return static_cast<size_t>(std::ranges::partition_point(boxes, is_before) - boxes.begin());
}

// When the last band only goes on with the one above it, both become one.
void Region::join_bands() {
  const size_t count = boxes_.size() - band_;
  if (count != 0 && band_ - above_ == count && boxes_[above_].bottom == boxes_[band_].top) {
    const auto have_same_columns = [](const Box& a, const Box& b) {
      return a.left == b.left && a.right == b.right;
    };
    const auto above = boxes_.items().subspan(above_, count);
    if (std::ranges::equal(above, boxes_.items().subspan(band_), have_same_columns)) {
      for (Box& box : above) box.bottom = boxes_[band_].bottom;
      boxes_.shrink(band_);
      band_ = above_;
      return;
    }
  }
  if (count != 0) above_ = band_;
}

// `left` and `right` may touch the span before, never precede it.
Status Region::add(int32_t y, int32_t left, int32_t right) {
  if (left >= right) return kOk;
  if (boxes_.size() != band_ && boxes_[band_].bottom != y + 1) finish();
  if (boxes_.size() != band_ && boxes_.back().right >= left) {
    boxes_.back().right = std::max(boxes_.back().right, right);
    return kOk;
  }
  if (boxes_.size() >= kMostBoxes) return kBadData;
  return boxes_.push({left, y, right, y + 1});
}

void Region::finish() {
  join_bands();
  band_ = boxes_.size();
}

// Goes down both sets at once, from one row where a band begins or ends to the next.
class RegionMerger {
 public:
  RegionMerger(std::span<const Box> first, std::span<const Box> second, Region::Operation operation,
               Region& result)
      : first_(first), second_(second), operation_(operation), result_(result) {}

  Status run() {
    int32_t y = INT32_MIN;
    while (!first_.empty() || !second_.empty()) {
      const auto a = band_at(first_), b = band_at(second_);
      y = std::max(y, std::min(top(a), top(b)));
      const auto in_a = top(a) <= y ? a : std::span<const Box>();
      const auto in_b = top(b) <= y ? b : std::span<const Box>();
      const int32_t end =
          std::min(in_a.empty() ? top(a) : a[0].bottom, in_b.empty() ? top(b) : b[0].bottom);
      TRY(put_band(in_a, in_b, y, end));
      y = end;
      if (!a.empty() && a[0].bottom <= y) first_ = first_.subspan(a.size());
      if (!b.empty() && b[0].bottom <= y) second_ = second_.subspan(b.size());
    }
    return kOk;
  }

 private:
  static int32_t top(std::span<const Box> band) { return band.empty() ? INT32_MAX : band[0].top; }

  Status put_band(std::span<const Box> a, std::span<const Box> b, int32_t y, int32_t end) {
    size_t at_a = 0, at_b = 0;
    int32_t left = 0;
    bool was_in = false;
    while (at_a < 2 * a.size() || at_b < 2 * b.size()) {
      const int32_t x = std::min(border(a, at_a), border(b, at_b));
      if (border(a, at_a) == x) ++at_a;
      if (border(b, at_b) == x) ++at_b;
      const bool is_inside = is_in(operation_, at_a % 2 != 0, at_b % 2 != 0);
      if (is_inside == was_in) continue;
      if (is_inside) {
        left = x;
      } else {
        if (result_.boxes_.size() >= Region::kMostBoxes) return kBadData;
        TRY(result_.boxes_.push({left, y, x, end}));
      }
      was_in = is_inside;
    }
    result_.finish();
    return kOk;
  }

  std::span<const Box> first_;
  std::span<const Box> second_;
  Region::Operation operation_;
  Region& result_;
};

Status Region::combine(const Region& first, const Region& second, Operation operation) {
  clear();
  return RegionMerger(first.boxes(), second.boxes(), operation, *this).run();
}

Status Region::frame(const Region& whole, int32_t width, int32_t height) {
  Region inner, moved, next;
  TRY(inner.assign(whole));
  const Point moves[] = {{width, 0}, {-width, 0}, {0, height}, {0, -height}};
  for (const Point& by : moves) {
    TRY(moved.assign(whole));
    moved.move(by.x, by.y);
    TRY(next.combine(inner, moved, Operation::kBoth));
    TRY(inner.assign(next));
  }
  return combine(whole, inner, Operation::kFirstOnly);
}

}  // namespace tavo::draw
