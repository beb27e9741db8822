// What a command may spend on a file, and which formats it may read: options for files that
// strangers sent.
#pragma once

#include <cstdint>
#include <string>

#include "cli_app.h"

namespace tavo::tools {

struct LimitOptions {
  std::string memory;  // "64M"
  uint64_t pixels = 0;
  uint32_t seconds = 0;  // 0, as for pixels: no limit
  std::string formats;   // "gif,tif"
};

void add_limit_options(CLI::App& command, LimitOptions& options);

// Hands them to the library, but for the seconds, which a Deadline counts for each file. UsageError
// for a format that there is not.
void set_limits(const LimitOptions& options);

}  // namespace tavo::tools
