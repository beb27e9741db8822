#include "process/rotate/turn_rows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

#include "base/endian.h"
#include "base/variants.h"
#include "base/vector_sse2.h"
#include "color/index_rows.h"

namespace tavo::process {

namespace {

template <size_t kBytes>
struct Pixel {
  uint8_t bytes[kBytes];
};

// Rows are read upwards: so reading goes on into the next row, which is fetched ahead.
void mirror_bytes(const uint8_t* row, uint8_t* out, size_t width) {
  size_t left = width;
  for (; left >= 8; left -= 8, row += 8) {
    store_native(out + left - 8, __builtin_bswap64(load_native<uint64_t>(row)));
  }
  while (left > 0) out[--left] = *row++;
}

void mirror_triples(const uint8_t* row, uint8_t* out, size_t width) {
  return Variants<MirrorRow>{.any = mirror_triples_plain, .ssse3 = mirror_triples_ssse3}.best()(
      row, out, width);
}

// Pixels of 16 bits, and some of 32, as many as a word of 64 holds.
template <class Word>
void mirror_words(const uint8_t* row, uint8_t* out, size_t width) {
  constexpr size_t kPixels = 8 / sizeof(Word);
  size_t left = width;
  for (; left >= kPixels; left -= kPixels, row += 8) {
    uint64_t word = std::rotl(load_native<uint64_t>(row), 32);
    if constexpr (kPixels == 4) {
      word = (word & 0x0000FFFF0000FFFF) << 16 | (word >> 16 & 0x0000FFFF0000FFFF);
    }
    store_native(out + (left - kPixels) * sizeof(Word), word);
  }
  for (; left > 0; --left, row += sizeof(Word)) {
    store_native(out + (left - 1) * sizeof(Word), load_native<Word>(row));
  }
}

void mirror_longs(const uint8_t* row, uint8_t* out, size_t width) {
  size_t left = width;
  for (; left >= 4; left -= 4, row += 16) {
    sse2::store(out + (left - 4) * 4, sse2::reverse32(sse2::load(row)));
  }
  mirror_words<uint32_t>(row, out, left);
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

// Pixels of a tile's side. Tiles are turned beside the pictures: rows of a picture that are some
// power of two apart compete for the same few lines of a cache.
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

using sse2::V;

// A tile of bytes, sixteen rows and columns at a time. Interleaving the first half of the rows with
// the second moves row r to 2 r mod 15, and a quarter of each column with it: after four steps rows
// are columns.
void turn_tile(const uint8_t (&in)[kTile][kTile], uint8_t (&out)[kTile][kTile]) {
  for (size_t y = 0; y < kTile; y += 16) {
    for (size_t x = 0; x < kTile; x += 16) {
      V rows[16], next[16];
      for (size_t i = 0; i < 16; ++i) rows[i] = sse2::load(&in[y + i][x]);
      for (int step = 0; step < 4; ++step) {
        for (size_t i = 0; i < 8; ++i) {
          next[2 * i] = sse2::unpack_low8(rows[i], rows[i + 8]);
          next[2 * i + 1] = sse2::unpack_high8(rows[i], rows[i + 8]);
        }
        std::memcpy(rows, next, sizeof rows);
      }
      for (size_t i = 0; i < 16; ++i) sse2::store(&out[x + i][y], rows[i]);
    }
  }
}

// Of 32-bit pixels, four rows and columns at a time.
void turn_tile(const Pixel<4> (&in)[kTile][kTile], Pixel<4> (&out)[kTile][kTile]) {
  using namespace sse2;
  for (size_t y = 0; y < kTile; y += 4) {
    for (size_t x = 0; x < kTile; x += 4) {
      const V r0 = load(&in[y][x]), r1 = load(&in[y + 1][x]);
      const V r2 = load(&in[y + 2][x]), r3 = load(&in[y + 3][x]);
      const V low01 = unpack_low32(r0, r1), high01 = unpack_high32(r0, r1);
      const V low23 = unpack_low32(r2, r3), high23 = unpack_high32(r2, r3);
      store(&out[x][y], unpack_low64(low01, low23));
      store(&out[x + 1][y], unpack_high64(low01, low23));
      store(&out[x + 2][y], unpack_low64(high01, high23));
      store(&out[x + 3][y], unpack_high64(high01, high23));
    }
  }
}

template <size_t kBytes>
void turn_tile(const Pixel<kBytes> (&in)[kTile][kTile], Pixel<kBytes> (&out)[kTile][kTile]) {
  for (size_t x = 0; x < kTile; ++x) {
    for (size_t y = 0; y < kTile; ++y) out[x][y] = in[y][x];
  }
}

template <class Element>
void transpose_pixels(RowsIn in, RowsOut out, size_t width, size_t height) {
  for_each_tile(width, height, [=](size_t x, size_t y, size_t columns, size_t rows) {
    Element from[kTile][kTile];
    Element to[kTile][kTile];
    for (size_t j = 0; j < rows; ++j) {
      std::memcpy(from[j], row_at(in, y + j) + x * sizeof(Element), columns * sizeof(Element));
    }
    turn_tile(from, to);
    for (size_t i = 0; i < columns; ++i) {
      std::memcpy(row_at(out, x + i) + y * sizeof(Element), to[i], rows * sizeof(Element));
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

// Tiles of 64 rows of 64 bytes are turned as bytes, which brings each column of eight pixels
// together. The signs of sixteen bytes are then the pixels of a column; the first row's is wanted
// in the highest bit, so that rows change places by eights.
void transpose_bits(RowsIn in, RowsOut out, size_t width, size_t height) {
  const size_t bytes = (width + 7) / 8;
  for_each_tile(bytes, height, [=](size_t x, size_t y, size_t columns, size_t rows) {
    uint8_t from[kTile][kTile];
    uint8_t to[kTile][kTile];
    for (size_t j = 0; j < rows; ++j) std::memcpy(from[j ^ 7], row_at(in, y + j) + x, columns);
    turn_tile(from, to);
    const size_t out_bytes = (rows + 7) / 8;
    for (size_t i = 0; i < columns; ++i) {
      V parts[4];
      for (size_t k = 0; k < 4; ++k) parts[k] = sse2::load(&to[i][16 * k]);
      const size_t column = 8 * (x + i);
      for (size_t bit = 0; bit < std::min<size_t>(8, width - column); ++bit) {
        uint8_t line[kTile / 8];
        for (size_t k = 0; k < 4; ++k) {
          store_le16(line + 2 * k, static_cast<uint16_t>(sse2::top_bits8(parts[k])));
          parts[k] = sse2::add8(parts[k], parts[k]);
        }
        uint8_t* const at = row_at(out, column + bit) + y / 8;
        if (out_bytes == sizeof line) {
          std::memcpy(at, line, sizeof line);
        } else {
          std::memcpy(at, line, out_bytes);
        }
      }
    }
  });
}

}  // namespace

// A store takes along a byte that the next one puts right.
void mirror_triples_plain(const uint8_t* row, uint8_t* out, size_t width) {
  if (width == 0) return;
  const uint8_t* last = row + 3 * (width - 1);
  if (width > 1) {
    const uint32_t pixel = load_le32(last - 1) >> 8;
    store_le32(out, pixel);
    for (last -= 3, out += 3; last != row; last -= 3, out += 3) store_le32(out, load_le32(last));
  }
  std::memcpy(out, last, 3);
}

MirrorRow mirror_row(int32_t bits) {
  switch (bits) {
    case 1:
      return mirror_packed<1>;
    case 2:
      return mirror_packed<2>;
    case 4:
      return mirror_packed<4>;
    case 8:
      return mirror_bytes;
    case 16:
      return mirror_words<uint16_t>;
    case 24:
      return mirror_triples;
    default:
      return mirror_longs;
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
      return transpose_pixels<uint8_t>;
    case 16:
      return transpose_pixels<Pixel<2>>;
    case 24:
      return transpose_pixels<Pixel<3>>;
    default:
      return transpose_pixels<Pixel<4>>;
  }
}

}  // namespace tavo::process
