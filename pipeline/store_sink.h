// The row sink that puts rows into a bitmap.
#pragma once

#include <optional>
#include <span>

#include "base/status.h"
#include "core/bitmap.h"
#include "process/interlace.h"
#include "process/row_receiver.h"
#include "tavo45.h"

namespace tavo::pipeline {

// Where the rows of one load go.
class StoreSink final : public process::RowReceiver {
 public:
  explicit StoreSink(BitmapHandle& bitmap) : RowReceiver(this), bitmap_(bitmap) {}

  // Puts `count` rows of bitmap.BytesPerLine bytes at the next places: one after the other, or,
  // when the bitmap is marked as interlaced, by the four passes of GIF (GIF89a, appendix E).
  // kOk, the failed put's status, or kBadData for rows beyond the last one.
  Status store(const void* rows, int32_t count);

  // Goes on behind the first `rows` rows, which another sink has stored.
  void resume(uint32_t rows);

  // The first row of the picture that has not come; the height when none is missing.
  uint32_t first_missing() const;

  // Zeroes the rows that have not come.
  void clear_missing();

  Status take(const BitmapHandle&, const void* rows, int32_t count) { return store(rows, count); }

  // The bitmap's own rows when it is in memory, has the source's layout, and its rows come one
  // after the other; it stays accessed then as long as this object lives.
  std::span<uint8_t> place(const BitmapHandle& source);

 private:
  void clear_missing_on_disk();
  bool is_interlaced() const { return core::has_flag(bitmap_, T_FLAG_INTERLACED); }

  BitmapHandle& bitmap_;
  std::optional<core::AccessScope> access_;
  uint32_t row_ = 0;                    // where the next row goes,
  process::InterlacedRows interlaced_;  // or, of an interlaced picture, this one's row
};

}  // namespace tavo::pipeline
