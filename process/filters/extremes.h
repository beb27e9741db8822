// Least and greatest values of rows and columns of pixels, and of bits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "process/filters/filter.h"

namespace tavo::process {

// What is taken of several bytes or bits. Of bits the least is their conjunction, the greatest
// their disjunction.
struct Extreme {
  bool is_greatest;
  bool is_bits;

  // What takes no part.
  uint8_t neutral() const { return is_greatest ? 0 : 0xFF; }
  // Of each two bytes, up to kRowSlack more are read and written; `out` may be one of the rows.
  void combine(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) const;
};

// Of the pixels around each in its row.
class RowExtremes {
 public:
  Status start(Extreme extreme, const WorkLayout& layout, uint32_t size);
  // `out` may be `row`.
  void apply(const uint8_t* row, uint8_t* out);

 private:
  void apply_bytes(const uint8_t* row, uint8_t* out);
  void apply_bits(const uint8_t* row, uint8_t* out);

  Extreme extreme_ = {};
  uint32_t size_ = 0;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  uint32_t width_ = 0;
  WorkRow bytes_;
  Array<uint64_t> words_;
};

// Of the pixels around each in its column, by blocks of as many rows as the window has: a window
// that is not a block is the end of one and the beginning of the next (M. van Herk, "A fast
// algorithm for local minimum and maximum filters on rectangular and octagonal kernels", Pattern
// Recognition Letters 13, 1992).
class ColumnExtremes final : public RowSource {
 public:
  Status start(RowSource& source, Extreme extreme, const WorkLayout& layout, uint32_t size);
  Status next(uint8_t* row) override;

 private:
  uint8_t* line(uint32_t i) { return block_.data() + i * stride_; }
  Status fetch(uint8_t* row);
  Status begin_block();

  RowSource* source_ = nullptr;
  Extreme extreme_ = {};
  uint32_t size_ = 0;
  size_t row_bytes_ = 0;
  uint32_t rows_above_ = 0;  // that lie above the picture and are still to come
  uint32_t rows_left_ = 0;   // of the picture
  bool has_begun_ = false;
  uint32_t at_ = 0;  // the row of the block whose window is next
  size_t stride_ = 0;
  Buffer block_;  // from `at_` on: the extremes of rows to the block's end; before: the next block
  Buffer begun_;  // the extremes of the next block's rows so far
};

}  // namespace tavo::process
