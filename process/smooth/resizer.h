// Filtered resampling of a picture that comes row by row.
#pragma once

#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/function_ref.h"
#include "base/status.h"
#include "process/smooth/across.h"
#include "process/smooth/kernels.h"
#include "process/smooth/weights.h"

namespace tavo::process {

// Across first, then down: of each row, 16-bit results with 6 bits of fraction are kept while a
// result may need them or, where it takes many rows, added to the sums of the results they reach.
class SmoothResizer {
 public:
  // Takes a result row, `stride` bytes from plane to plane, and may change it.
  using Sink = FunctionRef<Status(uint8_t* planes, size_t stride)>;

  // kNoMemory.
  Status start(SmoothFilter filter, const SmoothSide& across, const SmoothSide& down,
               uint32_t planes);

  // Where the samples of the next row go.
  int16_t* plane(uint32_t number) { return samples_.data() + number * samples_stride_; }

  // The row is there: hands on what it completes, top row first as stored. The sink's answer.
  Status commit(Sink sink);

 private:
  static constexpr uint32_t kRing = 8;  // results, or rows, that are in use at the same time

  struct Sum {
    uint32_t first = 0;
    uint32_t end = 0;
    bool is_empty = true;
  };

  Status start_sums();
  const SmoothWindow& window(uint32_t result);
  void begin_sums(uint32_t end);
  void add_rows(uint32_t first);
  Status finish_sums(uint32_t end, Sink sink);
  Status blend(Sink sink);
  int16_t* row(uint32_t number) { return rows_.data() + number % row_count_ * row_samples(); }
  size_t row_samples() const { return across_.results() * planes_; }

  const SmoothKernels* kernels_ = nullptr;
  uint32_t samples_down_ = 0;
  uint32_t results_down_ = 0;
  uint32_t planes_ = 0;
  SmoothAcross across_;
  SmoothWeights weights_;
  SmoothWindow window_;  // of the last result that was asked for
  uint32_t window_of_ = UINT32_MAX;
  Array<int16_t> samples_;
  size_t samples_stride_ = 0;
  Array<int16_t> rows_;
  uint32_t row_count_ = 0;
  bool sums_up_ = false;
  uint32_t taken_ = 0;    // rows
  uint32_t begun_ = 0;    // results that have sums
  uint32_t emitted_ = 0;  // results
  std::array<Sum, kRing> sums_;
  Array<int16_t> sum_parts_;
  Array<int32_t> sum_samples_;
  Buffer out_;
};

}  // namespace tavo::process
