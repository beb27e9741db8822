// The work of one shard: workers, the journal, and how it ends.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "batch_progress.h"
#include "file_list.h"
#include "journal_line.h"
#include "system.h"
#include "worker.h"

namespace tavo::tools {

struct RunOptions {
  std::string shard;
  std::string output;
  uint32_t seconds = 0;  // for each file, 0: any time
  size_t jobs = 1;
  bool is_durable = false;
};

enum class RunEnd { kFinished, kInterrupted, kSystemRefused };

class BatchRun {
 public:
  // `name_output` gives the output of a listed name, below the folder of the outputs.
  using NameOutput = std::function<std::string(const std::string& name, uint64_t hash)>;

  // `totals`: of what is journalled. `earlier`: of that the tallies of files that are done again,
  // by their places.
  BatchRun(const RunOptions& options, FileList& list, NameOutput name_output, GrowingFile& journal,
           Totals& totals, std::unordered_map<uint64_t, Tally> earlier)
      : options_(options),
        list_(list),
        name_output_(std::move(name_output)),
        journal_(journal),
        totals_(totals),
        earlier_(std::move(earlier)) {}

  // Works through all files of the list.
  RunEnd run();

 private:
  using Clock = std::chrono::steady_clock;

  struct Task {
    WorkerJob job;
    uint64_t place = 0;
  };

  struct Slot {
    WorkerProcess worker;
    std::deque<Task> tasks;  // the one in hand, or next to be, and one that is sent ahead
    size_t sent = 0;         // of them
    Clock::time_point deadline = Clock::time_point::max();
    bool is_working = false;  // the worker has a job in hand, and is not waited for
    bool is_late = false;     // it is killed
  };

  void work(Slot& slot);
  bool stops() const { return is_interrupted_ || is_refused_; }
  bool gather(Slot& slot);
  bool take_next(Slot& slot);
  std::string ensure_worker(Slot& slot);
  bool send_tasks(Slot& slot);
  bool hand_over(Slot& slot);
  void finish_job(Slot& slot);
  std::string end_worker(Slot& slot);
  JournalEntry entry_without_report(Slot& slot);
  void record(const Task& task, const WorkerReport& report);
  void refuse(const std::string& what);
  void refuse_locked(const std::string& what);
  void watch(std::vector<Slot>& slots);
  void end_late_workers(std::vector<Slot>& slots, bool all);

  const RunOptions& options_;
  FileList& list_;
  NameOutput name_output_;
  GrowingFile& journal_;
  Totals& totals_;
  std::unordered_map<uint64_t, Tally> earlier_;

  std::mutex mutex_;  // of all below, the list, the journal and the slots' times
  std::condition_variable ended_;
  BatchProgress progress_;
  size_t slots_ = 0;
  size_t next_ = 0;
  size_t at_work_ = 0;  // threads
  bool is_interrupted_ = false;
  bool is_dropped_ = false;  // even the files in hand
  bool is_refused_ = false;
};

}  // namespace tavo::tools
