// How commands fail: thrown anywhere below main, reported there as one line.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

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
// signal ended the call, else a Failure with the library's sentence.
void check(int32_t status, const std::string& file);

// "tavo: FILE: what is wrong (status -9)" on standard error: one line whatever the name holds.
void report(const Failure& failure);

}  // namespace tavo::tools
