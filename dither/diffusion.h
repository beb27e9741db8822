// The error-diffusion filters.
#pragma once

#include <cstdint>

namespace tavo::color {

// A share of the error of pixel x that goes to pixel x + dx, `row` rows below.
struct Tap {
  int8_t row;
  int8_t dx;
  int8_t weight;
};

inline constexpr uint32_t kMaxTaps = 12;

// A filter. What reaches a pixel is added up first and divided once, truncating toward zero.
//
// The division is done by multiplication: |n| / divisor is |n| * reciprocal >> shift in unsigned
// 32-bit arithmetic, exact for every sum that can occur (|n| <= 255 * divisor).
struct Diffusion {
  int32_t divisor;
  uint32_t reciprocal;
  int32_t shift;
  uint32_t rows;   // rows of errors that later rows need
  uint32_t reach;  // the furthest tap to either side
  int32_t right1;  // weights to x + 1 and x + 2 of the same row
  int32_t right2;
  uint32_t tap_count;
  Tap taps[kMaxTaps];  // to the rows below
};

// By method, T_DITHER_FLOYD_STEINBERG (1) to T_DITHER_JARVIS (6); the weights are those of the
// published filters.
inline constexpr Diffusion kDiffusions[] = {
    {16, 16385, 18, 1, 1, 7, 0, 3, {{1, -1, 3}, {1, 0, 5}, {1, 1, 1}}},
    {42,
     24967,
     20,
     2,
     2,
     8,
     4,
     10,
     {{1, -2, 2},
      {1, -1, 4},
      {1, 0, 8},
      {1, 1, 4},
      {1, 2, 2},
      {2, -2, 1},
      {2, -1, 2},
      {2, 0, 4},
      {2, 1, 2},
      {2, 2, 1}}},
    {32, 16385, 19, 1, 2, 8, 4, 5, {{1, -2, 2}, {1, -1, 4}, {1, 0, 8}, {1, 1, 4}, {1, 2, 2}}},
    {32,
     16385,
     19,
     2,
     2,
     5,
     3,
     8,
     {{1, -2, 2}, {1, -1, 4}, {1, 0, 5}, {1, 1, 4}, {1, 2, 2}, {2, -1, 2}, {2, 0, 3}, {2, 1, 2}}},
    {200,
     83887,
     24,
     3,
     3,
     0,
     32,
     11,
     {{1, -3, 12},
      {1, -1, 26},
      {1, 1, 30},
      {1, 3, 16},
      {2, -2, 12},
      {2, 0, 26},
      {2, 2, 12},
      {3, -3, 5},
      {3, -1, 12},
      {3, 1, 12},
      {3, 3, 5}}},
    {48,
     21846,
     20,
     2,
     2,
     7,
     5,
     10,
     {{1, -2, 3},
      {1, -1, 5},
      {1, 0, 7},
      {1, 1, 5},
      {1, 2, 3},
      {2, -2, 1},
      {2, -1, 3},
      {2, 0, 5},
      {2, 1, 3},
      {2, 2, 1}}},
};

// sum / divisor, truncated toward zero.
constexpr int32_t divide(int32_t sum, uint32_t reciprocal, int32_t shift) {
  const int32_t sign = sum >> 31;
  const auto magnitude = static_cast<uint32_t>((sum ^ sign) - sign);
  const auto quotient = static_cast<int32_t>(magnitude * reciprocal >> shift);
  return (quotient ^ sign) - sign;
}

constexpr bool is_diffusion(uint32_t method) { return method >= 1 && method <= 6; }
constexpr const Diffusion& diffusion_of(uint32_t method) { return kDiffusions[method - 1]; }

}  // namespace tavo::color
