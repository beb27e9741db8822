// Files of the program's own in the folders of its output: ".tavo~HOST~PID~N" for work, which the
// next run removes when the process has ended without doing so, ".tavo~lock~HASH" for turns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

// From here on they are called ".tavo~SHARD~HOST~PID~N", and no folder is swept for one: only who
// goes on with the shard may do so.
void name_temporaries_for(const std::string& shard);
// How those of the shard begin, whatever host made them; or of one process of this host.
std::string temporary_prefix(const std::string& shard);
std::string temporary_prefix(const std::string& shard, uint32_t process);

// Removes the files of the folder that begin so.
void sweep_folder(const std::string& folder, const std::string& prefix);

// Whether a file is one of the program's own.
bool is_temporary_name(std::string_view name);

// The lock file for taking turns at the file `path`.
std::string lock_path(const std::string& path);

}  // namespace tavo::tools
