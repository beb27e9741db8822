// The line of a batch on a terminal.
#pragma once

#include <chrono>
#include <cstdint>

#include "journal_line.h"

namespace tavo::tools {

// Nothing is drawn where standard error is no terminal.
class BatchProgress {
 public:
  // `before`: what is done already; `left`: files to do.
  void start(const Totals& before, uint64_t left);
  // Now and then.
  void show(const Totals& now);
  void wipe();
  // The last line, which stays.
  void finish(const Totals& now);

 private:
  using Clock = std::chrono::steady_clock;
  void draw(const Totals& now);

  bool is_terminal_ = false;
  bool is_drawn_ = false;
  uint64_t before_ = 0;
  uint64_t all_ = 0;
  Clock::time_point begin_;
  Clock::time_point next_draw_;
};

}  // namespace tavo::tools
