// A file to read, as people name it.
#pragma once

#include <string>

#include "tavo45.h"
#include "temporary.h"

namespace tavo::tools {

// What cannot be sought in, standard input ("-"), a pipe or a device, is read into a temporary file
// first. Failure for what is not there, with the system's reason.
class Source {
 public:
  explicit Source(const std::string& name);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // For messages.
  const std::string& name() const { return name_; }
  // For the library; absolute, so that no length limit of a classic open call applies.
  const std::string& path() const { return path_; }

 private:
  void copy(const std::string& from);

  std::string name_;
  std::string path_;
  TemporaryFile copy_;
};

// Describes the picture of the page given. Failure when it cannot.
FILEINFO describe(const Source& source, int32_t page);

// How many pages a file has, frames of GIF files being some; 1 for what cannot be read.
int32_t count_pages(const std::string& path);

}  // namespace tavo::tools
