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

  // After every step, be they more than there are percentages.
  Status after_step(uint64_t done, uint64_t total) {
    return tell(static_cast<int32_t>(done * 100 / total));
  }

  Status finish() { return tell(100); }

 private:
  Status tell(int32_t percent) {
    last_ = percent;
    if (settings.status_callback == nullptr) return kOk;
    ProgressState& state = settings.progress;
    const int32_t told = state.first + percent * (state.last - state.first) / 100;
    if (state.is_part && told <= state.told) return kOk;
    state.told = told;
    return Status{settings.status_callback(told)};
  }

  int32_t last_ = 0;
};

// While it lives, an operation that tells 0 to 100 is a part of a longer one and tells `first` to
// `last` percent of that, each number once. Parts of parts work alike. The first part of an
// operation starts at 0, the others follow it.
class ProgressPart {
 public:
  ProgressPart(int32_t first, int32_t last) : outer_(settings.progress) {
    const int32_t length = outer_.last - outer_.first;
    ProgressState& state = settings.progress;
    state.first = outer_.first + first * length / 100;
    state.last = outer_.first + last * length / 100;
    state.is_part = true;
    if (!outer_.is_part && first == 0) state.told = -1;
  }
  ~ProgressPart() {
    outer_.told = settings.progress.told;
    settings.progress = outer_;
  }
  ProgressPart(const ProgressPart&) = delete;
  ProgressPart& operator=(const ProgressPart&) = delete;

 private:
  ProgressState outer_;
};

// While it lives nothing is told.
class QuietProgress {
 public:
  QuietProgress() : outer_(settings.progress) {
    settings.progress.is_part = true;
    settings.progress.told = 100;
  }
  ~QuietProgress() { settings.progress = outer_; }
  QuietProgress(const QuietProgress&) = delete;
  QuietProgress& operator=(const QuietProgress&) = delete;

 private:
  ProgressState outer_;
};

}  // namespace tavo::core
