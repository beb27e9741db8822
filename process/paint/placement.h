// Where on a page a picture goes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "process/paint/effect_steps.h"

namespace tavo::process {

// As the T_PRINT_ values.
enum class Placement { kStretch, kFit, kActual };

// How large pictures and pages are in either direction: pixels, and how many of them an inch has.
struct Extent {
  int32_t pixels = 1;
  int32_t resolution = 1;
};

struct PagePlan {
  Extent across;  // of the picture
  Extent down;
  PixelRect area;  // of the page
  int32_t page_resolution_x = 1;
  int32_t page_resolution_y = 1;
  Placement placement = Placement::kStretch;
  bool is_centered = false;
};

// In pixels of the page; a pixel in each direction at least.
PixelRect place_on_page(const PagePlan& plan);

}  // namespace tavo::process
