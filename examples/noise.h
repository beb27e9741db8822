// Repeatable disorder in whole numbers.
#pragma once

#include <cstdint>

namespace examples {

// A number of 0 to 255 that looks random, the same for the same three arguments.
inline int hash8(int x, int y, uint32_t seed) {
  uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^
               seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return static_cast<int>(h >> 24);
}

// Numbers of 0 to 255 on a grid of cells `1 << shift` wide, blended smoothly between its points.
inline int smooth_noise(int x, int y, int shift, uint32_t seed) {
  const auto weight = [shift](int position) {  // 0 to 256, with level ends: t t (3 - 2 t)
    const int64_t t = (static_cast<int64_t>(position & ((1 << shift) - 1)) << 8) >> shift;
    return static_cast<int>((t * t * (768 - 2 * t)) >> 16);
  };
  const int column = x >> shift;
  const int row = y >> shift;
  const int wx = weight(x);
  const int wy = weight(y);
  const int top = hash8(column, row, seed) * (256 - wx) + hash8(column + 1, row, seed) * wx;
  const int bottom =
      hash8(column, row + 1, seed) * (256 - wx) + hash8(column + 1, row + 1, seed) * wx;
  return static_cast<int>(
      (static_cast<int64_t>(top) * (256 - wy) + static_cast<int64_t>(bottom) * wy) >> 16);
}

// Several such layers, each twice as fine and half as strong: 0 to 255.
inline int layered_noise(int x, int y, int shift, int layers, uint32_t seed) {
  int sum = 0;
  int weights = 0;
  for (int i = 0; i < layers && shift - i >= 0; ++i) {
    const int weight = 256 >> i;
    sum += smooth_noise(x, y, shift - i, seed + static_cast<uint32_t>(i)) * weight;
    weights += weight;
  }
  return sum / weights;
}

}  // namespace examples
