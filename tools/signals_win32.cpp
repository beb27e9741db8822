#include <windows.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <mutex>

#include "signals.h"
#include "wide_win32.h"

namespace tavo::tools {
namespace {

constexpr DWORD kGrace = 4000;  // milliseconds; the system itself waits for five

std::mutex slots_mutex;  // the console calls in a thread of its own
std::string slots[4];
std::atomic<bool> notes = false;
std::atomic<int> noted = 0;
std::atomic<int> count = 0;
std::atomic<int> most = 1;  // that are noted

// Ctrl-C and the like; closing the window, logging off and shutting down end the program when this
// returns, so they wait for the work to stop.
BOOL WINAPI on_console(DWORD event) {
  const bool can_wait = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  if (notes && count < most) {
    if (count++ == 0) noted = can_wait ? SIGINT : SIGTERM;
    if (can_wait) return TRUE;
    ::Sleep(kGrace);
  }
  remove_doomed_files();
  end_by_signal(SIGINT);
  return TRUE;
}

}  // namespace

void remove_doomed_files() {
  const std::lock_guard guard(slots_mutex);
  for (const std::string& path : slots)
    if (!path.empty()) ::DeleteFileW(wide_path(path).c_str());
}

void watch_signals() { ::SetConsoleCtrlHandler(on_console, TRUE); }

NotedSignals::NotedSignals(Which which) {
  notes = true;
  most = which == kEach ? INT_MAX : 1;
}
NotedSignals::~NotedSignals() { notes = false; }

int noted_signal() { return noted; }
int signals_noted() { return count; }

void ignore_broken_pipes() {}

WaitBreaker::WaitBreaker()
    : thread_(reinterpret_cast<uintptr_t>(
          ::OpenThread(THREAD_TERMINATE, FALSE, ::GetCurrentThreadId()))) {}
WaitBreaker::~WaitBreaker() { ::CloseHandle(reinterpret_cast<HANDLE>(thread_)); }

void WaitBreaker::fire() const { ::CancelSynchronousIo(reinterpret_cast<HANDLE>(thread_)); }

void end_by_signal(int) { ::ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT)); }

void DoomedFile::doom(const std::string& path) {
  spare();
  const std::lock_guard guard(slots_mutex);
  for (size_t i = 0; i < std::size(slots); ++i) {
    if (!slots[i].empty()) continue;
    slots[i] = path;
    slot_ = i;
    return;
  }
}

void DoomedFile::spare() {
  if (slot_ == kNone) return;
  const std::lock_guard guard(slots_mutex);
  slots[slot_].clear();
  slot_ = kNone;
}

}  // namespace tavo::tools
