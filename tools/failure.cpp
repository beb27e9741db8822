#include "failure.h"

#include <cstdio>

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

void check(int32_t status, const std::string& file) {
  if (status == T_OK) return;
  check_signals();
  const bool is_full = last_error() == Reason::kNoRoom;
  const std::string reason = last_error_text();
  if (is_full && status == T_ERR_WRITE)
    throw Failure{file, "There is no room for the file: " + reason, status};
  if (is_full && status == T_ERR_NO_MEMORY) throw_folder_failure(temporary_folder());
  throw Failure{file, T_GetStatusText(status), status};
}

void throw_folder_failure(const std::string& folder) {
  const bool is_full = last_error() == Reason::kNoRoom;
  const std::string reason = last_error_text();
  throw Failure{folder,
                is_full ? "The folder for temporary files is full: " + reason
                        : "No temporary file can be made in this folder: " + reason,
                T_ERR_NO_MEMORY};
}

void tell(const std::string& file, const std::string& text) {
  std::fprintf(stderr, "tavo: %s: %s\n", one_line(file).c_str(), one_line(text).c_str());
}

void report(const Failure& failure) {
  tell(failure.file, failure.what + " (status " + std::to_string(failure.status) + ")");
}

}  // namespace tavo::tools
