#include "temporary.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

#include "system.h"

namespace tavo::tools {
namespace {

constexpr std::string_view kPrefix = ".tavo~";
constexpr std::string_view kLockPrefix = ".tavo~lock~";
constexpr size_t kHashDigits = 16;

// Of the next file that this process makes.
uint32_t next_number = 0;

// Empty: none, the files are of a run by itself.
std::string shard_name;

std::string work_prefix() {
  return std::string(kPrefix) + (shard_name.empty() ? "" : shard_name + "~") + host_name() + "~";
}

std::string work_name(uint32_t process, uint32_t number) {
  return work_prefix() + std::to_string(process) + "~" + std::to_string(number);
}

std::optional<uint32_t> parse_number(std::string_view text) {
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// Whether a process of this host, by now ended, made it.
bool is_stale(const std::string& name) {
  const std::string prefix = work_prefix();
  if (!name.starts_with(prefix)) return false;
  const size_t middle = name.find('~', prefix.size());
  if (middle == std::string::npos) return false;
  const auto process =
      parse_number(std::string_view(name).substr(prefix.size(), middle - prefix.size()));
  const auto number = parse_number(std::string_view(name).substr(middle + 1));
  if (!process || !number || name != work_name(*process, *number)) return false;
  if (*process == process_id()) return *number >= next_number;  // of a namesake
  return !process_is_running(*process);
}

bool is_lock(const std::string& name) {
  return name.starts_with(kLockPrefix) && name.size() == kLockPrefix.size() + kHashDigits;
}

void sweep(const std::string& folder) {
  for (const std::string& name : names_in(folder, kPrefix)) {
    const std::string path = in_folder(folder, name);
    if (is_stale(name)) remove_file(path);
    if (is_lock(name)) LockFile().take(path);  // and let go, which removes it
  }
}

}  // namespace

bool TemporaryFile::create(const std::string& folder) {
  constexpr int kTries = 1000;
  remove();
  if (shard_name.empty()) sweep(folder);
  for (int i = 0; i < kTries; ++i) {
    path_ = in_folder(folder, work_name(process_id(), next_number++));
    doomed_.doom(path_);
    const Made made = make_private_file(path_);
    if (made == Made::kYes) return true;
    doomed_.spare();
    path_.clear();
    if (made == Made::kNo) return false;
  }
  return false;
}

void TemporaryFile::release() {
  path_.clear();
  doomed_.spare();
}

void TemporaryFile::remove() {
  if (!path_.empty()) remove_file(path_);
  release();
}

void name_temporaries_for(const std::string& shard) { shard_name = shard; }

std::string temporary_prefix(const std::string& shard) {
  return std::string(kPrefix) + shard + "~";
}

std::string temporary_prefix(const std::string& shard, uint32_t process) {
  return temporary_prefix(shard) + host_name() + "~" + std::to_string(process) + "~";
}

void sweep_folder(const std::string& folder, const std::string& prefix) {
  for (const std::string& name : names_in(folder, prefix)) remove_file(in_folder(folder, name));
}

bool is_temporary_name(std::string_view name) { return name.starts_with(kPrefix); }

std::string lock_path(const std::string& path) {
  const size_t name = path.find_last_of("\\/") + 1;
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a; names that differ in case alone may be one file
  for (const char c : path.substr(name)) {
    const char folded = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    hash = (hash ^ static_cast<uint8_t>(folded)) * 0x100000001B3;
  }
  std::string digits(kHashDigits, '0');
  for (size_t i = kHashDigits; i > 0; --i, hash >>= 4)
    digits[i - 1] = "0123456789abcdef"[hash & 15];
  return path.substr(0, name) + std::string(kLockPrefix) + digits;
}

}  // namespace tavo::tools
