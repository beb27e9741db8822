// The lines of a journal: JSON, one object a line.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shard.h"

namespace tavo::tools {

enum class Outcome { kOk, kPartial, kSkipped, kRefused, kError, kCrashed };
inline constexpr size_t kOutcomes = 6;
inline constexpr std::array<const char*, kOutcomes> kOutcomeNames = {
    "ok", "partial", "skipped", "refused", "error", "crashed"};

// The first line: what the journal is about.
struct JournalHead {
  std::string version;
  uint64_t options = 0;
  uint64_t list = 0;
  uint64_t files = 0;  // of the whole list
  Shard shard;
};

struct MadeFile {
  std::string name;  // below the folder of the outputs
  int64_t size = 0;
  uint64_t hash = 0;
};

// What became of a file.
struct JournalEntry {
  std::string input;
  int64_t size = -1;
  int64_t mtime = -1;
  std::vector<MadeFile> outputs{};
  int32_t pages = 0;
  Outcome outcome = Outcome::kOk;
  int32_t status = 0;
  std::string text{};
  int64_t ms = 0;

  int64_t bytes_out() const;
};

// What the totals need of an entry.
struct Tally {
  Outcome outcome = Outcome::kOk;
  int64_t bytes_in = 0;
  int64_t bytes_out = 0;
  int64_t ms = 0;
};
Tally tally_of(const JournalEntry& entry);

struct Totals {
  uint64_t files = 0;
  std::array<uint64_t, kOutcomes> by_outcome{};
  int64_t bytes_in = 0;
  int64_t bytes_out = 0;
  int64_t ms = 0;

  void add(const Tally& tally);
  void remove(const Tally& tally);
  bool all_ok() const { return by_outcome[0] == files; }
};

// Each with the line feed.
std::string to_line(const JournalHead& head);
std::string to_line(const JournalEntry& entry);
std::string end_line(const Totals& totals, bool is_finished);

// A line without its line feed.
std::optional<JournalHead> parse_head(std::string_view line);
std::optional<JournalEntry> parse_entry(std::string_view line);
bool says_finished(std::string_view line);

}  // namespace tavo::tools
