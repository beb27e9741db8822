// Where pictures and names stand on a contact sheet.
#pragma once

#include <string>

#include "geometry.h"

namespace tavo::tools {

struct SheetOptions {
  std::string paper = "a4";
  bool is_landscape = false;
  int dots_per_inch = 150;
  int columns = 4;
};

// All in pixels.
struct SheetLayout {
  Extent page;
  Extent box;      // of a picture
  int32_t margin;  // around all cells
  int32_t step_x;  // from cell to cell
  int32_t step_y;
  int32_t columns;
  int32_t rows;     // 1 at least
  int32_t text_at;  // below the cell's top
  int32_t scale;    // of the font

  int32_t cells() const { return columns * rows; }
};

// UsageError when so many columns leave no room for pictures.
SheetLayout lay_out(const SheetOptions& options);

}  // namespace tavo::tools
