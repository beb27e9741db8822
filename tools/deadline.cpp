#include "deadline.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <thread>

#include "failure.h"
#include "signals.h"

namespace tavo::tools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kGrace = std::chrono::seconds(1);
constexpr auto kPause = std::chrono::milliseconds(20);

// The status callback, which looks at it, has no context.
struct Watch {
  uint32_t seconds = 0;
  Clock::time_point begin;
  std::string file;
  std::optional<WaitBreaker> breaker;
  std::thread thread;
  std::mutex mutex;
  std::condition_variable done;
  bool is_done = false;

  bool is_past() const {
    return seconds != 0 && Clock::now() >= begin + std::chrono::seconds(seconds);
  }
};
Watch watch;

Failure deadline_failure(const std::string& file) {
  const auto taken = std::chrono::ceil<std::chrono::seconds>(Clock::now() - watch.begin).count();
  return failure_of_seconds(file, static_cast<uint64_t>(taken), watch.seconds);
}

void wait_for_end() {
  const auto is_done = [] { return watch.is_done; };
  std::unique_lock lock(watch.mutex);
  const auto end = watch.begin + std::chrono::seconds(watch.seconds);
  if (watch.done.wait_until(lock, end, is_done)) return;
  while (Clock::now() < end + kGrace) {
    watch.breaker->fire();
    if (watch.done.wait_for(lock, kPause, is_done)) return;
  }
  report(deadline_failure(watch.file));
  remove_doomed_files();
  std::_Exit(kExitFailure);
}

}  // namespace

Deadline::Deadline(uint32_t seconds, const std::string& file) {
  watch.seconds = seconds;
  if (seconds == 0) return;
  watch.begin = Clock::now();
  watch.file = file;
  watch.is_done = false;
  watch.breaker.emplace();
  watch.thread = std::thread(wait_for_end);
}

Deadline::~Deadline() {
  if (watch.seconds == 0) return;
  watch.seconds = 0;
  {
    const std::lock_guard lock(watch.mutex);
    watch.is_done = true;
  }
  watch.done.notify_one();
  watch.thread.join();
  watch.breaker.reset();
}

bool deadline_is_past() { return watch.is_past(); }

void check_deadline(const std::string& file) {
  if (watch.is_past()) throw deadline_failure(file);
}

}  // namespace tavo::tools
