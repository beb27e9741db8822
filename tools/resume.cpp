#include "resume.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "hash.h"
#include "system.h"

namespace tavo::tools {
namespace {

enum class State : uint8_t { kNew, kDone, kAgain };

class Resume {
 public:
  Resume(const ResumeOptions& options, bool keeps_lines, FileList& list)
      : options_(options),
        keeps_lines_(keeps_lines),
        list_(list),
        states_(list.files().size(), State::kNew) {}

  Resumed run(JournalReader& journal) {
    journal.for_each_backwards([this](std::string_view line) {
      check_signals();
      take(line);
    });
    std::ranges::reverse(lines_);
    for (const std::string& line : lines_) resumed_.kept_lines += line + "\n";
    drop_done();
    return std::move(resumed_);
  }

 private:
  void take(std::string_view line);
  size_t find(const std::string& name);
  bool is_done(const JournalEntry& entry, const ListedFile& file);
  bool is_there(const MadeFile& output) const;
  void drop_done();

  const ResumeOptions& options_;
  bool keeps_lines_;
  FileList& list_;
  std::vector<State> states_;
  std::vector<std::string> lines_;
  Resumed resumed_;
};

// The number of the file in the list, or that of the files there are.
size_t Resume::find(const std::string& name) {
  const auto& files = list_.files();
  const uint64_t hash = hash_of(name);
  const auto same = std::ranges::equal_range(files, hash, {}, &ListedFile::hash);
  for (const ListedFile& file : same)
    if (same.size() == 1 || list_.name_at(file.place) == name)
      return static_cast<size_t>(&file - files.data());
  return files.size();
}

bool Resume::is_there(const MadeFile& output) const {
  const std::string path = in_folder(options_.output, output.name);
  return stamp_of(path).size == output.size &&
         (!options_.verifies || hash_of_file(path) == output.hash);
}

bool Resume::is_done(const JournalEntry& entry, const ListedFile& file) {
  switch (entry.outcome) {
    case Outcome::kSkipped:
      return true;
    case Outcome::kRefused:
    case Outcome::kError:
    case Outcome::kCrashed:
      return !options_.retries_errors;
    case Outcome::kOk:
    case Outcome::kPartial:
      break;
  }
  if (options_.verifies) {
    const FileStamp stamp = stamp_of(list_.path_of(file.place, entry.input));
    if (stamp.size != entry.size || stamp.mtime != entry.mtime) return false;
  }
  return std::ranges::all_of(entry.outputs,
                             [this](const MadeFile& output) { return is_there(output); });
}

void Resume::take(std::string_view line) {
  const auto entry = parse_entry(line);
  if (!entry) return;
  const size_t number = find(entry->input);
  if (number == states_.size() || states_[number] != State::kNew) return;
  const ListedFile file = list_.files()[number];
  const Tally tally = tally_of(*entry);
  resumed_.totals.add(tally);
  if (keeps_lines_) lines_.emplace_back(line);
  states_[number] = is_done(*entry, file) ? State::kDone : State::kAgain;
  if (states_[number] == State::kAgain) resumed_.again.emplace(file.place, tally);
}

void Resume::drop_done() {
  size_t kept = 0;
  auto& files = list_.files();
  for (size_t i = 0; i < files.size(); ++i)
    if (states_[i] != State::kDone) files[kept++] = files[i];
  files.resize(kept);
}

}  // namespace

Resumed take_done(JournalReader& journal, const ResumeOptions& options, bool keeps_lines,
                  FileList& list) {
  return Resume(options, keeps_lines, list).run(journal);
}

}  // namespace tavo::tools
