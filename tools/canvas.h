// A white page to put pictures and names on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry.h"
#include "picture.h"

namespace tavo::tools {

// Places count from the page's top left corner; what is put there must fit.
class Canvas {
 public:
  Canvas(Extent extent, int dots_per_inch);

  // A picture of any depth, which becomes one of 24 bits.
  void paint(BitmapHandle& picture, int32_t x, int32_t y);
  // The outline of a rectangle, in grey.
  void frame(Extent extent, int32_t x, int32_t y);
  // In black, each pixel of the font as a square of `scale` pixels.
  void write(const std::u32string& letters, int32_t x, int32_t y, int32_t scale);

  Picture& picture() { return picture_; }

 private:
  void put(const std::vector<uint8_t>& pixels, int32_t x, int32_t y);
  void fill(uint8_t level, Extent extent, int32_t x, int32_t y);

  Picture picture_;
};

}  // namespace tavo::tools
