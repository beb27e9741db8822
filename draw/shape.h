// Contours: what polygons, lines and curves are made of.
#pragma once

#include <cstdint>
#include <span>

#include "base/list.h"
#include "base/status.h"
#include "draw/geometry.h"

namespace tavo::draw {

// Points in subpixels, contour after contour.
class Shape {
 public:
  void clear() {
    points_.clear();
    ends_.clear();
  }

  Status add(Point point) { return points_.push(point); }
  Status end_contour() { return ends_.push(static_cast<uint32_t>(points_.size())); }

  Status add_box(const Box& box);
  // Ellipses and their parts fill the box. Angles are in hundredths of a degree, counted from the
  // right end on to the left around (where y grows downward); `turn` is 0 to kFullTurn.
  Status add_ellipse(const Box& box);
  Status add_arc(const Box& box, int32_t from, int32_t turn);
  // Corners are quarters of ellipses of the given width and height.
  Status add_round_box(const Box& box, int32_t width, int32_t height);

  // Bezier curves of the third degree from the last point: both control points, the end.
  Status add_curve(Point first, Point second, Point end);

  size_t contours() const { return ends_.size(); }
  std::span<const Point> contour(size_t i) const {
    const size_t begin = i == 0 ? 0 : ends_[i - 1];
    return points_.items().subspan(begin, ends_[i] - begin);
  }
  std::span<Point> points() { return points_.items(); }
  std::span<const Point> points() const { return points_.items(); }

 private:
  List<Point> points_;
  List<uint32_t> ends_;
};

// In which direction a point is seen from the middle of a box, as the angle of the ellipse in it.
int32_t angle_of(const Box& box, Point point);

}  // namespace tavo::draw
