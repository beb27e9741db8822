// Lines with gaps.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "draw/geometry.h"
#include "draw/shape.h"

namespace tavo::draw {

// How many pixels are drawn, how many are not, by turns; empty for whole lines.
using Dashes = std::span<const uint8_t>;

// Adds the pieces of all contours of `whole`, each a contour with a pixel on its last point.
// Lengths are counted along the longer axis, as GDI does, and go on from line to line of a contour.
// `pixel` in subpixels. Pieces that are not near the box `seen`, of pixels, are left out.
Status add_dashes(const Shape& whole, bool is_closed, Dashes dashes, int32_t pixel, const Box& seen,
                  Shape& pieces);

}  // namespace tavo::draw
