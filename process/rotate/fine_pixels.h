// The pixels of a row of a picture that was turned by any angle.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// Rows of the picture that is turned, some bytes behind the last of which may be read, and what
// lies around it.
struct TurnedRows {
  const uint8_t* first;
  ptrdiff_t stride;
  int32_t width;
  int32_t height;
  uint8_t fill[4];  // as the pixels are stored; smooth: 8-bit channels in the order of the picture
};

// A place in the picture, and the way from a pixel of the result to the next, in 2^-32 pixels.
struct TurnedPath {
  int64_t x, y;
  int64_t step_x, step_y;
};

// Makes `count` pixels of the result. Of packed pixels the indices, one to a byte.
using TurnPixels = void (*)(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count);

// Each the pixel that its place lies in; all places are inside.
TurnPixels nearest_pixels(int32_t bits);

// Each a mixture of the four pixels around its place. `inside`: all four are there.
TurnPixels smooth_pixels(int32_t bits, bool inside);

}  // namespace tavo::process
