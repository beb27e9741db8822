// Row loops between the layouts of whole bytes without palettes: grey, 16, 24 and 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::color {

// Converts `width` pixels. `in` and `out` are one address or do not overlap; nothing is read or
// written beyond `width` pixels of the layout in question.
using PixelKernel = void (*)(const uint8_t* in, uint8_t* out, size_t width);

// The loop for a pair of depth codes (0, 16, 24, 32). `exchange` gives the first and third
// components each other's place; to grey it says that red is the first. Null where there is
// nothing to do (grey, 24 and 32 bits to themselves without exchange).
PixelKernel pixel_kernel(int32_t bits_in, int32_t bits_out, bool exchange);

// The same by processor level: the plain loops have every pair, the others the pairs that gain;
// null stands for the rest.
PixelKernel plain_kernel(int32_t bits_in, int32_t bits_out, bool exchange);
PixelKernel ssse3_kernel(int32_t bits_in, int32_t bits_out, bool exchange);
PixelKernel avx2_kernel(int32_t bits_in, int32_t bits_out, bool exchange);

// One number for a pair, to switch on.
constexpr int32_t kernel_pair(int32_t bits_in, int32_t bits_out) { return bits_in << 8 | bits_out; }

}  // namespace tavo::color
