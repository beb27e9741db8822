// The rows of a bitmap on their way to a writer.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "core/progress.h"
#include "core/rows.h"
#include "tavo45.h"

namespace tavo::process {

// Gives rows in the writer's depth and colour order. A bitmap of another depth (the save pipeline
// converts beforehand, direct saves do not) goes through the row conversion: nearest colours of
// `palette`, the one that the file gets, without dithering. Reports progress row by row.
class RowFetch {
 public:
  // The bitmap must be accessed. `palette`: null for the bitmap's own.
  RowFetch(BitmapHandle& bitmap, int32_t depth, uint32_t order,
           const T_PaletteEntry* palette = nullptr)
      : bitmap_(bitmap), depth_(depth), order_(order), palette_(palette) {}
  RowFetch(const RowFetch&) = delete;
  RowFetch& operator=(const RowFetch&) = delete;

  // kNoStorage, kNoMemory, kBadSize, or the status callback's answer.
  Status start();

  // Stored row number `index`: `row` gets its pixels, padded with zeros (unused bits included) to
  // row_bytes(), with kSlack more bytes that may be read and written. The caller may change it;
  // it is good until the next call.
  Status stored(uint32_t index, std::span<uint8_t>& row);

  // The picture's row `y`, 0 being the top one.
  Status picture(uint32_t y, std::span<uint8_t>& row) {
    return stored(core::stored_row(bitmap_, y), row);
  }

  // Stored rows `first` to `first + count - 1` where they lie, when they need no conversion and no
  // padding changes: then their stride is row_bytes(). Empty otherwise.
  std::span<const uint8_t> in_place(uint32_t first, uint32_t count);

  // Counts `count` rows that were taken in place as fetched.
  Status skip(uint32_t count) {
    fetched_ += count;
    return progress_.at(fetched_, static_cast<uint32_t>(bitmap_.Height));
  }

  // Bytes of a row in the wanted depth, rounded up to a multiple of 4.
  uint32_t row_bytes() const { return row_bytes_; }

  // Tells that all rows have been fetched.
  Status finish() { return progress_.finish(); }

  static constexpr uint32_t kSlack = 64;

 private:
  BitmapHandle& bitmap_;
  int32_t depth_;
  uint32_t order_;
  const T_PaletteEntry* palette_;
  uint32_t row_bytes_ = 0;
  bool converts_ = false;
  uint32_t fetched_ = 0;
  color::RowConverter convert_;
  Buffer row_;
  core::Progress progress_;
};

}  // namespace tavo::process
