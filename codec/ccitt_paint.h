// Painting of packed bilevel rows by whole words. Pixels are flipped, not set: the decoder keeps a
// row that shows the one above and changes where the two differ, and two flips at one place undo
// one another, in whatever order they come.
#pragma once

#include <cstdint>

#include "base/endian.h"

namespace tavo::ccitt {

// Flips the pixels from `from` (included) to `to`. Touches up to 8 bytes from the byte of `to` on.
inline void flip_pixels(uint8_t* row, uint32_t from, uint32_t to) {
  uint32_t pixels = to - from;
  const uint32_t shift = from & 7;
  uint8_t* at = row + (from >> 3);
  if (pixels + shift >= 64) [[unlikely]] {
    store_be64(at, load_be64(at) ^ ~uint64_t{0} >> shift);
    pixels -= 64 - shift;
    for (at += 8; pixels >= 64; at += 8, pixels -= 64) store_native(at, ~load_native<uint64_t>(at));
    store_be64(at, load_be64(at) ^ ~(~uint64_t{0} >> pixels));
    return;
  }
  store_be64(at, load_be64(at) ^ ~(~uint64_t{0} >> pixels) >> shift);
}

}  // namespace tavo::ccitt
