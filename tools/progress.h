// The progress bar, and the way a signal ends a library call.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

// While one of these lives, the library's long operations draw a bar on standard error when that
// is a terminal and half a second has passed; the bar is wiped when it ends. An interrupt or
// termination signal makes the library call in progress return, so that nothing is left behind;
// a second one ends the process at once. One at a time.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Names the operation that follows: "Loading photo.bmp".
  void start(std::string label);

  // The signal that was caught, 0 for none.
  static int caught_signal();
};

}  // namespace tavo::tools
