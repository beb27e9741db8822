// Files of the program's own in the folders of its output: ".tavo~HOST~PID~N" for work, which the
// next run removes when the process has ended without doing so, ".tavo~lock~HASH" for turns.
#pragma once

#include <string>

#include "signals.h"

namespace tavo::tools {

// An empty file that nobody else may read, until its name is released or the file is removed.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile() { remove(); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // In `folder`, which is swept first. False when none can be made.
  bool create(const std::string& folder);
  // The file has got another name.
  void release();
  void remove();

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  DoomedFile doomed_;
};

// The lock file for taking turns at the file `path`.
std::string lock_path(const std::string& path);

}  // namespace tavo::tools
