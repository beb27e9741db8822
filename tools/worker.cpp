#include "worker.h"

#include <chrono>
#include <cstring>
#include <utility>

#include "conversion.h"
#include "failure.h"
#include "hash.h"
#include "output_file.h"
#include "system.h"
#include "tavo45.h"
#include "temporary.h"

namespace tavo::tools {
namespace {

// What is said is one message: its size, then values and strings, these with their sizes in front.
class Message {
 public:
  template <class Value>
  void put(const Value& value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void put(const std::string& text) {
    put(static_cast<uint32_t>(text.size()));
    bytes_ += text;
  }
  // As it is sent.
  std::string sealed() const {
    const auto size = static_cast<uint32_t>(bytes_.size());
    return std::string(reinterpret_cast<const char*>(&size), sizeof size) + bytes_;
  }

  template <class End>
  bool receive(End& end) {
    uint32_t size = 0;
    if (!end.receive(&size, sizeof size)) return false;
    bytes_.resize(size);
    return end.receive(bytes_.data(), size);
  }
  template <class Value>
  void get(Value& value) {
    std::memcpy(&value, bytes_.data() + at_, sizeof value);
    at_ += sizeof value;
  }
  void get(std::string& text) {
    uint32_t size = 0;
    get(size);
    text.assign(bytes_, at_, size);
    at_ += size;
  }

 private:
  std::string bytes_;
  size_t at_ = 0;  // of what is got next
};

bool receive_job(ParentPipe& parent, WorkerJob& job) {
  Message message;
  if (!message.receive(parent)) return false;
  message.get(job.name);
  message.get(job.path);
  message.get(job.output);
  return true;
}

std::string sealed(const WorkerReport& report) {
  Message message;
  message.put(report.kind);
  message.put(report.tally);
  message.put(report.text);
  message.put(report.told);
  return message.sealed();
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
void check_is_file(const std::string& path, const FileStamp& stamp) {
  const auto fail = [&path](const char* what) {
    throw Failure{path, what, T_ERR_BAD_DATA, Cause::kNoPicture};
  };
  switch (stamp.kind) {
    case FileKind::kDirectory:
      fail("Is a folder");
      break;
    case FileKind::kOther:
      fail("Is a pipe or a device");
      break;
    case FileKind::kRegular:
      if (stamp.size == 0) fail("The file is empty");
      break;
    case FileKind::kMissing:
      break;
  }
}

MadeFile made_file(const std::string& path, const std::string& folder) {
  const auto sum = sum_of_file(path);
  if (!sum) throw_system_failure(path, "The finished file cannot be read", T_ERR_WRITE);
  return {with_slashes(path.substr(folder.size() + 1)), sum->size, sum->hash};
}

void convert(const WorkerOptions& options, const WorkerJob& job, const FileStamp& stamp,
             JournalEntry& entry) {
  Converted made;
  try {
    check_is_file(job.path, stamp);
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
    convert(options, job, stamp, entry);
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
  Message message;
  message.put(job.name);
  message.put(job.path);
  message.put(job.output);
  const std::string bytes = message.sealed();
  return worker.send(bytes.data(), bytes.size());
}

bool may_be_sent_ahead(const WorkerJob& job) {
  return job.name.size() + job.path.size() + job.output.size() < kMostAhead;
}

bool receive_report(WorkerProcess& worker, WorkerReport& report) {
  Message message;
  if (!message.receive(worker)) return false;
  message.get(report.kind);
  message.get(report.tally);
  message.get(report.text);
  message.get(report.told);
  return true;
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
  std::string unsaid(1, kReady);
  const auto say = [&] {
    const std::string bytes = std::exchange(unsaid, {});
    return parent.send(bytes.data(), bytes.size());
  };
  for (WorkerJob job; (parent.has_more() || say()) && receive_job(parent, job);) {
    unsaid += kTaken;
    if (!say()) return kExitOk;
    unsaid = sealed(work_on(options, job));
  }
  say();
  return kExitOk;
}

}  // namespace tavo::tools
