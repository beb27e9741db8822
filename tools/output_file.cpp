#include "output_file.h"

#include <chrono>
#include <thread>
#include <utility>

#include "failure.h"
#include "output_names.h"
#include "streams.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kPause = std::chrono::milliseconds(10);

// Tries until nobody else has what `take` is to get.
template <class Take>
void wait_for(const std::string& target, Take take) {
  const auto end = Clock::now() + kPatience;
  for (;;) {
    const Taken taken = take();
    if (taken == Taken::kYes) return;
    if (taken == Taken::kNo) throw_system_failure(target, "The file cannot be opened", T_ERR_OPEN);
    check_signals();
    if (Clock::now() > end)
      throw Failure{target, "Another program is writing the file", T_ERR_OPEN};
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace

OutputHabits& output_habits() {
  static OutputHabits habits;
  return habits;
}

OutputFile::OutputFile(std::string target, bool keep_content) : target_(std::move(target)) {
  const bool is_stream = target_ == kStandardStream;
  const FileKind kind = is_stream ? FileKind::kOther : file_kind(target_);
  if (!is_stream) check_target(kind);
  is_special_ = kind == FileKind::kOther;
  final_path_ = is_special_ ? target_ : resolve_links(target_);
  if (is_stream) target_ = "standard output";
  make_work_file();
  if (!is_special_) T_SetDocumentName(stem_of(target_).c_str());
  forget_last_error();
  if (!keep_content || is_special_) return;
  take_turn();
  copy_target();
}

OutputFile::~OutputFile() { T_SetDocumentName(nullptr); }

void OutputFile::make_work_file() {
  const std::string folder = is_special_ ? temporary_folder() : folder_of(final_path_);
  if (work_.create(folder)) return;
  if (is_special_) throw_folder_failure(folder);
  if (output_habits().makes_folders && last_error() == Reason::kAbsent) {
    if (!make_folder(folder))
      throw_system_failure(target_, "The folder cannot be made", T_ERR_CREATE);
    if (work_.create(folder)) return;
  }
  throw_system_failure(target_, "No file can be made in this folder", T_ERR_CREATE);
}

void OutputFile::check_target(FileKind kind) const {
  if (kind == FileKind::kMissing && last_error() != Reason::kAbsent)
    throw_system_failure(target_, "The file cannot be created", T_ERR_CREATE);
  if (kind == FileKind::kDirectory) throw Failure{target_, "Is a folder", T_ERR_CREATE};
  if (kind != FileKind::kMissing && !is_writable(target_))
    throw Failure{target_, "The file is write-protected", T_ERR_CREATE};
}

void OutputFile::take_turn() {
  wait_for(target_, [this] { return turn_.take(lock_path(final_path_)); });
}

void OutputFile::copy_target() {
  check_target(file_kind(target_));  // it may have come, or been replaced, since it was looked at
  if (file_kind(final_path_) != FileKind::kRegular) return;
  wait_for(target_, [this] { return content_lock_.take(final_path_); });
  has_content_ = stamp_of(final_path_).size != 0;
  if (!has_content_ || copy_stream(final_path_, path()) == Copied::kAll) return;
  check_signals();
  if (last_error() == Reason::kNoRoom) check(T_ERR_WRITE, target_);
  throw_system_failure(target_, "The file cannot be copied", T_ERR_WRITE);
}

void OutputFile::commit() {
  if (is_special_) {
    if (copy_stream(path(), final_path_) != Copied::kAll) {
      throw_system_failure(target_, T_GetStatusText(T_ERR_WRITE), T_ERR_WRITE);
    }
    return;  // the destructor removes the temporary file
  }
  const OutputHabits& habits = output_habits();
  if (habits.is_synced && !sync_file(path()))
    throw_system_failure(target_, "The finished file cannot be stored", T_ERR_WRITE);
  if (habits.takes_turns && !turn_.is_taken()) take_turn();
  if (!put_in_place())
    throw_system_failure(target_, "The finished file cannot be put in its place", T_ERR_CREATE);
  work_.release();
  if (habits.syncs_folder && !sync_folder(folder_of(final_path_)))
    throw_system_failure(target_, "The finished file cannot be stored", T_ERR_WRITE);
}

// What was copied stays locked until it has been replaced: whatever is written to it in between
// would be lost.
bool OutputFile::put_in_place() {
  if (replace_file(path(), final_path_)) return true;
  content_lock_.drop();  // on some file systems nothing that is open can be replaced
  return replace_file(path(), final_path_);
}

}  // namespace tavo::tools
