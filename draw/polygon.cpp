#include "draw/polygon.h"

#include <algorithm>

namespace tavo::draw {

namespace {

constexpr int64_t floor_div(int64_t a, int64_t b) {
  const int64_t quotient = a / b;
  return a % b != 0 && a < 0 ? quotient - 1 : quotient;
}

}  // namespace

// Rows are looked at where their pixels' centres are.
Status PolygonScanner::add_edge(Point from, Point to, const Box& within) {
  const int32_t direction = from.y < to.y ? 1 : -1;
  if (direction < 0) std::swap(from, to);
  const int32_t top = std::max(edge_of(from.y), within.top);
  const int32_t bottom = std::min(edge_of(to.y), within.bottom);
  if (top >= bottom) return kOk;

  const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
  const int64_t down = int64_t{top} * kSubpixels + kSubpixels / 2 - from.y;
  const int64_t unit = kSubpixels * dy;
  // Where the border is in this row, half a pixel less, rounded up to a pixel.
  const int64_t above = (from.x - kSubpixels / 2) * dy + down * dx + unit - 1;
  const int64_t x = floor_div(above, unit);
  const int64_t step = floor_div(dx, dy);
  return edges_.push({top, bottom, static_cast<int32_t>(x), direction, static_cast<int32_t>(step),
                      above - x * unit, kSubpixels * (dx - step * dy), unit});
}

Status PolygonScanner::add_edges(const Shape& shape, const Box& within) {
  edges_.clear();
  for (size_t i = 0; i < shape.contours(); ++i) {
    const auto points = shape.contour(i);
    if (points.empty()) continue;
    Point last = points.back();
    for (const Point& point : points) {
      TRY(add_edge(last, point, within));
      last = point;
    }
  }
  return kOk;
}

// From row to row few edges change places; where many do, a sort that does not mind is better.
void PolygonScanner::sort_active() {
  const auto edges = active_.items();
  size_t moves = 0;
  for (size_t i = 1; i < edges.size(); ++i) {
    Edge* const edge = edges[i];
    size_t at = i;
    for (; at > 0 && edges[at - 1]->x > edge->x; --at) edges[at] = edges[at - 1];
    edges[at] = edge;
    moves += i - at;
    if (moves > 8 * edges.size()) {
      std::ranges::sort(edges, {}, &Edge::x);
      return;
    }
  }
}

Status PolygonScanner::emit(FillRule rule, int32_t y, const Box& within, SpanSink sink) const {
  int32_t winding = 0, left = 0;
  for (const Edge* edge : active_.items()) {
    const bool was_inside = winding != 0;
    winding = rule == FillRule::kAlternate ? winding ^ 1 : winding + edge->direction;
    if (winding != 0 && !was_inside) left = edge->x;
    if (winding != 0 || !was_inside) continue;
    const int32_t from = std::max(left, within.left), to = std::min(edge->x, within.right);
    if (from < to) TRY(sink(y, from, to));
  }
  return kOk;
}

// To the row `y`.
void PolygonScanner::advance(int32_t y) {
  size_t kept = 0;
  for (Edge* edge : active_.items()) {
    if (edge->bottom == y) continue;
    edge->x += edge->step;
    edge->rest += edge->step_rest;
    if (edge->rest >= edge->unit) {
      edge->rest -= edge->unit;
      ++edge->x;
    }
    active_[kept++] = edge;
  }
  active_.shrink(kept);
}

Status PolygonScanner::scan(const Shape& shape, FillRule rule, const Box& within, WorkCounter work,
                            SpanSink sink) {
  if (within.is_empty()) return kOk;
  TRY(work(static_cast<int64_t>(shape.points().size())));
  TRY(add_edges(shape, within));
  const auto edges = edges_.items();
  std::ranges::sort(edges, {}, &Edge::top);
  active_.clear();
  size_t next = 0;
  int32_t y = 0;
  while (next < edges.size() || !active_.empty()) {
    if (active_.empty()) y = edges[next].top;
    for (; next < edges.size() && edges[next].top == y; ++next) TRY(active_.push(&edges[next]));
    TRY(work(static_cast<int64_t>(active_.size())));
    sort_active();
    TRY(emit(rule, y, within, sink));
    advance(++y);
  }
  return kOk;
}

}  // namespace tavo::draw
