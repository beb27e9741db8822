// Rows of palette indices: packed 1 and 4 bits to bytes and back, bytes to colours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::color {

// One byte of `table` for each pixel of a packed row (bits 1 or 4, leftmost pixel in the high
// bits), or of a row of bytes (bits 8). Sixteen or two entries count for 4 and 1 bits.
void unpack_indices(int32_t bits, const uint8_t* packed, std::span<const uint8_t, 256> table,
                    std::span<uint8_t> indices);

// Packs indices below 2 or 16; what is left of the last byte keeps its value. Bits 8 copies.
void pack_indices(int32_t bits, std::span<const uint8_t> indices, uint8_t* packed);

// Pixels as the output layout stores them, in the low bytes of a little-endian word.
using ColorTable = std::array<uint32_t, 256>;

// Writes the table's pixel of each index; bits is 16, 24 or 32. `out` is apart from `indices`.
void write_colors(int32_t bits, std::span<const uint8_t> indices, const ColorTable& table,
                  uint8_t* out);

}  // namespace tavo::color
