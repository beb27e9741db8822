// tavo scan, for the part that only some systems have.
#pragma once

#include <string>

namespace tavo::tools {

struct ScanOptions {
  std::string file;
  std::string format;
  std::string source;
  std::string type;
  int pages = 0;
  int resolution = 0;
  bool feeder = false;
  bool no_dialog = false;
};

// Does what is asked; returns the exit status. Failure where there are no scanners.
int run_scan(const ScanOptions& options);

}  // namespace tavo::tools
