#include "process/rotate/turn_rows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "color/index_rows.h"

namespace tavo::process {

namespace {

template <size_t kBytes>
struct Pixel {
  uint8_t bytes[kBytes];
};

template <size_t kBytes>
void mirror_pixels(const uint8_t* row, uint8_t* out, size_t width) {
  const auto* from = reinterpret_cast<const Pixel<kBytes>*>(row);
  auto* to = reinterpret_cast<Pixel<kBytes>*>(out);
  std::reverse_copy(from, from + width, to);
}

// The pixels of a byte in the opposite order.
template <uint32_t kBits>
constexpr std::array<uint8_t, 256> kMirrored = [] {
  std::array<uint8_t, 256> bytes = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (uint32_t at = 0; at < 8; at += kBits) {
      const uint32_t pixel = byte >> at & ((1u << kBits) - 1);
      bytes[byte] = static_cast<uint8_t>(bytes[byte] | pixel << (8 - kBits - at));
    }
  }
  return bytes;
}();

// The row's unused bits come to its front and are shifted out.
template <uint32_t kBits>
void mirror_packed(const uint8_t* row, uint8_t* out, size_t width) {
  const size_t bytes = (width * kBits + 7) / 8;
  const auto unused = static_cast<uint32_t>(bytes * 8 - width * kBits);
  uint32_t left = 0;
  for (size_t i = 0; i < bytes; ++i) {
    const uint32_t byte = kMirrored<kBits>[row[bytes - 1 - i]];
    left = left << 8 | byte;
    if (i != 0) out[i - 1] = static_cast<uint8_t>(left >> (8 - unused));
  }
  out[bytes - 1] = static_cast<uint8_t>(left << unused);
}

// A tile is as many rows and columns as a cache line has bytes: its lines of both sides stay in
// the first cache while it is turned.
constexpr size_t kTile = 64;

template <class Tile>
void for_each_tile(size_t width, size_t height, const Tile& tile) {
  for (size_t y = 0; y < height; y += kTile) {
    for (size_t x = 0; x < width; x += kTile) {
      tile(x, y, std::min(kTile, width - x), std::min(kTile, height - y));
    }
  }
}

const uint8_t* row_at(RowsIn rows, size_t y) {
  return rows.first + static_cast<ptrdiff_t>(y) * rows.stride;
}
uint8_t* row_at(RowsOut rows, size_t y) {
  return rows.first + static_cast<ptrdiff_t>(y) * rows.stride;
}

template <size_t kBytes>
void transpose_pixels(RowsIn in, RowsOut out, size_t width, size_t height) {
  for_each_tile(width, height, [=](size_t x, size_t y, size_t columns, size_t rows) {
    for (size_t i = 0; i < columns; ++i) {
      auto* to = reinterpret_cast<Pixel<kBytes>*>(row_at(out, x + i)) + y;
      for (size_t j = 0; j < rows; ++j) {
        to[j] = reinterpret_cast<const Pixel<kBytes>*>(row_at(in, y + j))[x + i];
      }
    }
  });
}

template <uint32_t kBits>
void transpose_packed(RowsIn in, RowsOut out, size_t width, size_t height) {
  for_each_tile(width, height, [=](size_t x, size_t y, size_t columns, size_t rows) {
    uint8_t indices[kTile][kTile];
    for (size_t j = 0; j < rows; ++j) {
      color::unpack_indices(kBits, row_at(in, y + j) + color::packed_offset(kBits, x),
                            std::span(indices[j]).first(columns));
    }
    for (size_t i = 0; i < columns; ++i) {
      uint8_t line[kTile];
      for (size_t j = 0; j < rows; ++j) line[j] = indices[j][i];
      color::pack_indices(kBits, std::span(line).first(rows),
                          row_at(out, x + i) + color::packed_offset(kBits, y));
    }
  });
}

// Eight rows of eight bits in a word, row by row from the top byte, as columns: blocks of 1, 2 and
// 4 bits exchange their upper right and lower left quarters (H. S. Warren, Hacker's Delight, 7-3).
constexpr uint64_t transpose_8x8(uint64_t x) {
  const auto exchange = [&x](int shift, uint64_t mask) {
    const uint64_t differing = (x ^ x >> shift) & mask;
    x ^= differing ^ differing << shift;
  };
  exchange(7, 0x00AA00AA00AA00AA);
  exchange(14, 0x0000CCCC0000CCCC);
  exchange(28, 0x00000000F0F0F0F0);
  return x;
}

void transpose_bits(RowsIn in, RowsOut out, size_t width, size_t height) {
  for_each_tile(width, height, [=](size_t x, size_t y, size_t columns, size_t rows) {
    for (size_t j = 0; j < rows; j += 8) {
      for (size_t i = 0; i < columns; i += 8) {
        uint64_t block = 0;
        for (size_t k = 0; k < std::min<size_t>(8, rows - j); ++k) {
          block |= uint64_t{row_at(in, y + j + k)[(x + i) / 8]} << (56 - 8 * k);
        }
        block = transpose_8x8(block);
        for (size_t k = 0; k < std::min<size_t>(8, columns - i); ++k) {
          row_at(out, x + i + k)[(y + j) / 8] = static_cast<uint8_t>(block >> (56 - 8 * k));
        }
      }
    }
  });
}

}  // namespace

MirrorRow mirror_row(int32_t bits) {
  switch (bits) {
    case 1:
      return mirror_packed<1>;
    case 2:
      return mirror_packed<2>;
    case 4:
      return mirror_packed<4>;
    case 8:
      return mirror_pixels<1>;
    case 16:
      return mirror_pixels<2>;
    case 24:
      return mirror_pixels<3>;
    default:
      return mirror_pixels<4>;
  }
}

Transpose transpose(int32_t bits) {
  switch (bits) {
    case 1:
      return transpose_bits;
    case 2:
      return transpose_packed<2>;
    case 4:
      return transpose_packed<4>;
    case 8:
      return transpose_pixels<1>;
    case 16:
      return transpose_pixels<2>;
    case 24:
      return transpose_pixels<3>;
    default:
      return transpose_pixels<4>;
  }
}

}  // namespace tavo::process
