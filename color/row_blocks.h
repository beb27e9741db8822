// Whole bitmaps a few rows at a time, wherever they are stored.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "core/bitmap.h"
#include "tavo45.h"

namespace tavo::color {

// Rows of a memory bitmap are used where they lie, those of other bitmaps go through a buffer of
// at most kBufferBytes (one row at least).
class RowBlocks {
 public:
  static constexpr uint32_t kBlockRows = 64;
  static constexpr uint32_t kBufferBytes = 256 * 1024;

  explicit RowBlocks(BitmapHandle& bitmap) : bitmap_(bitmap), accessed_(bitmap) {}
  Status start();

  // Rows that one step may have.
  uint32_t rows() const { return rows_; }
  // Bytes from row to row.
  size_t stride() const { return bitmap_.BytesPerLine; }

  // The pixels of `count` rows from stored row `y` on.
  Status read(uint32_t y, uint32_t count, const uint8_t*& rows);

  // Nobody needs the pixels above row `y` any more: what their memory holds is undefined.
  void drop_above(uint32_t y);

  // Where to put rows, and the step that stores them there, padding zeroed.
  uint8_t* place(uint32_t y);
  Status store(uint32_t y, uint32_t count);

 private:
  bool is_direct() const { return buffer_.size() == 0; }
  uint8_t* stored(uint32_t y) const {
    return static_cast<uint8_t*>(bitmap_.Data) + static_cast<size_t>(y) * stride();
  }

  BitmapHandle& bitmap_;
  core::AccessScope accessed_;
  Buffer buffer_;
  uint32_t rows_ = 0;
  size_t dropped_ = 0;  // bytes of the rows that nobody needs
};

}  // namespace tavo::color
