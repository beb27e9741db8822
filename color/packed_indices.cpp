#include "color/packed_indices.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace tavo::color {

namespace {

// Eight indices of one bit, each a byte, as one byte with the first in the high bit: every bit
// reaches the top byte of the product once, and no two meet.
uint8_t pack_8_bits(const uint8_t* indices) {
  const uint64_t bits = load_le64(indices) & 0x0101010101010101u;
  return static_cast<uint8_t>(bits * 0x8040201008040201u >> 56);
}

void write_bits(uint8_t* out, std::span<const uint8_t> indices) {
  const size_t whole = indices.size() / 8;
  for (size_t i = 0; i < whole; ++i) out[i] = pack_8_bits(indices.data() + 8 * i);
  const size_t rest = indices.size() % 8;
  if (rest == 0) return;
  uint8_t last[8] = {};
  std::memcpy(last, indices.data() + 8 * whole, rest);
  const auto others = static_cast<uint8_t>(0xFF >> rest);
  out[whole] = static_cast<uint8_t>((out[whole] & others) | pack_8_bits(last));
}

void write_nibbles(uint8_t* out, std::span<const uint8_t> indices) {
  const size_t whole = indices.size() / 2;
  for (size_t i = 0; i < whole; ++i) {
    out[i] = static_cast<uint8_t>(indices[2 * i] << 4 | (indices[2 * i + 1] & 15));
  }
  if (indices.size() % 2 != 0) {
    out[whole] = static_cast<uint8_t>((out[whole] & 15) | indices.back() << 4);
  }
}

}  // namespace

void unpack_indices(const uint8_t* row, uint32_t x, int32_t depth, std::span<uint8_t> indices) {
  if (depth == 8) {
    std::copy_n(row + x, indices.size(), indices.data());
  } else if (depth == 4) {
    for (size_t i = 0; i < indices.size(); ++i) {
      indices[i] = static_cast<uint8_t>(row[(x + i) / 2] >> (i % 2 == 0 ? 4 : 0) & 15);
    }
  } else {
    for (size_t i = 0; i < indices.size(); ++i) {
      indices[i] = static_cast<uint8_t>(row[(x + i) / 8] >> (7 - i % 8) & 1);
    }
  }
}

void pack_indices(uint8_t* row, uint32_t x, int32_t depth, std::span<const uint8_t> indices) {
  if (depth == 8) {
    std::memcpy(row + x, indices.data(), indices.size());
  } else if (depth == 4) {
    write_nibbles(row + x / 2, indices);
  } else {
    write_bits(row + x / 8, indices);
  }
}

}  // namespace tavo::color
