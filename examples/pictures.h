// The sample pictures. Whole numbers only: every computer draws the same bytes.
#pragma once

#include "canvas.h"

namespace examples {

// A landscape with smooth skies, texture, hard edges, shaded balls and lettering.
void draw_scene(Canvas& canvas);

// A page of text with headings, a table and a diagram, black on white.
void draw_page(Canvas& canvas);

}  // namespace examples
