// A child process of this very program, and the pipes to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavo::tools {

// What main was called with.
void remember_arguments(int argc, char** argv);

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
};

// The worker's ends of the pipes: what it was started with as standard input and output, which from
// then on are nothing's.
class ParentPipe {
 public:
  ParentPipe();
  bool send(const void* bytes, size_t size);
  bool receive(void* bytes, size_t size);

 private:
  intptr_t to_;
  intptr_t from_;
};

}  // namespace tavo::tools
