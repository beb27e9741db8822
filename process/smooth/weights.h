// Filtered resampling in one direction: which samples a result takes, and how much of each.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo::process {

enum class SmoothFilter : uint32_t {
  kBox = 1,   // the mean of the area that a result covers
  kTriangle,  // 1 sample to either side
  kCubic,     // 2, Catmull-Rom
  kMitchell,  // 2, B = C = 1/3
  kLanczos,   // 3
};

// One direction of a picture.
struct SmoothSide {
  int32_t samples = 1;  // that there are
  int32_t results = 1;
  // What the kernels see: `samples` may be those of a picture that was decoded smaller, of which
  // `scale` times as many would have been `extent`.
  int32_t extent = 1;
  uint32_t scale = 1;
  bool is_mirrored = false;  // samples and results are counted from the picture's other end

  static SmoothSide of(int32_t from, int32_t to) { return {from, to, from, 1, false}; }
};

// The samples from `first` on that a result takes, as parts of kWhole, which their sum is.
struct SmoothWindow {
  uint32_t first = 0;
  std::span<const int16_t> parts;

  uint32_t end() const { return first + static_cast<uint32_t>(parts.size()); }
};

class SmoothWeights {
 public:
  static constexpr int32_t kWhole = 16384;

  // kNoMemory.
  Status start(SmoothFilter filter, const SmoothSide& side);

  // More parts than this has no window.
  uint32_t most_parts() const { return static_cast<uint32_t>(parts_.size()); }

  // Valid until the next call.
  SmoothWindow window(uint32_t result);

 private:
  int64_t weight(int64_t offset) const;
  void set_center(int64_t result);
  void add_part(int64_t sample, int32_t part);

  SmoothFilter filter_ = SmoothFilter::kBox;
  SmoothSide side_;
  int64_t results_ = 1;  // times the scale: the units of positions are 1 / (2 results extent)
  int64_t support_ = 1;  // the kernel's radius in twice those units
  int64_t base_ = 0;     // a sample near the result's centre, and
  int64_t rest_ = 0;     // how far behind its begin that centre is
  int64_t first_ = 0;    // of the window's samples, those outside left out
  Array<int16_t> parts_;
};

}  // namespace tavo::process
