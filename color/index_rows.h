// Rows of palette indices: packed 1, 2 and 4 bits to bytes and back, bytes to colours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::color {

// The index of each pixel of a packed row (bits 1, 2 or 4, leftmost pixel in the high bits), or of
// a row of bytes (bits 8).
void unpack_indices(int32_t bits, const uint8_t* packed, std::span<uint8_t> indices);

// The same, each index replaced by the table's byte. Two, four or sixteen entries count for 1, 2
// and 4 bits.
void unpack_indices(int32_t bits, const uint8_t* packed, std::span<const uint8_t, 256> table,
                    std::span<uint8_t> indices);

// Packs the low 1, 2 or 4 bits of indices; what is left of the last byte keeps its value. Bits 8
// copies.
void pack_indices(int32_t bits, std::span<const uint8_t> indices, uint8_t* packed);

// The byte of a packed row that begins with pixel `x`, a multiple of 8.
constexpr size_t packed_offset(int32_t bits, size_t x) { return x * static_cast<size_t>(bits) / 8; }

// Pixels as the output layout stores them, in the low bytes of a little-endian word.
using ColorTable = std::array<uint32_t, 256>;

// Writes the table's pixel of each index; bits is 16, 24 or 32. `out` is apart from `indices`.
void write_colors(int32_t bits, std::span<const uint8_t> indices, const ColorTable& table,
                  uint8_t* out);

}  // namespace tavo::color
