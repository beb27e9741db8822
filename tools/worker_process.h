// A child process of this very program, and the pipes to it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace tavo::tools {

// What main was called with.
void remember_arguments(int argc, char** argv);

// Bytes that may be sent to a worker that is not waiting for them: even the smallest pipe that a
// system gives, of one page, holds as many.
inline constexpr size_t kMostAhead = 4000;

// What has come from a pipe and is not yet asked for: several things said are one call of the
// system.
class ReadAhead {
 public:
  bool is_empty() const { return at_ == end_; }
  void clear() { at_ = end_ = 0; }

  // All of `size` bytes, or false. `read_some` gives what is there, at least a byte, or 0.
  template <class ReadSome>
  bool take(void* bytes, size_t size, ReadSome read_some) {
    for (char* to = static_cast<char*>(bytes); size > 0;) {
      if (is_empty()) {
        at_ = 0;
        end_ = read_some(block_, sizeof block_);
        if (end_ == 0) return false;
      }
      const size_t part = std::min(size, end_ - at_);
      std::memcpy(to, block_ + at_, part);
      at_ += part;
      to += part;
      size -= part;
    }
    return true;
  }

 private:
  char block_[1 << 12];
  size_t at_ = 0;
  size_t end_ = 0;
};

class WorkerProcess {
 public:
  WorkerProcess() = default;
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // Runs the program with `word` in front of what it was called with. The child has nothing of this
  // process but its own pipes, is spared signals to the whole group, and is ended by the system
  // when this process, or the thread that calls, ends. False when the system refuses.
  bool start(const char* word);
  bool is_started() const { return process_ != kNone; }
  uint32_t id() const { return id_; }

  // All of it, or false: it is gone.
  bool send(const void* bytes, size_t size);
  bool receive(void* bytes, size_t size);

  // Ends it at once; it is still to be waited for.
  void kill();
  // Closes its pipes, waits for its end, and says how it came: "signal SIGSEGV".
  std::string wait();

 private:
  static constexpr intptr_t kNone = -1;
  intptr_t process_ = kNone;
  intptr_t to_ = kNone;
  intptr_t from_ = kNone;
  uint32_t id_ = 0;
  ReadAhead ahead_;
};

// The worker's ends of the pipes: what it was started with as standard input and output, which from
// then on are nothing's.
class ParentPipe {
 public:
  ParentPipe();
  bool send(const void* bytes, size_t size);
  bool receive(void* bytes, size_t size);
  // Whether there is something to receive, be it the end, without waiting.
  bool has_more() const;

 private:
  intptr_t to_;
  intptr_t from_;
  ReadAhead ahead_;
};

}  // namespace tavo::tools
