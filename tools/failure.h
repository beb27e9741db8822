// How commands fail: thrown anywhere below main, reported there as one line.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitPartial = 3;       // what could be read of a damaged picture
inline constexpr int kExitEnvironment = 3;   // batch: the system refused what every file needs
inline constexpr int kExitInterrupted = 75;  // batch: to be gone on with

enum class Cause {
  kOther,
  kNoPicture,   // the file is in none of the formats, nor a damaged one of them
  kLimit,       // a limit was passed
  kNotAllowed,  // formats are switched off, and the file is in none of the others
};

// Something is wrong with a file.
struct Failure {
  std::string file;
  std::string what;
  int32_t status = 0;  // the library's, or the one of its statuses that fits
  Cause cause = Cause::kOther;
  std::string limit{};  // what was limited, with how much was asked and allowed
  uint64_t asked = 0;
  uint64_t allowed = 0;
  int system_error = 0;  // the system's own number, 0 when it is not to blame
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

// What a library call that has just failed says about `file`.
Failure failure_of_call(int32_t status, const std::string& file);

// The work on `file` took too long.
Failure failure_of_seconds(const std::string& file, uint64_t asked, uint64_t allowed);

// Throws what a library call's status means for `file`: nothing for T_OK, Interrupted when a
// signal ended the call, else a Failure with the library's sentence, or with the system's reason
// when there was no room for what the call wrote.
void check(int32_t status, const std::string& file);

// A call of the system failed: "what: the system's reason".
[[noreturn]] void throw_system_failure(const std::string& file, const std::string& what,
                                       int32_t status);

// The last call could not make or fill a file in the folder for temporary files.
[[noreturn]] void throw_folder_failure(const std::string& folder);

// Without control characters, which would break the line or drive the terminal.
std::string one_line(std::string text);

// "tavo: FILE: text" on standard error: one line whatever the name holds.
void tell(const std::string& file, const std::string& text);

// "tavo: FILE: what is wrong (status -9)" on standard error: one line whatever the name holds.
void report(const Failure& failure);

}  // namespace tavo::tools
