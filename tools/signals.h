// How signals, or what the console sends, end the program: nothing stays behind, and whoever
// started it learns what ended it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavo::tools {

// From here on. What is ignored stays ignored (nohup); a limit on the size of files makes a write
// fail instead of ending the program.
void watch_signals();

// While one of these lives the first signal is only noted: the work in hand looks for it, stops and
// cleans up. A second one, or any while none lives, ends the program at once; with kEach it is
// counted, too.
class NotedSignals {
 public:
  enum Which { kFirst, kEach };
  explicit NotedSignals(Which which = kFirst);
  ~NotedSignals();
  NotedSignals(const NotedSignals&) = delete;
  NotedSignals& operator=(const NotedSignals&) = delete;
};

// The signal that was noted, 0 for none.
int noted_signal();
// How many there were.
int signals_noted();

// A write to a pipe that nobody reads fails, instead of ending the program.
void ignore_broken_pipes();

// Has the thread that made it come back from a call of the system in which it waits, for a pipe
// say: the call fails. One that is not waiting notices nothing.
class WaitBreaker {
 public:
  WaitBreaker();
  ~WaitBreaker();
  WaitBreaker(const WaitBreaker&) = delete;
  WaitBreaker& operator=(const WaitBreaker&) = delete;

  void fire() const;

 private:
  uintptr_t thread_;
};

// Ends as the signal would have ended the program, for the shell's sake.
void end_by_signal(int signal);

// Those that are doomed, for whoever is about to end the program at once.
void remove_doomed_files();

// A file that is removed should the program be ended at once; a few at a time.
class DoomedFile {
 public:
  DoomedFile() = default;
  ~DoomedFile() { spare(); }
  DoomedFile(const DoomedFile&) = delete;
  DoomedFile& operator=(const DoomedFile&) = delete;

  void doom(const std::string& path);
  void spare();

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);
  size_t slot_ = kNone;
};

}  // namespace tavo::tools
