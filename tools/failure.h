// How commands fail: thrown anywhere below main, reported there as one line.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitPartial = 3;  // what could be read of a damaged picture

// Something is wrong with a file.
struct Failure {
  std::string file;
  std::string what;
  int32_t status = 0;  // the library's, or the one of its statuses that fits
};

// A wrong option value that only shows once the format table has been asked.
struct UsageError {
  std::string what;
};

// The user pressed Ctrl-C, or the process was told to end.
struct Interrupted {
  int signal = 0;
};

// Throws Interrupted when a signal was noted.
void check_signals();

// Throws what a library call's status means for `file`: nothing for T_OK, Interrupted when a
// signal ended the call, else a Failure with the library's sentence, or with the system's reason
// when there was no room for what the call wrote.
void check(int32_t status, const std::string& file);

// The last call could not make or fill a file in the folder for temporary files.
[[noreturn]] void throw_folder_failure(const std::string& folder);

// Without control characters, which would break the line or drive the terminal.
std::string one_line(std::string text);

// "tavo: FILE: text" on standard error: one line whatever the name holds.
void tell(const std::string& file, const std::string& text);

// "tavo: FILE: what is wrong (status -9)" on standard error: one line whatever the name holds.
void report(const Failure& failure);

}  // namespace tavo::tools
