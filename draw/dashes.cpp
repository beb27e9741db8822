#include "draw/dashes.h"

#include <algorithm>
#include <cstdlib>

namespace tavo::draw {

namespace {

constexpr int64_t kMargin = 64 * kSubpixels;  // wider than the pens that have dashes

class Cutter {
 public:
  Cutter(Dashes dashes, int32_t pixel, const Box& seen, Shape& pieces)
      : dashes_(dashes), pixel_(pixel), seen_(seen), pieces_(pieces) {
    for (const uint8_t length : dashes) period_ += int64_t{length} * pixel;
  }

  void begin() {
    at_ = 0;
    left_ = int64_t{dashes_[0]} * pixel_;
  }

  Status cut(Point from, Point to) {
    const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
    const bool is_steep = std::abs(dy) > std::abs(dx);
    const int64_t length = std::abs(is_steep ? dy : dx);
    if (length == 0) return kOk;
    const auto point = [&](int64_t along) {
      return Point{static_cast<int32_t>(from.x + dx * along / length),
                   static_cast<int32_t>(from.y + dy * along / length)};
    };
    // Where it comes near what is seen, and where it leaves that.
    const int64_t start = is_steep ? from.y : from.x;
    int64_t near = int64_t{is_steep ? seen_.top : seen_.left} * kSubpixels - kMargin - start;
    int64_t far = int64_t{is_steep ? seen_.bottom : seen_.right} * kSubpixels + kMargin - start;
    if ((is_steep ? dy : dx) < 0) {
      std::swap(near, far);
      near = -near;
      far = -far;
    }
    int64_t along = std::clamp<int64_t>(near, 0, length);
    const int64_t end = std::clamp<int64_t>(far, 0, length);
    skip(along);
    while (along < end) {
      const int64_t step = std::min(left_, length - along);
      if (at_ % 2 == 0) {
        TRY(pieces_.add(point(along)));
        TRY(pieces_.add(point(along + std::max<int64_t>(step - pixel_, 0))));
        TRY(pieces_.end_contour());
      }
      skip(step);
      along += step;
    }
    skip(length - along);
    return kOk;
  }

 private:
  void skip(int64_t length) {
    length %= period_;
    while (length >= left_) {
      length -= left_;
      at_ = (at_ + 1) % dashes_.size();
      left_ = int64_t{dashes_[at_]} * pixel_;
    }
    left_ -= length;
  }

  Dashes dashes_;
  int32_t pixel_;
  const Box& seen_;
  Shape& pieces_;
  int64_t period_ = 0;
  size_t at_ = 0;     // in dashes_
  int64_t left_ = 0;  // of that, in subpixels
};

}  // namespace

Status add_dashes(const Shape& whole, bool is_closed, Dashes dashes, int32_t pixel, const Box& seen,
                  Shape& pieces) {
  Cutter cutter(dashes, pixel, seen, pieces);
  for (size_t i = 0; i < whole.contours(); ++i) {
    const auto points = whole.contour(i);
    if (points.empty()) continue;
    cutter.begin();
    for (size_t j = 1; j < points.size(); ++j) TRY(cutter.cut(points[j - 1], points[j]));
    if (is_closed) TRY(cutter.cut(points.back(), points[0]));
  }
  return kOk;
}

}  // namespace tavo::draw
