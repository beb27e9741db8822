#include "failure.h"

#include <cstdio>

#include "signals.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

// Control characters would break the line or drive the terminal.
std::string one_line(std::string text) {
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) c = '?';
  }
  return text;
}

}  // namespace

void check_signals() {
  if (const int signal = noted_signal(); signal != 0) throw Interrupted{signal};
}

void check(int32_t status, const std::string& file) {
  if (status == T_OK) return;
  check_signals();
  throw Failure{file, T_GetStatusText(status), status};
}

void report(const Failure& failure) {
  std::fprintf(stderr, "tavo: %s: %s (status %d)\n", one_line(failure.file).c_str(),
               one_line(failure.what).c_str(), static_cast<int>(failure.status));
}

}  // namespace tavo::tools
