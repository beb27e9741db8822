// The progress bar, and the way a signal ends a library call.
#pragma once

#include <cstdint>
#include <string>

#include "signals.h"

namespace tavo::tools {

// While one of these lives, the library's long operations draw a bar on standard error when that
// is a terminal and half a second has passed; the bar is wiped when it ends. A signal makes the
// library call in progress return. One at a time.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Names the operation that follows: "Loading photo.bmp".
  void start(const std::string& label);

 private:
  NotedSignals signals_;
};

}  // namespace tavo::tools
