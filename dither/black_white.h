// Error diffusion by Floyd and Steinberg to black and white by the three channels of pixels.
#pragma once

#include <cstdint>

namespace tavo::color {

// Pixels of a row with the channels interleaved: red, green, blue. Whole vectors are read of them,
// and one value behind them.
//
// Values are kept kBias higher than they are: sixteen times that, the component and what is carried
// to it end where 16-bit elements do when the sum is 255, so that the addition clamps it.
struct BlackWhitePiece {
  static constexpr uint32_t kPixels = 512;
  static constexpr int kBias = (32767 - (16 * 255 + 15)) / 16;

  uint32_t count;
  alignas(16) uint8_t components[3 * kPixels];
  // Sixteen times the component with the bias; and what the row above gives, in sixteenths, as
  // well.
  alignas(16) int16_t own[3 * kPixels + 8];
  alignas(16) int16_t totals[3 * kPixels + 8];
  alignas(16) int32_t are_black[kPixels];  // all ones where it is so
};

struct BlackWhiteKernels {
  // Makes `own` and `totals`. `above` are the errors of the row above, three a pixel, with a pixel
  // at either side.
  void (*add_up)(BlackWhitePiece& piece, const int16_t* above);
  // Diffuses to two colours, 0x..RRGGBB. `errors` receives the piece's errors and has, before them,
  // those of the pixel before.
  void (*diffuse)(const uint32_t (&colors)[2], BlackWhitePiece& piece, int16_t* errors);
};
extern const BlackWhiteKernels kBlackWhiteSse2, kBlackWhiteAvx2;

}  // namespace tavo::color
