// Bitmaps put on a page, row by row as they come.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "draw/canvas.h"

namespace tavo::draw {

// A part of a picture, and where it goes; both in pixels, and none of them empty.
struct Placement {
  Box source;
  Box target;
  bool is_mirrored = false;  // left to right
  bool is_flipped = false;   // upside down
};

// Each pixel of the page takes the one pixel of the picture in which its corner falls.
class PlacedPicture {
 public:
  // `brush`: a solid one, for operations with a pattern; stays where it is.
  PlacedPicture(Canvas& canvas, const Placement& placement, RasterOp operation, const Brush& brush)
      : canvas_(canvas), place_(placement), operation_(operation), brush_(brush) {}

  // Pixels of this colour are not drawn.
  void hide(const T_PaletteEntry& color) { hidden_ = canvas_.pixel(color); }

  // `width` of the whole picture. kNoMemory.
  Status start(int32_t width);

  // Row `y` of the picture, counted from its top: 24-bit pixels in the page's order. Rows may come
  // in any order.
  Status put_row(int32_t y, const uint8_t* pixels);

 private:
  Status put_line(int32_t y, const uint8_t* line);

  static constexpr uint32_t kNone = UINT32_MAX;

  Canvas& canvas_;
  Placement place_;
  RasterOp operation_;
  const Brush& brush_;
  uint32_t hidden_ = kNone;
  int32_t left_ = 0;  // what is seen of the target
  int32_t right_ = 0;
  bool is_plain_ = false;    // columns of the picture follow each other as those of the page do
  Array<uint32_t> columns_;  // where in a row of the picture their pixels are
  Buffer line_;
};

}  // namespace tavo::draw
