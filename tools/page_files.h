// Pages that are written one after the other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "output_file.h"
#include "tavo45.h"

namespace tavo::tools {

// In one file where the format has pages, else in one file each: OUT, OUT.page2 ...
class PageFiles {
 public:
  // `pages`: what they are called in messages.
  PageFiles(std::string name, const T_Format& format, std::string pages);

  void add(BitmapHandle& page);
  // Puts the last file in its place; those before it are there.
  void commit();
  int32_t count() const { return count_; }

 private:
  void begin_next();

  const std::string first_;
  const std::string pages_;
  std::string name_;
  T_Format format_;
  std::optional<OutputFile> file_;
  int32_t count_ = 0;
};

}  // namespace tavo::tools
