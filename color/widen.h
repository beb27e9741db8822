// 2-bit pixels of files whose readers deliver them as 4-bit ones.
#pragma once

#include <cstdint>

namespace tavo::color {

// Widens `width` pixels in place, leftmost in the high bits; the row must have room for width / 2
// bytes, rounded up. A last half byte is zero.
void widen_2_to_4(uint8_t* row, int32_t width);

}  // namespace tavo::color
