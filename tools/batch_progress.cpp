#include "batch_progress.h"

#include <algorithm>
#include <cstdio>

#include "system.h"

namespace tavo::tools {
namespace {

constexpr auto kRedrawTime = std::chrono::milliseconds(200);

}  // namespace

void BatchProgress::start(const Totals& before, uint64_t left) {
  is_terminal_ = stderr_is_terminal();
  before_ = before.files;
  all_ = before.files + left;
  begin_ = next_draw_ = Clock::now();
}

void BatchProgress::show(const Totals& now) {
  if (!is_terminal_ || Clock::now() < next_draw_) return;
  draw(now);
  next_draw_ = Clock::now() + kRedrawTime;
}

// Files that are done again were counted before, and are so once more.
void BatchProgress::draw(const Totals& now) {
  const uint64_t done = now.files;
  const std::chrono::duration<double> taken = Clock::now() - begin_;
  const double rate = static_cast<double>(done - std::min(done, before_)) / (taken.count() + 1e-3);
  const auto bad = static_cast<unsigned long long>(done - now.by_outcome[0]);
  const double left = rate > 0 ? static_cast<double>(all_ - std::min(all_, done)) / rate : 0;
  const auto seconds = static_cast<unsigned long long>(left);
  std::fprintf(stderr, "\r%llu of %llu files, %.1f a second, %llu bad, %llu:%02llu:%02llu left  ",
               static_cast<unsigned long long>(done), static_cast<unsigned long long>(all_), rate,
               bad, seconds / 3600, seconds / 60 % 60, seconds % 60);
  std::fflush(stderr);
  is_drawn_ = true;
}

void BatchProgress::wipe() {
  if (!is_drawn_) return;
  std::fprintf(stderr, "\r%79s\r", "");
  is_drawn_ = false;
}

void BatchProgress::finish(const Totals& now) {
  if (!is_terminal_) return;
  draw(now);
  std::fputc('\n', stderr);
  is_drawn_ = false;
}

}  // namespace tavo::tools
