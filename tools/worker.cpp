#include "worker.h"

#include <chrono>
#include <vector>

#include "conversion.h"
#include "failure.h"
#include "hash.h"
#include "output_file.h"
#include "system.h"
#include "tavo45.h"
#include "temporary.h"

namespace tavo::tools {
namespace {

// Strings one behind the other, each with its size in front.
void put(std::string& bytes, const std::string& text) {
  const auto size = static_cast<uint32_t>(text.size());
  bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
  bytes += text;
}

template <class End>
bool get(End& end, std::string& text) {
  uint32_t size = 0;
  if (!end.receive(&size, sizeof size)) return false;
  text.resize(size);
  return end.receive(text.data(), size);
}

bool receive_job(ParentPipe& parent, WorkerJob& job) {
  return get(parent, job.name) && get(parent, job.path) && get(parent, job.output);
}

bool send_report(ParentPipe& parent, const WorkerReport& report) {
  std::string bytes(reinterpret_cast<const char*>(&report.kind), sizeof report.kind);
  bytes.append(reinterpret_cast<const char*>(&report.tally), sizeof report.tally);
  put(bytes, report.text);
  put(bytes, report.told);
  return parent.send(bytes.data(), bytes.size());
}

// No other file would fare better: of what is written, and not for its name alone.
bool is_of_system(const Failure& failure) {
  if (failure.system_error == 0 || is_about_name(failure.system_error)) return false;
  const int32_t status = failure.status;
  return status == T_ERR_WRITE || status == T_ERR_CREATE ||
         (status == T_ERR_NO_MEMORY && !is_lack_of_memory(failure.system_error));
}

Outcome outcome_of(const Failure& failure) {
  switch (failure.cause) {
    case Cause::kNoPicture:
      return Outcome::kSkipped;
    case Cause::kLimit:
    case Cause::kNotAllowed:
      return Outcome::kRefused;
    case Cause::kOther:
      break;
  }
  return Outcome::kError;
}

// Pipes and devices are not even opened.
void check_is_file(const std::string& path) {
  const auto fail = [&path](const char* what) {
    throw Failure{path, what, T_ERR_BAD_DATA, Cause::kNoPicture};
  };
  switch (file_kind(path)) {
    case FileKind::kDirectory:
      fail("Is a folder");
      break;
    case FileKind::kOther:
      fail("Is a pipe or a device");
      break;
    case FileKind::kRegular:
      if (is_empty(path)) fail("The file is empty");
      break;
    case FileKind::kMissing:
      break;
  }
}

MadeFile made_file(const std::string& path, const std::string& folder) {
  const auto hash = hash_of_file(path);
  if (!hash) throw_system_failure(path, "The finished file cannot be read", T_ERR_WRITE);
  return {with_slashes(path.substr(folder.size() + 1)), stamp_of(path).size, *hash};
}

void convert(const WorkerOptions& options, const WorkerJob& job, JournalEntry& entry) {
  Converted made;
  try {
    check_is_file(job.path);
    convert_file(options.conversion, job.path, in_folder(options.output, job.output), made);
  } catch (...) {
    for (const std::string& path : made.outputs)
      remove_file(path);  // pages of a picture that failed
    throw;
  }
  for (const std::string& path : made.outputs)
    entry.outputs.push_back(made_file(path, options.output));
  entry.pages = made.pages;
  if (!made.damage) return;
  entry.outcome = Outcome::kPartial;
  entry.status = made.damage->status;
  entry.text = made.damage->what;
}

WorkerReport work_on(const WorkerOptions& options, const WorkerJob& job) {
  const auto begin = std::chrono::steady_clock::now();
  const FileStamp stamp = stamp_of(job.path);
  JournalEntry entry{job.name, stamp.size, stamp.mtime};
  try {
    convert(options, job, entry);
  } catch (const Failure& failure) {
    if (is_of_system(failure))
      return {WorkerReport::Kind::kSystem, {}, one_line(failure.file) + ": " + failure.what, {}};
    entry.outcome = outcome_of(failure);
    entry.status = failure.status;
    entry.text = failure.what;
  }
  const auto taken = std::chrono::steady_clock::now() - begin;
  entry.ms = std::chrono::duration_cast<std::chrono::milliseconds>(taken).count();
  return report_of(entry);
}

}  // namespace

bool send_job(WorkerProcess& worker, const WorkerJob& job) {
  std::string bytes;
  put(bytes, job.name);
  put(bytes, job.path);
  put(bytes, job.output);
  return worker.send(bytes.data(), bytes.size());
}

bool receive_report(WorkerProcess& worker, WorkerReport& report) {
  return worker.receive(&report.kind, sizeof report.kind) &&
         worker.receive(&report.tally, sizeof report.tally) && get(worker, report.text) &&
         get(worker, report.told);
}

JournalEntry entry_of(const WorkerJob& job, Outcome outcome, int32_t status,
                      const std::string& text) {
  JournalEntry entry{job.name};
  if (!job.path.empty()) {
    const FileStamp stamp = stamp_of(job.path);
    entry.size = stamp.size;
    entry.mtime = stamp.mtime;
  }
  entry.outcome = outcome;
  entry.status = status;
  entry.text = text;
  return entry;
}

WorkerReport report_of(const JournalEntry& entry) {
  std::string told;
  if (entry.outcome != Outcome::kOk) {
    told = std::string(kOutcomeNames[static_cast<size_t>(entry.outcome)]) + ": " + entry.text +
           " (status " + std::to_string(entry.status) + ")";
  }
  return {WorkerReport::Kind::kLine, tally_of(entry), to_line(entry), told};
}

int run_worker(const WorkerOptions& options) {
  ParentPipe parent;
  silence_stderr();  // the batch speaks
  set_limits(options.limits);
  name_temporaries_for(options.shard);
  output_habits() = {options.is_durable, options.is_durable, false, true};
  bool is_heard = parent.send(&kReady, 1);
  for (WorkerJob job; is_heard && receive_job(parent, job);)
    is_heard = parent.send(&kTaken, 1) && send_report(parent, work_on(options, job));
  return kExitOk;
}

}  // namespace tavo::tools
