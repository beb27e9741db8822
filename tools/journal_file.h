// A journal on the disk, read.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>

#include "shard.h"

namespace tavo::tools {

// OUT/.journal
std::string journal_folder(const std::string& output);
std::string journal_path(const std::string& output, const Shard& shard);

class JournalReader {
 public:
  explicit JournalReader(const std::string& path);

  // Nothing of a file that is not there, or has no whole first line.
  const std::string& first_line() const { return first_line_; }
  // Up to the end of the last whole line; a line that is torn lies behind it.
  uint64_t whole_size() const { return whole_size_; }
  uint64_t size() const { return size_; }
  void close() { file_.close(); }
  // Whether it says so in its last line.
  bool is_finished() const { return is_finished_; }

  // All whole lines but the first.
  void for_each(const std::function<void(std::string_view line)>& visit);
  // The same, the last one first: of those about one input the first that comes
  // counts.
  void for_each_backwards(const std::function<void(std::string_view line)>& visit);

 private:
  std::string read(uint64_t at, uint64_t size);
  std::string last_line();

  std::ifstream file_;
  std::string first_line_;
  uint64_t size_ = 0;
  uint64_t whole_size_ = 0;
  bool is_finished_ = false;
};

}  // namespace tavo::tools
