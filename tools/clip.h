// tavo clip, for the part that only some systems have.
#pragma once

#include <string>

#include "limit_options.h"

namespace tavo::tools {

struct ClipOptions {
  std::string file;
  std::string format;
  bool copy = false;
  bool paste = false;
  LimitOptions limits;
};

// Does what is asked; returns the exit status. Failure where there is no clipboard.
int run_clip(const ClipOptions& options);

}  // namespace tavo::tools
