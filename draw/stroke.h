// Lines as pens of any width draw them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/function_ref.h"
#include "base/list.h"
#include "base/status.h"
#include "draw/polygon.h"
#include "draw/shape.h"

namespace tavo::draw {

// What moves along a line: points around it, which bulge outward everywhere.
class Pen {
 public:
  // A pen of less than a pixel and a half draws lines one pixel wide.
  static Pen round(int32_t width);
  // Hangs below and at the right of the line, as pens of QuickDraw do.
  static Pen hanging_box(int32_t width, int32_t height);

  bool is_thin() const { return count_ == 0; }
  bool is_nothing() const { return is_nothing_; }
  std::span<const Point> outline() const { return std::span(points_).first(count_); }

 private:
  std::array<Point, 64> points_ = {};
  size_t count_ = 0;  // 0: one pixel
  bool is_nothing_ = false;
};

// How the points of a shape are joined.
enum class Ends : uint8_t {
  kClosed,       // the last one with the first
  kOpen,         // with a pixel on the last point
  kOpenWithout,  // thin lines stop before it, as those of GDI do
};

// Whether a thin line has the pixels of its last point. Runs from pixel to pixel, each row or
// column one (Bresenham). Only what is in `within` is handed out.
Status scan_thin_line(Point from, Point to, bool has_end, const Box& within, WorkCounter work,
                      SpanSink sink);

// Adds to `to` what the pen covers on its way: shapes that overlap and go around alike, so that
// together, filled by winding, they are the line.
Status add_stroke(const Pen& pen, Point from, Point to, Shape& shape);

}  // namespace tavo::draw
