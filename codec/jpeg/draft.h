// Pictures decoded at an eighth, a quarter or half of their size: blocks of fewer samples from
// their lowest coefficients.
#pragma once

#include <array>
#include <cstdint>

#include "codec/jpeg/idct.h"
#include "codec/jpeg/markers.h"

namespace tavo::jpeg {

// What the samples of a frame are like when it is decoded at `eighths` of its size. Components of
// fewer samples get more points for each block as far as they can, so that they need no upsampling.
struct SampleFrame {
  Frame frame;  // sizes and factors are those of the samples; MCUs and blocks are the stream's
  uint32_t eighths = 8;  // samples of a block's side in components of most samples,
  std::array<uint8_t, kMaxComponents> points = {8, 8, 8, 8};  // and in each: 1, 2, 4 or 8
};

SampleFrame sample_frame(const Frame& frame, uint32_t eighths);

// As an inverse transform of eight points, to blocks of `points` x `points` samples: the scaled
// transform of that size of the lowest coefficients, which keeps the level.
InverseTransform choose_inverse_transform(uint32_t points);

}  // namespace tavo::jpeg
