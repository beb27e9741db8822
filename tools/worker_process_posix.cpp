#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "worker_process.h"

namespace tavo::tools {
namespace {

int argument_count = 0;
char** arguments = nullptr;

// What a terminal, a batch system or a scheduler sends to all processes of a job: this one decides
// what becomes of the work in hand.
constexpr int kGroupSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGTSTP};

// The same end under a number that dup2 to a standard stream does not meet.
int above_standard(int file) {
  const int moved = ::fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::close(file);
  return moved;
}

struct Pipe {
  int out = -1;
  int in = -1;

  bool open() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    out = above_standard(ends[0]);
    in = above_standard(ends[1]);
    return out >= 0 && in >= 0;
  }
  void close() const {
    const int reason = errno;
    if (out >= 0) ::close(out);
    if (in >= 0) ::close(in);
    errno = reason;
  }
};

bool write_all(int file, const void* bytes, size_t size) {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t done = ::write(file, at, size);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    at += done;
    size -= static_cast<size_t>(done);
  }
  return true;
}

size_t read_some(intptr_t file, void* bytes, size_t size) {
  for (;;) {
    const ssize_t done = ::read(static_cast<int>(file), bytes, size);
    if (done < 0 && errno == EINTR) continue;
    return done < 0 ? 0 : static_cast<size_t>(done);
  }
}

// In the child, where only what a handler may call is safe.
[[noreturn]] void become_worker(pid_t parent, int in, int out, char* const* command) {
  for (const int number : kGroupSignals) ::signal(number, SIG_IGN);
  ::signal(SIGPIPE, SIG_DFL);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const bool is_ready =
      ::getppid() == parent && ::dup2(in, STDIN_FILENO) >= 0 && ::dup2(out, STDOUT_FILENO) >= 0;
  if (is_ready) ::execv("/proc/self/exe", command);
  ::_exit(127);
}

std::string how_it_ended(int status) {
  if (!WIFSIGNALED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
  const char* const name = ::sigabbrev_np(WTERMSIG(status));
  return "signal " +
         (name != nullptr ? "SIG" + std::string(name) : std::to_string(WTERMSIG(status)));
}

}  // namespace

void remember_arguments(int argc, char** argv) {
  argument_count = argc;
  arguments = argv;
}

WorkerProcess::~WorkerProcess() {
  if (is_started()) wait();
}

bool WorkerProcess::start(const char* word) {
  std::vector<char*> command = {arguments[0], arguments[1], const_cast<char*>(word)};
  command.insert(command.end(), arguments + 2, arguments + argument_count);
  command.push_back(nullptr);
  Pipe jobs;
  Pipe answers;
  if (!jobs.open() || !answers.open()) {
    jobs.close();
    answers.close();
    return false;
  }
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child == 0) become_worker(parent, jobs.out, answers.in, command.data());
  if (child < 0) {
    jobs.close();
    answers.close();
    return false;
  }
  ::close(jobs.out);
  ::close(answers.in);
  process_ = child;
  id_ = static_cast<uint32_t>(child);
  to_ = jobs.in;
  from_ = answers.out;
  return true;
}

bool WorkerProcess::send(const void* bytes, size_t size) {
  return write_all(static_cast<int>(to_), bytes, size);
}

bool WorkerProcess::receive(void* bytes, size_t size) {
  return ahead_.take(bytes, size,
                     [this](void* to, size_t most) { return read_some(from_, to, most); });
}

void WorkerProcess::kill() { ::kill(static_cast<pid_t>(process_), SIGKILL); }

std::string WorkerProcess::wait() {
  ::close(static_cast<int>(to_));
  ::close(static_cast<int>(from_));
  ahead_.clear();
  int status = 0;
  while (::waitpid(static_cast<pid_t>(process_), &status, 0) < 0 && errno == EINTR) {
  }
  process_ = kNone;
  return how_it_ended(status);
}

ParentPipe::ParentPipe()
    : to_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)),
      from_(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)) {
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  ::dup2(nowhere, STDIN_FILENO);
  ::dup2(nowhere, STDOUT_FILENO);
  ::close(nowhere);
}

bool ParentPipe::send(const void* bytes, size_t size) {
  return write_all(static_cast<int>(to_), bytes, size);
}

bool ParentPipe::receive(void* bytes, size_t size) {
  return ahead_.take(bytes, size,
                     [this](void* to, size_t most) { return read_some(from_, to, most); });
}

bool ParentPipe::has_more() const {
  struct pollfd wanted = {static_cast<int>(from_), POLLIN, 0};
  return !ahead_.is_empty() || ::poll(&wanted, 1, 0) > 0;
}

}  // namespace tavo::tools
