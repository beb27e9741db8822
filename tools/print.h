// tavo print, for the part that only some systems have.
#pragma once

#include <string>

#include "limit_options.h"

namespace tavo::tools {

struct PrintOptions {
  std::string file;
  std::string printer;
  std::string output;
  int page = 1;
  std::string size = "fit";  // or "actual", "stretch"
  bool center = false;
  LimitOptions limits;
};

// Does what is asked; returns the exit status. Failure where there are no such printers.
int run_print(const PrintOptions& options);

}  // namespace tavo::tools
