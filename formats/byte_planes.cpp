#include "formats/byte_planes.h"

#include "base/vector_sse2.h"

namespace tavo::formats {

void interleave_bytes(const uint8_t* planes, uint32_t stride, uint32_t width, uint8_t* pixels) {
  for (uint32_t x = 0; x < width;
       x += kSplitPixels, planes += kSplitPixels, pixels += 3 * kSplitPixels) {
    sse2::store_triples(pixels, sse2::load(planes), sse2::load(planes + stride),
                        sse2::load(planes + size_t{2} * stride));
  }
}

// The last group writes behind the pixels, into the slack of the line.
void split_bytes(const uint8_t* pixels, uint32_t width, uint8_t* planes, uint32_t stride) {
  for (uint32_t x = 0; x < width;
       x += kSplitPixels, pixels += 3 * kSplitPixels, planes += kSplitPixels) {
    sse2::V rgb[3];
    sse2::load_triples(pixels, rgb);
    for (size_t c = 0; c < 3; ++c) sse2::store(planes + c * stride, rgb[c]);
  }
}

}  // namespace tavo::formats
