// The row sink that puts rows into a bitmap.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// Where the rows of one load go.
class StoreSink {
 public:
  explicit StoreSink(BitmapHandle& bitmap) : bitmap_(bitmap) {}

  // Puts `count` rows of bitmap.BytesPerLine bytes at the next places: one after the other, or,
  // when the bitmap is marked as interlaced, by the four passes of GIF (GIF89a, appendix E).
  // kOk, the failed put's status, or kBadData for rows beyond the last one.
  Status store(const void* rows, int32_t count);

  // Goes on behind the first `rows` rows, which another sink has stored.
  void resume(uint32_t rows);

  // For readers that are called with this object as their context.
  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context);

 private:
  void advance_interlaced();

  BitmapHandle& bitmap_;
  uint32_t row_ = 0;
  uint32_t pass_ = 0;
};

}  // namespace tavo::pipeline
