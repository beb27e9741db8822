#include <limits.h>
#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstring>

#include "signals.h"

namespace tavo::tools {
namespace {

// What a shell, a terminal, a batch system or the end of a pipe sends.
constexpr int kSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGPIPE,  SIGUSR1,
                            SIGUSR2, SIGALRM, SIGXCPU, SIGPROF, SIGVTALRM};

// Only what a handler may touch.
struct Slot {
  volatile std::sig_atomic_t is_doomed;
  char path[PATH_MAX];
};
Slot slots[4];
volatile std::sig_atomic_t notes = 0;
volatile std::sig_atomic_t noted = 0;
volatile std::sig_atomic_t count = 0;
volatile std::sig_atomic_t most = 1;  // that are noted

}  // namespace

void remove_doomed_files() {
  for (const Slot& slot : slots)
    if (slot.is_doomed != 0) ::unlink(slot.path);
}

namespace {

extern "C" void on_signal(int number) {
  if (notes != 0 && count < most) {
    if (count == 0) noted = number;
    count = count + 1;
    return;
  }
  remove_doomed_files();
  ::signal(number, SIG_DFL);
  ::raise(number);  // is delivered when this returns
}

}  // namespace

void watch_signals() {
  struct sigaction action {};
  action.sa_handler = on_signal;
  action.sa_flags = SA_RESTART;
  for (const int number : kSignals) {
    struct sigaction before {};
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      ::sigaction(number, &action, nullptr);
  }
  ::signal(SIGXFSZ, SIG_IGN);
}

NotedSignals::NotedSignals(Which which) {
  notes = 1;
  most = which == kEach ? SIG_ATOMIC_MAX : 1;
}
NotedSignals::~NotedSignals() { notes = 0; }

int noted_signal() { return noted; }
int signals_noted() { return count; }

void ignore_broken_pipes() { ::signal(SIGPIPE, SIG_IGN); }

// SIGURG, which nobody misses; calls are not gone on with when its handler returns.
WaitBreaker::WaitBreaker() : thread_(static_cast<uintptr_t>(::pthread_self())) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGURG, &action, nullptr);
}
WaitBreaker::~WaitBreaker() { ::signal(SIGURG, SIG_DFL); }

void WaitBreaker::fire() const { ::pthread_kill(static_cast<pthread_t>(thread_), SIGURG); }

void end_by_signal(int signal) {
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void DoomedFile::doom(const std::string& path) {
  spare();
  if (path.size() >= sizeof Slot::path) return;
  for (size_t i = 0; i < sizeof slots / sizeof *slots; ++i) {
    if (slots[i].is_doomed != 0) continue;
    std::memcpy(slots[i].path, path.c_str(), path.size() + 1);
    slots[i].is_doomed = 1;
    slot_ = i;
    return;
  }
}

void DoomedFile::spare() {
  if (slot_ != kNone) slots[slot_].is_doomed = 0;
  slot_ = kNone;
}

}  // namespace tavo::tools
