// What rotation, filters and adjustments have in common: the checks, and the rows of a bitmap.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "core/bitmap.h"
#include "tavo45.h"

namespace tavo::process {

// What must hold of the bitmap after the call's own arguments: depth and order, then storage.
Status check_bitmap(const BitmapHandle& bitmap);

// Whether rows may be changed where they lie: in memory, and nobody can stop the work half-way.
bool may_work_in_place(const BitmapHandle& bitmap);

// A record like `bitmap`, palette objects and all, with storage for its pixels.
Status allocate_like(BitmapHandle& made, const BitmapHandle& bitmap);

// The order in which rows are numbered: as they lie in the storage, or from the top of the picture.
enum class RowNumbers { kStored, kFromTop };

// Rows of a bitmap that are wanted together: all of a memory bitmap's, where they lie; as many of
// another's as a buffer holds.
class RowWindow {
 public:
  explicit RowWindow(BitmapHandle& bitmap, RowNumbers numbers = RowNumbers::kStored)
      : bitmap_(bitmap), numbers_(numbers), accessed_(bitmap) {}

  static constexpr uint64_t kBand = 32 * 1024 * 1024;
  static constexpr uint64_t kFewRows = 256 * 1024;

  // A buffer has at most `most_bytes`, but not less than `minimum` rows.
  Status start(uint32_t minimum = 1, uint64_t most_bytes = kBand);

  // How many rows read() may be asked for.
  uint32_t capacity() const { return capacity_; }
  // Makes `count` rows from `first` on available.
  Status read(uint32_t first, uint32_t count);
  // Makes room for rows from `first` on, which are to be written whole.
  void open(uint32_t first) {
    if (!is_direct()) first_ = first;
  }
  // A row that has been read or has room, and the way from it to the next one.
  uint8_t* row(uint32_t y) const { return top_ + stride_ * static_cast<ptrdiff_t>(y - first_); }
  ptrdiff_t stride() const { return stride_; }
  // Stores rows that have been written or changed; padding becomes zero.
  Status store(uint32_t first, uint32_t count);

  bool is_direct() const { return buffer_.size() == 0; }

 private:
  uint32_t stored(uint32_t y) const;

  BitmapHandle& bitmap_;
  RowNumbers numbers_;
  core::AccessScope accessed_;
  Buffer buffer_;
  uint8_t* top_ = nullptr;  // row first_
  ptrdiff_t stride_ = 0;
  uint32_t first_ = 0;
  uint32_t capacity_ = 0;
};

}  // namespace tavo::process
