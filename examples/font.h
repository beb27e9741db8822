// A small typeface of 5 x 7 dots and descenders of 2, drawn at any whole size with its stairs
// smoothed.
#pragma once

#include <string_view>

#include "canvas.h"

namespace examples {

inline constexpr int kCellWidth = 6;  // dots from one letter to the next
inline constexpr int kLineHeight = 11;

// Draws `text` with its top left corner at (x, y), each dot `scale` pixels wide. Characters that
// the typeface does not have are left blank.
void draw_text(Canvas& canvas, int x, int y, int scale, Color color, std::string_view text);

}  // namespace examples
