#include "batch_run.h"

#include <algorithm>
#include <thread>
#include <utility>

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
  at_work_ = slots_ = slots.size();
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
  while (gather(slot) && hand_over(slot)) finish_job(slot);
  if (slot.sent > 0) slot.worker.kill();  // nobody asks any more for what was sent ahead
  if (slot.worker.is_started()) end_worker(slot);
  const std::lock_guard lock(mutex_);
  --at_work_;
  ended_.notify_one();
}

// A task to do, and while there are enough for all another one to be sent ahead: its worker then
// never waits for this process.
bool BatchRun::gather(Slot& slot) {
  constexpr size_t kMost = 2;
  const std::lock_guard lock(mutex_);
  while (slot.tasks.empty() && take_next(slot)) {
  }
  while (slot.tasks.size() < kMost && list_.files().size() - next_ >= slots_ && take_next(slot)) {
  }
  return !slot.tasks.empty() && !stops();
}

// False when there are no more.
bool BatchRun::take_next(Slot& slot) {
  if (stops() || next_ == list_.files().size()) return false;
  const ListedFile file = list_.files()[next_++];
  Task task{{list_.name_at(file.place), {}, {}}, file.place};
  if (leads_out(task.job.name)) {
    record(task, report_of(entry_of(task.job, Outcome::kRefused, T_ERR_NAME,
                                    "The name leads out of the base")));
    return true;
  }
  task.job.path = list_.path_of(file.place, task.job.name);
  task.job.output = name_output_(task.job.name, file.hash);
  slot.tasks.push_back(std::move(task));
  return true;
}

// Empty when all is well.
std::string BatchRun::ensure_worker(Slot& slot) {
  if (slot.worker.is_started()) return {};
  if (!slot.worker.start(kWorkerWord)) return last_error_text();
  char word = 0;
  if (slot.worker.receive(&word, 1) && word == kReady) return {};
  return slot.worker.wait();
}

bool BatchRun::send_tasks(Slot& slot) {
  for (; slot.sent < slot.tasks.size(); ++slot.sent) {
    const WorkerJob& job = slot.tasks[slot.sent].job;
    if (slot.sent > 0 && !may_be_sent_ahead(job)) return true;
    if (!send_job(slot.worker, job)) return false;
  }
  return true;
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
    if (send_tasks(slot) && slot.worker.receive(&word, 1)) return true;
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
  for (size_t i = 0; i < slot.sent; ++i)
    sweep_folder(folder_of(in_folder(options_.output, slot.tasks[i].job.output)),
                 temporary_prefix(options_.shard, process));
  slot.sent = 0;
  return how;
}

JournalEntry BatchRun::entry_without_report(Slot& slot) {
  const std::string how = end_worker(slot);
  const WorkerJob& job = slot.tasks.front().job;
  if (!slot.is_late)
    return entry_of(job, Outcome::kCrashed, T_ERR_BAD_DATA,
                    "The work on the file ended with " + how);
  const Failure late = failure_of_seconds({}, options_.seconds + uint64_t{1}, options_.seconds);
  return entry_of(job, Outcome::kRefused, late.status, late.what);
}

void BatchRun::finish_job(Slot& slot) {
  WorkerReport report;
  const bool is_told = receive_report(slot.worker, report);
  if (is_told) {
    const std::lock_guard lock(mutex_);
    slot.is_working = false;
  } else {
    report = report_of(entry_without_report(slot));
  }
  if (slot.worker.is_started() && slot.is_late) end_worker(slot);  // killed while it told
  const Task task = std::move(slot.tasks.front());
  slot.tasks.pop_front();
  if (slot.sent > 0) --slot.sent;
  const std::lock_guard lock(mutex_);
  if (!is_told && is_dropped_) return;
  if (report.kind == WorkerReport::Kind::kSystem) {
    refuse_locked(report.text);
  } else {
    record(task, report);
  }
}

void BatchRun::record(const Task& task, const WorkerReport& report) {
  if (!journal_.append(report.text) || (options_.is_durable && !journal_.sync()))
    return refuse_locked("The journal cannot be written: " + last_error_text());
  if (const auto before = earlier_.find(task.place); before != earlier_.end()) {
    totals_.remove(before->second);
    earlier_.erase(before);
  }
  totals_.add(report.tally);
  if (report.told.empty()) return;
  progress_.wipe();
  tell(task.job.name, report.told);
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
