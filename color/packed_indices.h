// Palette indices between their packed rows and a byte each.
#pragma once

#include <cstdint>
#include <span>

namespace tavo::color {

// The indices of the pixels from pixel x (a multiple of 8) of a row of 1, 4 or 8 bits on.
void unpack_indices(const uint8_t* row, uint32_t x, int32_t depth, std::span<uint8_t> indices);

// Packs indices to pixel x (a multiple of 8) on; the other bits of a last byte stay.
void pack_indices(uint8_t* row, uint32_t x, int32_t depth, std::span<const uint8_t> indices);

}  // namespace tavo::color
