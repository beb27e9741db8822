// Pixels of three bytes, the first one the lowest of a number.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/endian.h"
#include "draw/raster_op.h"

namespace tavo::draw {

inline uint32_t load_pixel(const uint8_t* from) {
  return load_le16(from) | static_cast<uint32_t>(from[2]) << 16;
}

inline void store_pixel(uint8_t* to, uint32_t pixel) {
  store_le16(to, static_cast<uint16_t>(pixel));
  to[2] = static_cast<uint8_t>(pixel >> 16);
}

inline void mix_pixel(uint8_t* to, const Mix& mix) {
  store_pixel(to, (load_pixel(to) & mix.keep) ^ mix.flip);
}

// Eight pixels are three words.
inline void fill_pixels(uint8_t* to, size_t count, uint32_t pixel) {
  const uint64_t p = pixel & 0xFFFFFF;
  const uint64_t words[] = {p | p << 24 | p << 48, p >> 16 | p << 8 | p << 32 | p << 56,
                            p >> 8 | p << 16 | p << 40};
  for (; count >= 8; count -= 8, to += 24) {
    for (size_t i = 0; i < 3; ++i) store_le64(to + 8 * i, words[i]);
  }
  for (; count > 0; --count, to += 3) store_pixel(to, pixel);
}

}  // namespace tavo::draw
