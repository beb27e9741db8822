// Files in which the library finds no picture.
#pragma once

#include <string>

namespace tavo::tools {

struct NotRead {
  std::string text;         // empty when the first bytes say nothing
  bool is_damaged = false;  // they are those of a format that is read
};

// What such a file is, and why it is not read, by its first bytes.
NotRead why_not_read(const std::string& path);

}  // namespace tavo::tools
