// What readers of drawings call: shapes filled and stroked, regions and bitmaps, on a page.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "draw/brush.h"
#include "draw/canvas.h"
#include "draw/polygon.h"
#include "draw/raster_op.h"
#include "draw/region.h"
#include "draw/shape.h"
#include "draw/stroke.h"

namespace tavo::draw {

// All verbs give kNoMemory, or kBadData when the drawing asks for more work than real ones do.
// What is outside the page or the clip of the canvas costs little.
class Painter {
 public:
  explicit Painter(Canvas& canvas) : canvas_(canvas) {}

  Canvas& canvas() { return canvas_; }

  Status fill(const Shape& shape, FillRule rule, const Brush& brush, RasterOp operation);
  Status fill_box(const Box& pixels, const Brush& brush, RasterOp operation);
  Status fill_region(const Region& region, const Brush& brush, RasterOp operation);

  // Every contour as a line. Each of its pixels is drawn once, whatever the operation, unless the
  // line is thin and meets itself, or has thousands of points.
  Status stroke(const Shape& shape, Ends ends, const Pen& pen, const Brush& brush,
                RasterOp operation);

  // The pixels of the page that are inside a shape.
  Status to_region(const Shape& shape, FillRule rule, Region& region);

 private:
  Status fill_with(const Shape& shape, FillRule rule, const Ink& ink);
  Status stroke_thin(const Shape& shape, Ends ends, const Ink& ink);

  Canvas& canvas_;
  PolygonScanner scanner_;
  Shape covered_;  // by a wide pen
};

}  // namespace tavo::draw
