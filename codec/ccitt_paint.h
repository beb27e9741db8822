// Painting of packed bilevel rows by machine words. Pixels are flipped, not set: the decoder keeps
// a row that shows the one above and changes where the two differ, and two flips at one place undo
// one another, in whatever order they come.
#pragma once

#include <cstdint>

#include "base/endian.h"

namespace tavo::ccitt {

// Flips the pixels from `from` (included) to `to`. Touches up to 8 bytes from the byte of `to` on.
inline void flip_pixels(uint8_t* row, uint32_t from, uint32_t to) {
  using Word = uintptr_t;
  constexpr uint32_t kBits = 8 * sizeof(Word);
  constexpr auto kAll = static_cast<Word>(-1);
  const auto flip = [](uint8_t* at, Word bits) { store_be<Word>(at, load_be<Word>(at) ^ bits); };
  uint32_t pixels = to - from;
  const uint32_t shift = from & 7;
  uint8_t* at = row + (from >> 3);
  if (pixels + shift >= kBits) [[unlikely]] {
    flip(at, kAll >> shift);
    pixels -= kBits - shift;
    for (at += sizeof(Word); pixels >= kBits; at += sizeof(Word), pixels -= kBits) {
      store_native(at, ~load_native<Word>(at));
    }
    return flip(at, ~(kAll >> pixels));
  }
  flip(at, ~(kAll >> pixels) >> shift);
}

}  // namespace tavo::ccitt
