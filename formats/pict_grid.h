// Where the coordinates of a picture are on a page.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/status.h"
#include "draw/canvas.h"
#include "draw/geometry.h"
#include "draw/region.h"
#include "formats/pict_region.h"

namespace tavo::pict {

// Pixels of a page for units of the picture's coordinates.
struct Scale {
  int64_t pixels = 1;
  int64_t units = 1;

  bool operator<(const Scale& other) const { return pixels * other.units < other.pixels * units; }
  bool equals(const Scale& other) const { return pixels * other.units == other.pixels * units; }
  // What so many units are, in parts of pixels of which there are `parts`; halves are rounded up.
  int64_t length(int64_t count, int64_t parts = 1) const {
    const int64_t halves = count * pixels * parts * 2 + units;
    const int64_t floor = halves >= 0 ? 0 : units * 2 - 1;
    return (halves - floor) / (units * 2);
  }
};

// The lines between pixels have the numbers: unit n is what lies between lines n and n + 1.
struct Grid {
  int64_t left = 0;  // the lines where the page begins
  int64_t top = 0;
  Scale scale;

  // In pixels.
  int32_t column(int64_t x) const { return draw::limited(scale.length(x - left)); }
  int32_t row(int64_t y) const { return draw::limited(scale.length(y - top)); }
  draw::Box pixels(const Rect& rect) const {
    return {column(rect.left), row(rect.top), column(rect.right), row(rect.bottom)};
  }

  // In subpixels.
  int32_t length(int64_t units) const {
    return draw::limited(scale.length(units, draw::kSubpixels));
  }
  draw::Point point(int64_t x, int64_t y) const { return {length(x - left), length(y - top)}; }
  draw::Box box(const Rect& rect) const {
    const draw::Point a = point(rect.left, rect.top), b = point(rect.right, rect.bottom);
    return {a.x, a.y, b.x, b.y};
  }

  // A pixel of the page at 72 per inch, in whole ones of this page.
  int32_t cell() const { return std::max(draw::limited(scale.length(1)), 1); }

  // What of a region is in the rows `first` to `end` - 1. kBadData for more pieces than regions of
  // pixels may have, or more work than `canvas` lets be, kNoMemory.
  Status region(const Region& region, int32_t first, int32_t end, draw::Canvas& canvas,
                draw::Region& pixels) const;
};

}  // namespace tavo::pict
