// Rows of bitmaps at another size, by filtered resampling.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/function_ref.h"
#include "base/status.h"
#include "color/convert.h"
#include "process/smooth/carried.h"
#include "process/smooth/means.h"
#include "process/smooth/resizer.h"
#include "tavo45.h"

namespace tavo::process {

// Makes `made` a record like `picture` for another size, widened, not yet allocated. kBadSize, or
// kNoMemory when a palette object cannot be duplicated.
Status describe_smooth(BitmapHandle& made, const BitmapHandle& picture, int32_t width,
                       int32_t height);

// What is to become of a picture.
struct SmoothPlan {
  SmoothFilter filter = SmoothFilter::kBox;
  int32_t width = 1;  // of the picture, whose rows may come as those of one that was decoded at
  int32_t height = 1;
  int32_t new_width = 1;
  int32_t new_height = 1;
  uint32_t scale = 1;  // half (2), a quarter or an eighth of its size
};

class SmoothRows {
 public:
  // Takes a row of the result, which has the bytes of a stored row.
  using Sink = FunctionRef<Status(const uint8_t* row)>;

  // `from` describes the rows, which come as stored; `to` is what describe_smooth() made of it.
  // kNoMemory.
  Status start(const SmoothPlan& plan, const BitmapHandle& from, const BitmapHandle& to);

  // The next row; hands on what it completes. The sink's answer.
  Status take(const uint8_t* row, Sink sink);

 private:
  Status start_planes(SmoothFilter filter, const SmoothSide& across, const SmoothSide& down);
  const uint8_t* widened(const uint8_t* row);
  void split(const uint8_t* row);
  uint8_t* join(uint8_t* planes, size_t stride);
  Status put(uint8_t* result, Sink sink);

  int32_t width_ = 0;  // of the rows that come
  int32_t bits_ = 0;
  int32_t wide_bits_ = 0;  // after widening
  int32_t new_width_ = 0;
  int32_t new_bits_ = 0;
  uint32_t new_line_ = 0;
  uint32_t planes_ = 0;
  SmoothMeans means_;  // alone, where it can
  SmoothResizer resizer_;
  color::RowConverter widen_;   // indices to levels or to 24 bits
  color::RowConverter narrow_;  // 24 bits to what the result has
  CarriedBits carried_;
  Buffer wide_;
  Buffer colors_;  // a row of the result with 24 bits
  Buffer out_;     // one of 16 or 32
};

}  // namespace tavo::process
