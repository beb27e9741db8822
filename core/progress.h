// Tells the status callback how far a long operation is.
#pragma once

#include <cstdint>

#include "base/settings.h"
#include "base/status.h"

namespace tavo::core {

// 0 from start(), rising percentages from at(), 100 from finish(). Each returns the callback's
// answer: anything but kOk stops the operation. Without a callback all are kOk.
class Progress {
 public:
  Status start() { return tell(0); }

  Status at(uint64_t done, uint64_t total) {
    if (settings.status_callback == nullptr || total == 0) return kOk;
    const auto percent = static_cast<int32_t>(done * 100 / total);
    return percent <= last_ || percent >= 100 ? kOk : tell(percent);
  }

  Status finish() { return tell(100); }

 private:
  Status tell(int32_t percent) {
    last_ = percent;
    if (settings.status_callback == nullptr) return kOk;
    return Status{settings.status_callback(percent)};
  }

  int32_t last_ = 0;
};

}  // namespace tavo::core
