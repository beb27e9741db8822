#include "batch_run.h"

#include <algorithm>
#include <thread>

#include "failure.h"
#include "listed_name.h"
#include "signals.h"
#include "tavo45.h"
#include "temporary.h"

namespace tavo::tools {
namespace {

constexpr auto kLook = std::chrono::milliseconds(20);

}  // namespace

RunEnd BatchRun::run() {
  const size_t files = list_.files().size();
  progress_.start(totals_, files - earlier_.size());
  std::vector<Slot> slots(std::min(options_.jobs, files));
  std::vector<std::thread> threads;
  at_work_ = slots.size();
  for (Slot& slot : slots) threads.emplace_back([this, &slot] { work(slot); });
  watch(slots);
  for (std::thread& thread : threads) thread.join();
  progress_.finish(totals_);
  if (is_refused_) return RunEnd::kSystemRefused;
  return is_interrupted_ ? RunEnd::kInterrupted : RunEnd::kFinished;
}

// Signals, and files that take too long.
void BatchRun::watch(std::vector<Slot>& slots) {
  std::unique_lock lock(mutex_);
  while (at_work_ > 0) {
    ended_.wait_for(lock, kLook);
    is_interrupted_ = is_interrupted_ || noted_signal() != 0;
    is_dropped_ = is_dropped_ || signals_noted() > 1;
    end_late_workers(slots, is_dropped_);
    progress_.show(totals_);
  }
}

void BatchRun::end_late_workers(std::vector<Slot>& slots, bool all) {
  for (Slot& slot : slots) {
    if (!slot.is_working || (!all && Clock::now() < slot.deadline)) continue;
    slot.is_late = !all;
    slot.is_working = false;
    slot.worker.kill();
  }
}

void BatchRun::work(Slot& slot) {
  while (take_job(slot)) {
    if (!hand_over(slot)) break;
    finish_job(slot);
  }
  if (slot.worker.is_started()) slot.worker.wait();
  const std::lock_guard lock(mutex_);
  --at_work_;
  ended_.notify_one();
}

bool BatchRun::take_job(Slot& slot) {
  const std::lock_guard lock(mutex_);
  while (!is_interrupted_ && !is_refused_ && next_ < list_.files().size()) {
    const ListedFile file = list_.files()[next_++];
    slot.place = file.place;
    slot.job = {list_.name_at(file.place), {}, {}};
    if (!leads_out(slot.job.name)) {
      slot.job.path = list_.path_of(file.place, slot.job.name);
      slot.job.output = name_output_(slot.job.name, file.hash);
      return true;
    }
    record(slot, report_of(entry_of(slot.job, Outcome::kRefused, T_ERR_NAME,
                                    "The name leads out of the base")));
  }
  return false;
}

// Empty when all is well.
std::string BatchRun::ensure_worker(Slot& slot) {
  if (slot.worker.is_started()) return {};
  if (!slot.worker.start(kWorkerWord)) return last_error_text();
  char word = 0;
  if (slot.worker.receive(&word, 1) && word == kReady) return {};
  return slot.worker.wait();
}

// A worker that died before it took the job is not this file's doing.
bool BatchRun::hand_over(Slot& slot) {
  constexpr int kTries = 3;
  std::string reason;
  for (int i = 0; i < kTries; ++i) {
    reason = ensure_worker(slot);
    if (!reason.empty()) continue;
    {
      const std::lock_guard lock(mutex_);
      slot.is_late = false;
      slot.is_working = true;
      slot.deadline = Clock::time_point::max();
      if (options_.seconds != 0)
        slot.deadline = Clock::now() + std::chrono::seconds(options_.seconds);
    }
    char word = 0;
    if (send_job(slot.worker, slot.job) && slot.worker.receive(&word, 1)) return true;
    reason = end_worker(slot);
  }
  refuse("No worker stays: " + reason);
  return false;
}

// What the worker leaves behind goes with it.
std::string BatchRun::end_worker(Slot& slot) {
  {
    const std::lock_guard lock(mutex_);
    slot.is_working = false;
  }
  const uint32_t process = slot.worker.id();
  std::string how = slot.worker.wait();
  sweep_folder(folder_of(in_folder(options_.output, slot.job.output)),
               temporary_prefix(options_.shard, process));
  return how;
}

JournalEntry BatchRun::entry_without_report(Slot& slot) {
  const std::string how = end_worker(slot);
  if (!slot.is_late)
    return entry_of(slot.job, Outcome::kCrashed, T_ERR_BAD_DATA,
                    "The work on the file ended with " + how);
  const Failure late = failure_of_seconds({}, options_.seconds + uint64_t{1}, options_.seconds);
  return entry_of(slot.job, Outcome::kRefused, late.status, late.what);
}

void BatchRun::finish_job(Slot& slot) {
  WorkerReport report;
  const bool is_told = receive_report(slot.worker, report);
  if (!is_told) report = report_of(entry_without_report(slot));
  const std::lock_guard lock(mutex_);
  slot.is_working = false;
  if (!is_told && is_dropped_) return;
  if (report.kind == WorkerReport::Kind::kSystem) {
    refuse_locked(report.text);
  } else {
    record(slot, report);
  }
}

void BatchRun::record(Slot& slot, const WorkerReport& report) {
  if (!journal_.append(report.text) || (options_.is_durable && !journal_.sync()))
    return refuse_locked("The journal cannot be written: " + last_error_text());
  if (const auto before = earlier_.find(slot.place); before != earlier_.end()) {
    totals_.remove(before->second);
    earlier_.erase(before);
  }
  totals_.add(report.tally);
  if (report.told.empty()) return;
  progress_.wipe();
  tell(slot.job.name, report.told);
}

// Nothing further is begun.
void BatchRun::refuse_locked(const std::string& what) {
  if (!is_refused_) tell(options_.output, what);
  is_refused_ = true;
}

void BatchRun::refuse(const std::string& what) {
  const std::lock_guard lock(mutex_);
  refuse_locked(what);
}

}  // namespace tavo::tools
