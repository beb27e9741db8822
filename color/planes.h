// Pieces of rows with the channels apart, for work on many pixels at once.
#pragma once

#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::color {

inline constexpr uint32_t kPlanePixels = 512;  // of a piece; a multiple of 16

// What is behind the pixels of a piece has no meaning, but may be worked on.
struct Planes {
  alignas(16) uint8_t red[kPlanePixels];
  alignas(16) uint8_t green[kPlanePixels];
  alignas(16) uint8_t blue[kPlanePixels];
};

// Takes `count` pixels of 16, 24 or 32 bits apart.
void split_pixels(const uint8_t* pixels, int32_t depth, uint32_t order, uint32_t count,
                  Planes& planes);

// Takes pixels of 24 bits apart, sixteen at a time; returns how many.
uint32_t split_24_ssse3(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]);

// The colour classes (see dither.h) of the first `count` pixels, rounded up to 16.
void classes_of(const Planes& planes, uint32_t count, uint16_t (&classes)[kPlanePixels]);

}  // namespace tavo::color
