// An output file that appears complete or not at all.
#pragma once

#include <string>

namespace tavo::tools {

// Stands for the file `target` while it is written under another name beside it. Without commit
// the target is as it was, and nothing is left.
class OutputFile {
 public:
  // With `keep_content` the work starts from a copy of the target when there is one.
  OutputFile(std::string target, bool keep_content);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Where to write; absolute.
  const std::string& path() const { return work_path_; }

  // Puts the finished file in the target's place, whose permissions stay.
  void commit();

 private:
  std::string target_;       // as the user calls it
  std::string final_path_;   // where it ends up, links followed
  std::string work_path_;    // empty once there is nothing to remove
  bool is_special_ = false;  // a pipe or a device: it cannot be replaced, only written to
};

}  // namespace tavo::tools
