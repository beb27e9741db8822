#include "draw/stroke.h"

#include <algorithm>
#include <cstdlib>

#include "base/trigonometry.h"

namespace tavo::draw {

namespace {

constexpr int32_t kThinnest = kSubpixels + kSubpixels / 2;  // of what is not one pixel wide

constexpr int64_t cross(Point along, Point point) {
  return int64_t{along.x} * point.y - int64_t{along.y} * point.x;
}

}  // namespace

Pen Pen::round(int32_t width) {
  Pen pen;
  if (width < kThinnest) return pen;
  // A multiple of four, so that it is as wide and high as asked.
  const int32_t count =
      std::min(8 + width / (4 * kSubpixels) * 4, static_cast<int32_t>(pen.points_.size()));
  for (int32_t i = 0; i < count; ++i) {
    const SineCosine direction = sine_cosine(kFullTurn * i / count);
    const auto scaled = [width](int64_t part) {
      return static_cast<int32_t>((width * part + (int64_t{1} << 31)) >> 32);
    };
    pen.points_[static_cast<size_t>(i)] = {scaled(direction.cosine), scaled(direction.sine)};
  }
  pen.count_ = static_cast<size_t>(count);
  return pen;
}

Pen Pen::hanging_box(int32_t width, int32_t height) {
  Pen pen;
  pen.is_nothing_ = width <= 0 || height <= 0;
  if (pen.is_nothing_ || (width == kSubpixels && height == kSubpixels)) return pen;
  pen.points_[1] = {width, 0};
  pen.points_[2] = {width, height};
  pen.points_[3] = {0, height};
  pen.count_ = 4;
  return pen;
}

// The side of the outline that looks back stays where the line begins, the other goes along.
Status add_stroke(const Pen& pen, Point from, Point to, Shape& shape) {
  const auto outline = pen.outline();
  const size_t count = outline.size();
  const Point along = {limited(int64_t{to.x} - from.x), limited(int64_t{to.y} - from.y)};
  const auto moved = [](Point point, Point by) {
    return Point{limited(int64_t{point.x} + by.x), limited(int64_t{point.y} + by.y)};
  };
  if (along == Point{}) {
    for (const Point& point : outline) TRY(shape.add(moved(point, from)));
    return shape.end_contour();
  }
  // The outline goes around from +x to +y: to the point furthest at that side of the line it moves
  // with the end, from there on with the beginning.
  size_t least = 0, most = 0;
  for (size_t i = 1; i < count; ++i) {
    if (cross(along, outline[i]) < cross(along, outline[least])) least = i;
    if (cross(along, outline[i]) > cross(along, outline[most])) most = i;
  }
  for (size_t i = least;; i = (i + 1) % count) {
    TRY(shape.add(moved(outline[i], to)));
    if (i == most) break;
  }
  for (size_t i = most;; i = (i + 1) % count) {
    TRY(shape.add(moved(outline[i], from)));
    if (i == least) break;
  }
  return shape.end_contour();
}

namespace {

// A line along its longer axis, `major`, in steps of one; the other one follows: at step i it is
// start + (2 * i * minor + major - tie) / (2 * major), rounded down.
struct ThinLine {
  int64_t major_start, minor_start;
  int64_t major, minor;            // lengths
  int32_t major_sign, minor_sign;  // directions
  bool is_steep;                   // the longer axis is y

  ThinLine(Point from, Point to) {
    const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
    is_steep = std::abs(dy) > std::abs(dx);
    major_start = is_steep ? from.y : from.x;
    minor_start = is_steep ? from.x : from.y;
    major = std::abs(is_steep ? dy : dx);
    minor = std::abs(is_steep ? dx : dy);
    major_sign = (is_steep ? dy : dx) < 0 ? -1 : 1;
    minor_sign = (is_steep ? dx : dy) < 0 ? -1 : 1;
  }
};

}  // namespace

Status scan_thin_line(Point from, Point to, bool has_end, const Box& within, WorkCounter work,
                      SpanSink sink) {
  const ThinLine line({pixel_of(from.x), pixel_of(from.y)}, {pixel_of(to.x), pixel_of(to.y)});
  // The steps at which it is between the limits of the longer axis.
  const int64_t low = line.is_steep ? within.top : within.left;
  const int64_t high = (line.is_steep ? within.bottom : within.right) - 1;
  const int64_t at_low = (low - line.major_start) * line.major_sign;
  const int64_t at_high = (high - line.major_start) * line.major_sign;
  const int64_t first = std::max<int64_t>(std::min(at_low, at_high), 0);
  const int64_t last = std::min(std::max(at_low, at_high), line.major - (has_end ? 0 : 1));
  if (first > last || within.is_empty()) return kOk;
  TRY(work(last - first + 1));

  const int64_t unit = std::max<int64_t>(2 * line.major, 1);
  const int64_t offset = 2 * first * line.minor + line.major - (line.minor_sign < 0 ? 0 : 1);
  int64_t minor = std::max<int64_t>(offset, 0) / unit;
  int64_t rest = std::max<int64_t>(offset, 0) % unit;
  int64_t run = first;  // where the pixels of a row began
  const auto emit = [&](int64_t begin, int64_t end) {
    const auto across = static_cast<int32_t>(line.minor_start + minor * line.minor_sign);
    const auto a = static_cast<int32_t>(line.major_start + begin * line.major_sign);
    const auto b = static_cast<int32_t>(line.major_start + end * line.major_sign);
    if (line.is_steep) return sink(a, across, across + 1);
    return sink(across, std::min(a, b), std::max(a, b) + 1);
  };
  for (int64_t i = first; i < last; ++i) {
    rest += 2 * line.minor;
    const bool moves = rest >= unit;
    if (moves || line.is_steep) {
      TRY(emit(run, i));
      run = i + 1;
    }
    if (moves) {
      rest -= unit;
      ++minor;
    }
  }
  return emit(run, last);
}

}  // namespace tavo::draw
