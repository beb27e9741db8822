// Between pixels of three bytes and the planes that files keep their bytes in.
#pragma once

#include <cstdint>

namespace tavo::formats {

// Pixels that the loops take at once: of the last ones whole groups are read and written.
inline constexpr uint32_t kSplitPixels = 16;

// Three planes of bytes to pixels of three bytes, and back.
void interleave_bytes(const uint8_t* planes, uint32_t stride, uint32_t width, uint8_t* pixels);
void split_bytes(const uint8_t* pixels, uint32_t width, uint8_t* planes, uint32_t stride);

}  // namespace tavo::formats
