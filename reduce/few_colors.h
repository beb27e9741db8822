// Pictures of two colours or fewer.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::color {

struct FewColors {
  T_PaletteEntry colors[2] = {};  // ascending by blue, green, red
  uint32_t count = 0;             // 3 for three and more
};

// The colours that occur in the pixels; stops at the third.
Status find_few_colors(BitmapHandle& bitmap, FewColors& found);

}  // namespace tavo::color
