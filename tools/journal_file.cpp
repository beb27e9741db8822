#include "journal_file.h"

#include <algorithm>

#include "journal_line.h"
#include "native_name.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr uint64_t kBlock = 1 << 18;

}  // namespace

std::string journal_folder(const std::string& output) { return in_folder(output, ".journal"); }

std::string journal_path(const std::string& output, const Shard& shard) {
  return in_folder(journal_folder(output), shard.name() + ".ndjson");
}

JournalReader::JournalReader(const std::string& path) : file_(native_name(path), std::ios::binary) {
  if (!file_) return;
  file_.seekg(0, std::ios::end);
  size_ = static_cast<uint64_t>(file_.tellg());
  file_.seekg(0);
  if (!std::getline(file_, first_line_) || file_.eof()) {
    first_line_.clear();
    return;
  }
  const std::string last = last_line();
  is_finished_ = whole_size_ == size_ && says_finished(last);
}

std::string JournalReader::read(uint64_t at, uint64_t size) {
  std::string bytes(static_cast<size_t>(size), '\0');
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(at));
  file_.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<size_t>(file_.gcount()));
  return bytes;
}

// Finds where whole lines end.
std::string JournalReader::last_line() {
  std::string tail;
  for (uint64_t at = size_; at > 0;) {
    const uint64_t part = std::min(at, kBlock);
    at -= part;
    tail.insert(0, read(at, part));
    const size_t end = tail.rfind('\n');
    if (end == std::string::npos) continue;
    whole_size_ = at + end + 1;
    if (end == 0) return {};
    const size_t begin = tail.rfind('\n', end - 1);
    if (begin != std::string::npos) return tail.substr(begin + 1, end - begin - 1);
  }
  return {};
}

void JournalReader::for_each(const std::function<void(std::string_view line)>& visit) {
  uint64_t at = first_line_.size() + 1;
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(at));
  for (std::string line; at < whole_size_ && std::getline(file_, line); at += line.size() + 1)
    visit(line);
}

void JournalReader::for_each_backwards(const std::function<void(std::string_view line)>& visit) {
  const uint64_t begin = first_line_.size() + 1;
  std::string rest;  // the front of what was read: the end of a line
  for (uint64_t at = whole_size_; at > begin;) {
    const uint64_t part = std::min(at - begin, kBlock);
    at -= part;
    const std::string block = read(at, part) + rest;
    size_t end = block.size();
    while (end > 0) {
      const size_t feed = end < 2 ? std::string::npos : block.rfind('\n', end - 2);
      if (feed == std::string::npos && at > begin) break;
      const size_t start = feed == std::string::npos ? 0 : feed + 1;
      visit(std::string_view(block).substr(start, end - start - 1));
      end = start;
    }
    rest = block.substr(0, end);
  }
}

}  // namespace tavo::tools
