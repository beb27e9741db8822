// The page that is drawn on, or a band of its rows: 24-bit pixels, a clip, and what is painted
// span by span.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/status.h"
#include "draw/brush.h"
#include "draw/geometry.h"
#include "draw/raster_op.h"
#include "draw/region.h"
#include "tavo45.h"

namespace tavo::draw {

inline constexpr int32_t kLargestSide = 1 << 14;

class Ink;

class Canvas {
 public:
  // A page with room for `rows` of its rows; `order` is that of its pixels (T_ORDER_). kNoMemory.
  Status start(int32_t width, int32_t height, int32_t rows, uint32_t order);

  // A page without pixels, of which is noted where it is drawn on.
  void start_noting(int32_t width, int32_t height);
  const Box& noted() const { return noted_; }

  // Makes the rows from `top` on white, and takes away the clip.
  void begin_band(int32_t top);

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  // The rows at hand.
  int32_t top() const { return top_; }
  int32_t bottom() const { return bottom_; }
  // A row at hand; its pixels only.
  std::span<const uint8_t> row(int32_t y) const {
    return pixels_.bytes().subspan(offset(0, y), size_t{3} * static_cast<size_t>(width_));
  }

  // A color as a pixel of the page: the first byte is the lowest.
  uint32_t pixel(const T_PaletteEntry& color) const;

  // Draws only where `clip`, which is copied, has pixels; and everywhere again.
  Status set_clip(const Region& clip);
  void clear_clip();
  // Where anything can be seen.
  const Box& clip_box() const { return clip_box_; }

  // Fills pixels of a row.
  Status paint(int32_t y, int32_t left, int32_t right, const Ink& ink);

  // Puts pixels, three bytes each in the page's order, in a row; `left` is where the first goes.
  Status put(int32_t y, int32_t left, int32_t right, const uint8_t* from, RasterOp operation,
             const Brush& brush);

  // Work is counted, in pixels touched and steps of about their cost: files of a few kilobytes may
  // otherwise ask for days. kBadData when it is more than real drawings take.
  Status spend(int64_t steps) { return (work_left_ -= steps) < 0 ? kBadData : kOk; }
  bool is_spent() const { return work_left_ < 0; }

 private:
  size_t offset(int32_t x, int32_t y) const {
    return static_cast<size_t>(y - top_) * line_ + size_t{3} * static_cast<size_t>(x);
  }
  template <class Use>
  Status clipped(int32_t y, int32_t left, int32_t right, Use use);
  Box band() const { return {0, top_, width_, bottom_}; }

  Buffer pixels_;
  size_t line_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
  int32_t rows_ = 0;
  int32_t top_ = 0;
  int32_t bottom_ = 0;
  uint32_t order_ = T_ORDER_BGR;
  Box clip_box_;
  Region clip_;
  bool has_clip_ = false;  // clip_ is more than a box
  bool is_noting_ = false;
  Box noted_;
  int64_t work_left_ = 0;
};

// A brush and a raster operation made ready for a page.
class Ink {
 public:
  // `brush` stays where it is.
  Ink(const Canvas& canvas, const Brush& brush, RasterOp operation);

  bool draws() const { return brush_.kind != Brush::Kind::kNone && (!is_solid_ || !is_nothing()); }
  // Whether painting a pixel again changes nothing.
  bool may_repeat() const { return may_repeat_; }

  // Of pixels in a row, `left` and `y` being the place of the first.
  void paint(uint8_t* to, int32_t left, int32_t y, int32_t count) const;

 private:
  bool is_nothing() const { return mix_.keep == UINT32_MAX && mix_.flip == 0; }
  void paint_pattern(uint8_t* to, int32_t left, int32_t y, int32_t count) const;

  const Brush& brush_;
  RasterOp operation_;
  bool is_solid_;
  bool may_repeat_;
  Mix mix_;         // of a solid brush, or of its bits that are 1
  Mix background_;  // of those that are 0
};

}  // namespace tavo::draw
