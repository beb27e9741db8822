#include "failure.h"

#include <cstdio>

#include "deadline.h"
#include "signals.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {

std::string one_line(std::string text) {
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) c = '?';
  }
  return text;
}

void check_signals() {
  if (const int signal = noted_signal(); signal != 0) throw Interrupted{signal};
}

Failure failure_of_call(int32_t status, const std::string& file) {
  T_ERRORINFO error;
  char text[256];
  const bool is_known = T_GetError(&error) == T_OK && error.Status == status &&
                        T_GetErrorText(text, sizeof text) == T_OK;
  if (!is_known) return {file, T_GetStatusText(status), status};
  Failure failure{file, text, status};
  failure.system_error = error.SystemError;
  if (error.NotAllowed != 0) failure.cause = Cause::kNotAllowed;
  if (error.Limit == 0) return failure;
  failure.cause = Cause::kLimit;
  failure.limit = error.LimitName;
  failure.asked = error.Asked;
  failure.allowed = error.Allowed;
  return failure;
}

Failure failure_of_seconds(const std::string& file, uint64_t asked, uint64_t allowed) {
  return {file,
          "The work takes " + std::to_string(asked) + " seconds or more; " +
              std::to_string(allowed) + " are allowed",
          T_ERR_LIMIT,
          Cause::kLimit,
          "seconds",
          asked,
          allowed};
}

void check(int32_t status, const std::string& file) {
  if (status == T_OK) return;
  check_signals();
  check_deadline(file);
  const bool is_full = last_error() == Reason::kNoRoom;
  if (is_full && status == T_ERR_NO_MEMORY) throw_folder_failure(temporary_folder());
  if (is_full && status == T_ERR_WRITE)
    throw_system_failure(file, "There is no room for the file", status);
  throw failure_of_call(status, file);
}

void throw_system_failure(const std::string& file, const std::string& what, int32_t status) {
  const int number = last_error_number();
  check_deadline(file);  // past, it breaks what waits
  Failure failure{file, what + ": " + last_error_text(), status};
  failure.system_error = number;
  throw failure;
}

void throw_folder_failure(const std::string& folder) {
  const bool is_full = last_error() == Reason::kNoRoom;
  throw_system_failure(folder,
                       is_full ? "The folder for temporary files is full"
                               : "No temporary file can be made in this folder",
                       T_ERR_NO_MEMORY);
}

void tell(const std::string& file, const std::string& text) {
  std::fprintf(stderr, "tavo: %s: %s\n", one_line(file).c_str(), one_line(text).c_str());
}

void report(const Failure& failure) {
  tell(failure.file, failure.what + " (status " + std::to_string(failure.status) + ")");
}

}  // namespace tavo::tools
