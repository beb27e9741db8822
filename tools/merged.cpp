#include "merged.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

#include "failure.h"
#include "hash.h"
#include "journal_file.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr std::string_view kSuffix = ".ndjson";

// The most kinds of failure that are kept: texts with figures in them are many.
constexpr size_t kMostTexts = 1000;

class Merge {
 public:
  Merge(const std::string& output, FileList* list) : folder_(journal_folder(output)), list_(list) {}

  Merged run() {
    for (const std::string& file : names_in(folder_, ""))
      if (file.ends_with(kSuffix)) files_.push_back(file);
    if (files_.empty()) throw UsageError{folder_ + " holds no journals"};
    std::ranges::sort(files_);
    for (const std::string& file : files_) read(file);
    std::ranges::sort(hashes_);
    find_absent_shards();
    find_twice();
    if (list_ != nullptr) find_missing();
    check_sum();
    return std::move(merged_);
  }

 private:
  void read(const std::string& file);
  void take(std::string_view line, std::unordered_set<std::string>& seen);
  void take_head(const JournalHead& head, const std::string& file);
  void find_absent_shards();
  void find_twice();
  void find_missing();
  void check_sum();

  std::string folder_;
  FileList* list_;
  std::vector<std::string> files_;
  std::optional<JournalHead> head_;
  std::map<uint64_t, std::set<uint64_t>> shards_;  // by their number of parts, those there are
  std::vector<uint64_t> hashes_;                   // of the names of each journal
  uint64_t sum_ = 0;
  Merged merged_;
};

void Merge::read(const std::string& file) {
  JournalReader journal(in_folder(folder_, file));
  const auto head = parse_head(journal.first_line());
  const std::string shard = file.substr(0, file.size() - kSuffix.size());
  if (!head || !journal.is_finished()) merged_.unfinished.push_back(shard);
  if (!head) return;
  take_head(*head, file);
  std::unordered_set<std::string> seen;
  journal.for_each_backwards([&](std::string_view line) { take(line, seen); });
}

void Merge::take_head(const JournalHead& head, const std::string& file) {
  if (!head_) head_ = head;
  shards_[head.shard.count].insert(head.shard.index);
  const bool is_alike = head.version == head_->version && head.options == head_->options &&
                        head.list == head_->list && head.files == head_->files &&
                        head.shard.count == head_->shard.count;
  if (!is_alike) merged_.faults.push_back("the first line of " + file + " differs from others");
}

void Merge::take(std::string_view line, std::unordered_set<std::string>& seen) {
  const auto entry = parse_entry(line);
  if (!entry || !seen.insert(entry->input).second) return;
  merged_.totals.add(tally_of(*entry));
  hashes_.push_back(hash_of(entry->input));
  if (entry->outcome == Outcome::kOk || merged_.texts.size() >= kMostTexts) return;
  ++merged_.texts[std::string(kOutcomeNames[static_cast<size_t>(entry->outcome)]) + ": " +
                  entry->text];
}

void Merge::find_absent_shards() {
  for (const auto& [count, there] : shards_) {
    merged_.shards += count;
    for (uint64_t i = 0; i < count; ++i)
      if (!there.contains(i) && !std::ranges::count(merged_.unfinished, Shard{i, count}.name()))
        merged_.unfinished.push_back(Shard{i, count}.name());
  }
}

// Names whose hash comes more than once are compared by letters.
void Merge::find_twice() {
  std::set<uint64_t> suspects;
  for (size_t i = 1; i < hashes_.size(); ++i)
    if (hashes_[i] == hashes_[i - 1]) suspects.insert(hashes_[i]);
  std::map<std::string, std::set<std::string>> places;
  for (const std::string& file : suspects.empty() ? std::vector<std::string>() : files_) {
    JournalReader journal(in_folder(folder_, file));
    journal.for_each_backwards([&](std::string_view line) {
      const auto entry = parse_entry(line);
      if (entry && suspects.contains(hash_of(entry->input))) places[entry->input].insert(file);
    });
  }
  for (const auto& [name, files] : places)
    if (files.size() > 1) merged_.twice.push_back(name);
  std::set<uint64_t> counted;  // of each name once
  uint64_t before = 0;
  bool is_first = true;
  for (const uint64_t hash : hashes_) {
    if (is_first || hash != before) sum_ += hash;
    before = hash;
    is_first = false;
  }
  for (const auto& [name, files] : places)
    if (!counted.insert(hash_of(name)).second) sum_ += hash_of(name);
}

void Merge::find_missing() {
  for (const ListedFile& file : list_->files())
    if (!std::ranges::binary_search(hashes_, file.hash))
      merged_.missing.push_back(list_->name_at(file.place));
}

void Merge::check_sum() {
  if (!head_ || sum_ == head_->list || !merged_.unfinished.empty()) return;
  merged_.faults.push_back("the names in the journals are not those of the list");
}

}  // namespace

Merged merge_journals(const std::string& output, FileList* list) {
  return Merge(output, list).run();
}

}  // namespace tavo::tools
