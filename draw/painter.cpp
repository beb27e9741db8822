#include "draw/painter.h"

#include <algorithm>

namespace tavo::draw {

namespace {

// Points of a wide line that are filled at once. Of lines that may not be drawn twice as many as
// memory allows within reason.
constexpr size_t kPointsAtOnce = 1 << 12;
constexpr size_t kMostPointsAtOnce = 1 << 15;

// Calls `use(from, to, is_last)` for the lines of a contour. One point is a line of its own.
template <class Use>
Status for_each_line(std::span<const Point> points, Ends ends, Use use) {
  if (points.empty()) return kOk;
  if (points.size() == 1) return use(points[0], points[0], true);
  const bool is_closed = ends == Ends::kClosed;
  for (size_t i = 1; i < points.size(); ++i) {
    TRY(use(points[i - 1], points[i], !is_closed && i + 1 == points.size()));
  }
  return is_closed && points.size() > 2 ? use(points.back(), points[0], false) : kOk;
}

}  // namespace

Status Painter::fill_with(const Shape& shape, FillRule rule, const Ink& ink) {
  return scanner_.scan(
      shape, rule, canvas_.clip_box(), [&](int64_t steps) { return canvas_.spend(steps); },
      [&](int32_t y, int32_t left, int32_t right) { return canvas_.paint(y, left, right, ink); });
}

Status Painter::fill(const Shape& shape, FillRule rule, const Brush& brush, RasterOp operation) {
  const Ink ink(canvas_, brush, operation);
  return ink.draws() ? fill_with(shape, rule, ink) : kOk;
}

Status Painter::fill_box(const Box& pixels, const Brush& brush, RasterOp operation) {
  const Ink ink(canvas_, brush, operation);
  if (!ink.draws()) return kOk;
  const Box visible = common(pixels, canvas_.clip_box());
  for (int32_t y = visible.top; y < visible.bottom; ++y) {
    TRY(canvas_.paint(y, visible.left, visible.right, ink));
  }
  return kOk;
}

Status Painter::fill_region(const Region& region, const Brush& brush, RasterOp operation) {
  TRY(canvas_.spend(static_cast<int64_t>(region.boxes().size())));
  for (const Box& box : region.boxes()) TRY(fill_box(box, brush, operation));
  return kOk;
}

Status Painter::to_region(const Shape& shape, FillRule rule, Region& region) {
  region.clear();
  TRY(scanner_.scan(
      shape, rule, {0, 0, canvas_.width(), canvas_.height()},
      [&](int64_t steps) { return canvas_.spend(steps); },
      [&](int32_t y, int32_t left, int32_t right) { return region.add(y, left, right); }));
  region.finish();
  return kOk;
}

Status Painter::stroke_thin(const Shape& shape, Ends ends, const Ink& ink) {
  const Box& within = canvas_.clip_box();
  for (size_t i = 0; i < shape.contours(); ++i) {
    TRY(for_each_line(shape.contour(i), ends, [&](Point from, Point to, bool is_last) {
      return scan_thin_line(
          from, to, is_last && ends == Ends::kOpen, within,
          [&](int64_t steps) { return canvas_.spend(steps); },
          [&](int32_t y, int32_t left, int32_t right) {
            return canvas_.paint(y, left, right, ink);
          });
    }));
  }
  return kOk;
}

Status Painter::stroke(const Shape& shape, Ends ends, const Pen& pen, const Brush& brush,
                       RasterOp operation) {
  const Ink ink(canvas_, brush, operation);
  if (!ink.draws() || pen.is_nothing()) return kOk;
  if (pen.is_thin()) return stroke_thin(shape, ends, ink);
  const size_t most = ink.may_repeat() ? kPointsAtOnce : kMostPointsAtOnce;
  covered_.clear();
  const auto cover = [&](Point from, Point to, bool) {
    TRY(add_stroke(pen, from, to, covered_));
    if (covered_.points().size() < most) return kOk;
    TRY(fill_with(covered_, FillRule::kWinding, ink));
    covered_.clear();
    return kOk;
  };
  for (size_t i = 0; i < shape.contours(); ++i) {
    TRY(for_each_line(shape.contour(i), ends, cover));
  }
  return fill_with(covered_, FillRule::kWinding, ink);
}

}  // namespace tavo::draw
