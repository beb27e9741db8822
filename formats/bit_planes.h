// Between pixels of 4 or 8 bits and planes of one bit each, the first of them the lowest bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::formats {

// Four planes, `stride` bytes apart, to pixels of 4 bits. Takes and gives whole groups of 8 pixels.
void combine_4_planes(const uint8_t* planes, size_t stride, uint32_t width, uint8_t* pixels);

// Eight planes to pixels of 8 bits, likewise.
void combine_8_planes(const uint8_t* planes, size_t stride, uint32_t width, uint8_t* pixels);

// Pixels of 4 or 8 bits to as many planes; reads and writes whole groups.
void split_planes(int32_t bits, const uint8_t* pixels, uint32_t width, uint8_t* planes,
                  size_t stride);

}  // namespace tavo::formats
