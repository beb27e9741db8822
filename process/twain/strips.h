// A picture that a source sends in pieces.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "process/twain/picture.h"
#include "process/twain/records.h"
#include "tavo45.h"

namespace tavo::twain {

// How the source says its pixels are to be read.
struct PixelRules {
  bool zero_is_white = false;         // black and white, grey
  bool low_bit_first = false;         // black and white
  const Palette8* palette = nullptr;  // of palette pictures, which need one
};

// Makes a bitmap of the strips: 1 bit with black at index 0, 8 bits (grey levels or palette) or 24
// bits, from the top down. What a strip says of itself is checked; kBadData when it cannot be.
class Strips {
 public:
  // Gives `bitmap` storage, which its owner frees whatever comes.
  Status start(const Picture& picture, const PixelRules& rules, BitmapHandle& bitmap);

  // The bytes that a row of the source takes at least.
  uint64_t row_bytes() const { return row_bytes_; }

  // Takes a strip out of `buffer`, all that the source had to write to.
  Status add(const MemoryTransfer& strip, std::span<uint8_t> buffer);

  // After the last one: the bitmap has the rows that came. kBadData when there is none, and for
  // holes between them.
  Status finish();

 private:
  struct Piece {
    uint32_t x, y;
    uint32_t columns, rows;
    size_t row_bytes;
    uint8_t* pixels;
  };

  Status choose_layout(const PixelRules& rules);
  void make_gray_table(bool zero_is_white);
  Status read_palette(const PixelRules& rules);
  Status allocate(BitmapHandle& bitmap, uint32_t rows) const;
  Status resize(uint32_t rows);
  Status measure(const MemoryTransfer& strip, std::span<uint8_t> buffer, Piece& piece);
  uint32_t first_row(const MemoryTransfer& strip, const Piece& piece);
  Status make_room(Piece& piece);
  Status nothing_new();
  Status put(const Piece& piece);
  Status put_part(const Piece& piece, uint32_t y);
  Status put_plane(const Piece& piece);
  Status convert(uint8_t* from, uint32_t columns);

  Picture picture_;
  BitmapHandle* bitmap_ = nullptr;
  int32_t bits_ = 0;     // of the bitmap
  int32_t in_bits_ = 0;  // of the source's pixels, once 16-bit samples have been shortened
  uint32_t sample_bytes_ = 1;
  bool is_planar_ = false;
  bool low_bit_first_ = false;
  uint64_t row_bytes_ = 0;
  std::array<uint8_t, 256> table_ = {};  // what becomes of an index or a grey level
  std::array<T_PaletteEntry, 256> palette_ = {};
  uint32_t colors_ = 0;
  color::RowConverter converter_;
  Buffer line_;          // a row of the bitmap
  Buffer part_;          // pixels of a piece, as the bitmap has them
  uint32_t next_ = 0;    // row of the picture that a strip without a place begins with
  uint32_t came_ = 0;    // rows down to the lowest one that came
  uint32_t idle_ = 0;    // strips in sequence that brought nothing
  uint64_t pixels_ = 0;  // that came, some perhaps twice
  bool tells_places_ = false;
};

}  // namespace tavo::twain
