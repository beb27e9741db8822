// The depths, in bits per pixel.
#pragma once

#include <cstdint>

namespace tavo {

// Those that callers may ask for: of readers, row conversions, dithering passes and reductions.
constexpr bool is_request_depth(int32_t bits) {
  return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// Those of bitmaps and their rows: 2 bits only come from files that have them, and from callers'
// bitmaps.
constexpr bool is_bitmap_depth(int32_t bits) { return bits == 2 || is_request_depth(bits); }

// What stands for `bits` where 2 are not known: in pictures of readers that widen them, on
// displays, and in requests to readers, which deliver a picture of 2 bits as it is when asked for
// more.
constexpr int32_t request_depth(int32_t bits) { return bits == 2 ? 4 : bits; }

}  // namespace tavo
