// A first palette for points of colour: boxes of them are cut in two where that takes most from the
// sum of squared distances to the boxes' means, always the box that gains most (after X. Wu,
// "Efficient statistical computations for optimal color quantization", Graphics Gems II, 1991).
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "reduce/color_points.h"

namespace tavo::color {

// Gives at most palette.size() colours, the rounded means of the boxes, packed as those of points;
// `count` is how many.
Status cut_boxes(const ColorPoints& points, std::span<uint32_t> palette, uint32_t& count);

}  // namespace tavo::color
