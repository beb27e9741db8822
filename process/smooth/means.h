// Pictures at a half, a quarter or an eighth of their size, each pixel the mean of a square of
// pixels.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/smooth/means_kernels.h"
#include "process/smooth/weights.h"

namespace tavo::process {

// The same as SmoothFilter::kBox gives: there, the parts of such squares are powers of two, so that
// nothing is rounded before the last sum. Two rows become one of half the width, as often as it
// takes.
class SmoothMeans {
 public:
  // Whether these sides are such a case, and the processor one that gains.
  bool fits(SmoothFilter filter, const SmoothSide& across, const SmoothSide& down);

  // After fits() was true, for pixels of 1, 3 or 4 bytes. kNoMemory.
  Status start(uint32_t width, uint32_t pixel_bytes);
  bool is_started() const { return halvings_ != 0; }

  // The next row; the result's row that it completes, or null.
  uint8_t* take(const uint8_t* row);

 private:
  static constexpr uint32_t kMostHalvings = 3;

  void add_bytes(const uint8_t* row, uint8_t* to);

  const MeanKernels* kernels_ = nullptr;  // those of 1, 3 and 4 bytes, then those in use
  uint32_t fitting_ = 0;
  uint32_t halvings_ = 0;
  uint32_t taken_ = 0;
  size_t bytes_ = 0;                                       // of a row
  Buffer first_;                                           // the first row of two
  std::array<std::array<Buffer, 2>, kMostHalvings> sums_;  // two rows after each halving
  Buffer out_;
};

}  // namespace tavo::process
