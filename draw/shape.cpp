#include "draw/shape.h"

#include <algorithm>
#include <cstdlib>

#include "base/trigonometry.h"

namespace tavo::draw {

namespace {

constexpr int32_t kQuarterTurn = kFullTurn / 4;

// How many chords a full turn takes so that none is further than about an eighth of a pixel from
// the arc: with n chords the distance is radius * pi^2 / (2 n^2).
int32_t chords_of_turn(int64_t radius) {
  int32_t quarter = 2;
  while (quarter < 512 && int64_t{quarter} * quarter * 6 < radius) ++quarter;
  return 4 * quarter;
}

int32_t scaled(int64_t radius, int64_t sine) {
  return static_cast<int32_t>((radius * sine + (int64_t{1} << 30)) >> 31);
}

// Around twice the middle with twice the radii, which are whole numbers.
struct Ellipse {
  int64_t x, y, x_radius, y_radius;

  explicit Ellipse(const Box& box)
      : x(int64_t{box.left} + box.right),
        y(int64_t{box.top} + box.bottom),
        x_radius(std::abs(int64_t{box.right} - box.left)),
        y_radius(std::abs(int64_t{box.bottom} - box.top)) {}

  Point at(int32_t angle) const {
    const SineCosine direction = sine_cosine(within_turn(angle, kFullTurn));
    return {limited((x + scaled(x_radius, direction.cosine)) >> 1),
            limited((y - scaled(y_radius, direction.sine)) >> 1)};
  }
  int32_t chords() const { return chords_of_turn(std::max(x_radius, y_radius) / 2); }
};

}  // namespace

Status Shape::add_box(const Box& box) {
  TRY(add({box.left, box.top}));
  TRY(add({box.right, box.top}));
  TRY(add({box.right, box.bottom}));
  TRY(add({box.left, box.bottom}));
  return end_contour();
}

Status Shape::add_ellipse(const Box& box) {
  const Ellipse ellipse(box);
  const int32_t count = ellipse.chords();
  for (int32_t i = 0; i < count; ++i) {
    TRY(add(ellipse.at(static_cast<int32_t>(int64_t{kFullTurn} * i / count))));
  }
  return end_contour();
}

Status Shape::add_arc(const Box& box, int32_t from, int32_t turn) {
  const Ellipse ellipse(box);
  const int64_t count = int64_t{ellipse.chords()} * turn / kFullTurn + 1;
  for (int64_t i = 0; i <= count; ++i) {
    TRY(add(ellipse.at(from + static_cast<int32_t>(turn * i / count))));
  }
  return kOk;
}

Status Shape::add_round_box(const Box& box, int32_t width, int32_t height) {
  const int32_t w = std::min(std::abs(width), box.right - box.left);
  const int32_t h = std::min(std::abs(height), box.bottom - box.top);
  if (w <= 0 || h <= 0) return add_box(box);
  TRY(add_arc({box.right - w, box.top, box.right, box.top + h}, 0, kQuarterTurn));
  TRY(add_arc({box.left, box.top, box.left + w, box.top + h}, kQuarterTurn, kQuarterTurn));
  TRY(add_arc({box.left, box.bottom - h, box.left + w, box.bottom}, 2 * kQuarterTurn,
              kQuarterTurn));
  TRY(add_arc({box.right - w, box.bottom - h, box.right, box.bottom}, 3 * kQuarterTurn,
              kQuarterTurn));
  return end_contour();
}

Status Shape::add_curve(Point first, Point second, Point end) {
  const Point start = points_.back();
  const auto reach = [](const Point& a, const Point& b) {
    return std::abs(int64_t{a.x} - b.x) + std::abs(int64_t{a.y} - b.y);
  };
  const int64_t length = reach(start, first) + reach(first, second) + reach(second, end);
  const int64_t n = std::max(2, chords_of_turn(length) / 4);
  for (int64_t i = 1; i <= n; ++i) {
    const int64_t j = n - i, cube = n * n * n;
    const auto at = [&](int64_t a, int64_t b, int64_t c, int64_t d) {
      const int64_t sum = a * j * j * j + 3 * b * j * j * i + 3 * c * j * i * i + d * i * i * i;
      return limited(sum / cube);
    };
    TRY(add({at(start.x, first.x, second.x, end.x), at(start.y, first.y, second.y, end.y)}));
  }
  return kOk;
}

int32_t angle_of(const Box& box, Point point) {
  const Ellipse ellipse(box);
  // Seen on the circle that the ellipse is a picture of.
  int64_t x = (2 * int64_t{point.x} - ellipse.x) * std::max<int64_t>(ellipse.y_radius, 1);
  int64_t y = (ellipse.y - 2 * int64_t{point.y}) * std::max<int64_t>(ellipse.x_radius, 1);
  int32_t quarter = 0;
  for (; quarter < 3 && !(x > 0 && y >= 0); ++quarter) {
    const int64_t left = x;
    x = y;
    y = -left;
  }
  while (x >= int64_t{1} << 30 || y >= int64_t{1} << 30) {
    x >>= 1;
    y >>= 1;
  }
  int32_t low = 0, high = kQuarterTurn;  // the largest angle that is not beyond it
  while (high - low > 1) {
    const int32_t middle = (low + high) / 2;
    const SineCosine direction = sine_cosine(middle);
    (y * direction.cosine >= x * direction.sine ? low : high) = middle;
  }
  return quarter * kQuarterTurn + low;
}

}  // namespace tavo::draw
