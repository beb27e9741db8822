#include "formats/pcx_planes.h"

#include <array>

#include "base/endian.h"
#include "base/vector_sse2.h"

namespace tavo::pcx {

namespace {

// A plane's byte with its bits in the lowest bit of eight pixels of 4 bits, as they lie in memory:
// the left pixel is the high half of the first byte.
constexpr std::array<uint32_t, 256> kSpread = [] {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (uint32_t x = 0; x < 8; ++x) {
      const uint32_t bit = byte >> (7 - x) & 1;
      table[byte] |= bit << (x / 2 * 8 + (x % 2 == 0 ? 4 : 0));
    }
  }
  return table;
}();

}  // namespace

// EGA pixels: the first plane is the lowest bit.
void combine_bits(const uint8_t* planes, uint32_t stride, uint32_t width, uint8_t* pixels) {
  for (uint32_t i = 0; i < (width + 7) / 8; ++i) {
    const uint8_t* const at = planes + i;
    store_le32(pixels + size_t{4} * i, kSpread[at[0]] | kSpread[at[stride]] << 1 |
                                           kSpread[at[size_t{2} * stride]] << 2 |
                                           kSpread[at[size_t{3} * stride]] << 3);
  }
}

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

}  // namespace tavo::pcx
