#include "formats/bit_planes.h"

#include <array>

#include "base/endian.h"

namespace tavo::formats {

namespace {

// A plane's byte with its bits in the lowest bit of eight pixels of 4 bits, as they lie in memory:
// the left pixel is the high half of the first byte.
constexpr std::array<uint32_t, 256> kSpread = [] {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (uint32_t x = 0; x < 8; ++x) {
      const uint32_t bit = byte >> (7 - x) & 1;
      table[byte] |= bit << (x / 2 * 8 + (x % 2 == 0 ? 4 : 0));
    }
  }
  return table;
}();

// Eight rows of eight bits, the top row in the highest byte, with rows and columns exchanged:
// single bits, then squares of 2 x 2 and of 4 x 4 change places (Warren, "Hacker's Delight", 7-3).
// Pixels, the left one on top, become planes, the last one on top, and the other way round.
uint64_t exchanged(uint64_t v) {
  const auto swap = [&v](uint64_t mask, uint32_t distance) {
    const uint64_t change = (v ^ v >> distance) & mask;
    v ^= change ^ change << distance;
  };
  swap(0x00AA00AA00AA00AA, 7);
  swap(0x0000CCCC0000CCCC, 14);
  swap(0x00000000F0F0F0F0, 28);
  return v;
}

// Eight pixels of 4 bits, each in a byte of its own, in the same order.
uint64_t spread_halves(uint32_t pixels) {
  uint64_t v = pixels;
  v = (v | v << 16) & 0x0000FFFF0000FFFF;
  v = (v | v << 8) & 0x00FF00FF00FF00FF;
  return (v | v << 4) & 0x0F0F0F0F0F0F0F0F;
}

}  // namespace

void combine_4_planes(const uint8_t* planes, size_t stride, uint32_t width, uint8_t* pixels) {
  for (uint32_t i = 0; i < (width + 7) / 8; ++i) {
    const uint8_t* const at = planes + i;
    store_le32(pixels + size_t{4} * i, kSpread[at[0]] | kSpread[at[stride]] << 1 |
                                           kSpread[at[2 * stride]] << 2 |
                                           kSpread[at[3 * stride]] << 3);
  }
}

void combine_8_planes(const uint8_t* planes, size_t stride, uint32_t width, uint8_t* pixels) {
  for (uint32_t i = 0; i < (width + 7) / 8; ++i) {
    uint64_t rows = 0;
    for (uint32_t k = 0; k < 8; ++k) rows |= uint64_t{planes[k * stride + i]} << 8 * k;
    store_be64(pixels + size_t{8} * i, exchanged(rows));
  }
}

void split_planes(int32_t bits, const uint8_t* pixels, uint32_t width, uint8_t* planes,
                  size_t stride) {
  for (uint32_t i = 0; i < (width + 7) / 8; ++i) {
    const uint64_t rows = exchanged(bits == 8 ? load_be64(pixels + size_t{8} * i)
                                              : spread_halves(load_be32(pixels + size_t{4} * i)));
    for (int32_t k = 0; k < bits; ++k) {
      planes[static_cast<size_t>(k) * stride + i] = static_cast<uint8_t>(rows >> 8 * k);
    }
  }
}

}  // namespace tavo::formats
