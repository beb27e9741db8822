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
  Resume(const ResumeOptions& options, FileList& list)
      : options_(options), list_(list), states_(list.files().size(), State::kNew) {}

  Resumed run(JournalReader& journal) {
    journal.for_each_backwards([this](std::string_view line) {
      check_signals();
      take(line);
    });
    drop_done();
    return std::move(resumed_);
  }

 private:
  void take(std::string_view line);
  bool is_done(const JournalEntry& entry, const ListedFile& file);
  bool is_there(const MadeFile& output) const;
  void drop_done();

  const ResumeOptions& options_;
  FileList& list_;
  std::vector<State> states_;
  Resumed resumed_;
};

bool Resume::is_there(const MadeFile& output) const {
  const std::string path = in_folder(options_.output, output.name);
  if (stamp_of(path).size != output.size) return false;
  if (!options_.verifies) return true;
  const auto sum = sum_of_file(path);
  return sum && sum->hash == output.hash;
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
  const size_t number = list_.number_of(entry->input);
  if (number == states_.size() || states_[number] != State::kNew) return;
  const ListedFile file = list_.files()[number];
  const Tally tally = tally_of(*entry);
  resumed_.totals.add(tally);
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

Resumed take_done(JournalReader& journal, const ResumeOptions& options, FileList& list) {
  return Resume(options, list).run(journal);
}

bool copy_lines(JournalReader& journal, FileList& list, GrowingFile& to) {
  constexpr size_t kBlock = 1 << 16;
  std::string block;
  bool is_written = true;
  journal.for_each([&](std::string_view line) {
    check_signals();
    const auto entry = parse_entry(line);
    if (!is_written || !entry || list.number_of(entry->input) == list.files().size()) return;
    (block += line) += '\n';
    if (block.size() < kBlock) return;
    is_written = to.append(block);
    block.clear();
  });
  return is_written && to.append(block);
}

}  // namespace tavo::tools
