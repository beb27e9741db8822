// Nearest-neighbour resampling of a picture's rows.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "process/resize_packed.h"
#include "process/resize_rule.h"
#include "process/resize_steps.h"

namespace tavo::process {

// Takes rows one at a time, in place or from one buffer to another.
class Resizer {
 public:
  // Sizes in pixels and rows. kBadArgument for sizes below 1.
  Status start(int32_t old_width, int32_t old_height, int32_t new_width, int32_t new_height);

  // How often source row `number` appears in the result; 0: it is dropped.
  uint32_t row_count(uint32_t number) const { return down_.count(number); }

  // Resamples `row`, which has room for the larger of the two widths, at any depth of a bitmap.
  // Result positions that no source pixel reaches keep what the buffer held there: at the left end
  // of enlarged rows that is the source.
  void resize_row(uint8_t* row, int32_t bits);

  // The same from a row to another, which do not overlap; 8 bits and more. Positions that neither
  // a source pixel nor the source as it stood reaches become zero. The row that comes next lies
  // `ahead` behind this one.
  void resize_row(const uint8_t* from, uint8_t* to, int32_t bits, size_t ahead = 0);
  // The same piece by piece, by way of `scratch`, which has room for the result: small enough to be
  // read again from the nearest cache.
  void resize_row(const uint8_t* from, uint8_t* scratch, int32_t bits, ResizeSink sink);

  int32_t new_width() const { return across_.new_size; }

 private:
  void prepare(int32_t bits);
  void resize_pixels(const uint8_t* from, uint8_t* to, uint32_t pixel_bytes, size_t ahead);
  void fill_unreached(const uint8_t* from, uint8_t* to, size_t pixel_bytes) const;
  bool keeps_width() const { return across_.new_size == across_.old_size; }

  ResizeRule across_;
  ResizeRule down_;
  int32_t prepared_bits_ = 0;
  ResizeSteps steps_;    // for whole bytes
  PackedResize packed_;  // for less
};

}  // namespace tavo::process
