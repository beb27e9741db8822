// Samples and pixels of few bits as they become wider ones.
#pragma once

#include <cstdint>

namespace tavo::color {

// The low 5 bits of `field` as 8: 31 becomes 255.
constexpr uint8_t widen_5_bits(uint32_t field) {
  return static_cast<uint8_t>((field & 31) << 3 | (field & 31) >> 2);
}

// Widens `width` pixels of 2 bits to 4 in place, leftmost in the high bits; the row must have room
// for width / 2 bytes, rounded up. A last half byte is zero.
void widen_2_to_4(uint8_t* row, int32_t width);

}  // namespace tavo::color
