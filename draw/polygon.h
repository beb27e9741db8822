// Which pixels are inside a shape.
#pragma once

#include <cstdint>

#include "base/function_ref.h"
#include "base/list.h"
#include "base/status.h"
#include "draw/geometry.h"
#include "draw/shape.h"

namespace tavo::draw {

enum class FillRule : uint8_t {
  kAlternate,  // what an odd number of borders is around
  kWinding,    // what the borders go around more often one way than the other
};

// Takes the pixels `left` to `right` - 1 of row `y`.
using SpanSink = FunctionRef<Status(int32_t y, int32_t left, int32_t right)>;
// Is told how much work there was.
using WorkCounter = FunctionRef<Status(int64_t steps)>;

// A pixel is inside when its centre is; of centres on a border, those at its right and below. What
// is above another shape's border and what is below it so have no pixel in common and none between.
class PolygonScanner {
 public:
  // Contours are closed. Hands out what is inside and in the box `within`, of pixels, row by row
  // and from left to right, no pixel twice.
  Status scan(const Shape& shape, FillRule rule, const Box& within, WorkCounter work,
              SpanSink sink);

 private:
  struct Edge {
    int32_t top;        // first row
    int32_t bottom;     // row behind the last
    int32_t x;          // first pixel behind it in the row at hand
    int32_t direction;  // 1 downward, -1 upward
    // x is a fraction rounded up: `rest` of `unit` are over, each row adds `step` and `step_rest`.
    int32_t step;
    int64_t rest;
    int64_t step_rest;
    int64_t unit;
  };

  Status add_edges(const Shape& shape, const Box& within);
  Status add_edge(Point from, Point to, const Box& within);
  void sort_active();
  Status emit(FillRule rule, int32_t y, const Box& within, SpanSink sink) const;
  void advance(int32_t y);

  List<Edge> edges_;
  List<Edge*> active_;
};

}  // namespace tavo::draw
