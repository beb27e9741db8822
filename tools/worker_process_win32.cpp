#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <mutex>
#include <string_view>

#include "wide_win32.h"
#include "worker_process.h"

namespace tavo::tools {
namespace {

constexpr DWORD kMaxPath = 32768;

intptr_t from_handle(HANDLE handle) { return reinterpret_cast<intptr_t>(handle); }
HANDLE to_handle(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

void close_handle(intptr_t handle) { ::CloseHandle(to_handle(handle)); }

bool write_all(intptr_t file, const void* bytes, size_t size) {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    DWORD done = 0;
    if (::WriteFile(to_handle(file), at, static_cast<DWORD>(size), &done, nullptr) == 0)
      return false;
    at += done;
    size -= done;
  }
  return true;
}

size_t read_some(intptr_t file, void* bytes, size_t size) {
  DWORD done = 0;
  const auto most = static_cast<DWORD>(size);
  return ::ReadFile(to_handle(file), bytes, most, &done, nullptr) != 0 ? done : 0;
}

// A pipe of which the child inherits one end. It has room for a job that is sent ahead.
bool make_pipe(HANDLE& out, HANDLE& in, bool child_reads) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  if (::CreatePipe(&out, &in, &inherited, 2 * kMostAhead) == 0) return false;
  return ::SetHandleInformation(child_reads ? in : out, HANDLE_FLAG_INHERIT, 0) != 0;
}

// The command line with `word` behind the program and its command.
std::wstring command_with(const char* word) {
  const std::wstring_view line = ::GetCommandLineW();
  size_t at = line.starts_with(L'"') ? line.find(L'"', 1) + 1 : line.find(L' ');
  at = line.find_first_not_of(L' ', at);
  at = line.find(L' ', at);
  const size_t end = at == line.npos ? line.size() : at;
  return std::wstring(line.substr(0, end)) + L" " + widen(word) + std::wstring(line.substr(end));
}

// Ends the workers when this process ends, however it does.
HANDLE job_of_workers() {
  static const HANDLE job = [] {
    const HANDLE made = ::CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job;
}

}  // namespace

void remember_arguments(int, char**) {}  // the system does

WorkerProcess::~WorkerProcess() {
  if (is_started()) wait();
}

bool WorkerProcess::start(const char* word) {
  // Another worker that starts in between would inherit these ends, and keep the pipes open.
  static std::mutex one_at_a_time;
  const std::lock_guard guard(one_at_a_time);
  HANDLE jobs_out, jobs_in, answers_out, answers_in;
  if (!make_pipe(jobs_out, jobs_in, true) || !make_pipe(answers_out, answers_in, false))
    return false;
  std::wstring program(kMaxPath, L'\0');
  program.resize(::GetModuleFileNameW(nullptr, program.data(), kMaxPath));
  std::wstring command = command_with(word);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = jobs_out;
  startup.hStdOutput = answers_in;
  startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION made{};
  // A group of its own hears no Ctrl-C.
  const bool is_made =
      ::CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE,
                       CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup, &made) != 0;
  ::CloseHandle(jobs_out);
  ::CloseHandle(answers_in);
  if (!is_made) {
    ::CloseHandle(jobs_in);
    ::CloseHandle(answers_out);
    return false;
  }
  ::AssignProcessToJobObject(job_of_workers(), made.hProcess);
  ::CloseHandle(made.hThread);
  process_ = from_handle(made.hProcess);
  id_ = made.dwProcessId;
  to_ = from_handle(jobs_in);
  from_ = from_handle(answers_out);
  return true;
}

bool WorkerProcess::send(const void* bytes, size_t size) { return write_all(to_, bytes, size); }

bool WorkerProcess::receive(void* bytes, size_t size) {
  return ahead_.take(bytes, size,
                     [this](void* to, size_t most) { return read_some(from_, to, most); });
}

void WorkerProcess::kill() { ::TerminateProcess(to_handle(process_), 1); }

std::string WorkerProcess::wait() {
  close_handle(to_);
  close_handle(from_);
  ahead_.clear();
  ::WaitForSingleObject(to_handle(process_), INFINITE);
  DWORD status = 0;
  ::GetExitCodeProcess(to_handle(process_), &status);
  close_handle(process_);
  process_ = kNone;
  char digits[16];
  ::wsprintfA(digits, "0x%08X", status);
  return std::string("exit status ") + digits;
}

ParentPipe::ParentPipe()
    : to_(from_handle(::GetStdHandle(STD_OUTPUT_HANDLE))),
      from_(from_handle(::GetStdHandle(STD_INPUT_HANDLE))) {}

bool ParentPipe::send(const void* bytes, size_t size) { return write_all(to_, bytes, size); }

bool ParentPipe::receive(void* bytes, size_t size) {
  return ahead_.take(bytes, size,
                     [this](void* to, size_t most) { return read_some(from_, to, most); });
}

bool ParentPipe::has_more() const {
  DWORD there = 0;
  return !ahead_.is_empty() ||
         ::PeekNamedPipe(to_handle(from_), nullptr, 0, nullptr, &there, nullptr) == 0 || there > 0;
}

}  // namespace tavo::tools
