// Filtered resampling of single rows.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/smooth/kernels.h"
#include "process/smooth/weights.h"

namespace tavo::process {

class SmoothAcross {
 public:
  // kNoMemory.
  Status start(SmoothFilter filter, const SmoothSide& side, const SmoothKernels& kernels);

  // From plane to plane of the result, in samples.
  size_t results() const { return results_; }

  // `from` has kSmoothSlack samples behind its last plane.
  void run(const int16_t* from, size_t from_stride, uint32_t planes, int16_t* to) const;

 private:
  Status start_windows(SmoothWeights& weights, uint32_t results, uint32_t& most);
  Status make_taps(SmoothWeights& weights, uint32_t results);
  Status make_pairs(SmoothWeights& weights, uint32_t results);
  bool fits_pairs(uint32_t most) const;

  const SmoothKernels* kernels_ = nullptr;
  size_t results_ = 0;  // rounded up to blocks
  bool has_pairs_ = false;
  uint32_t steps_ = 0;  // or pairs
  Array<uint32_t> first_;
  Array<int16_t> parts_;
  Array<uint8_t> shuffles_;
};

}  // namespace tavo::process
