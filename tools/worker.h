// What a batch and its workers say to each other, and the worker's side of it.
#pragma once

#include <cstdint>
#include <string>

#include "convert_options.h"
#include "journal_line.h"
#include "limit_options.h"
#include "worker_process.h"

namespace tavo::tools {

// The word that makes a worker of the program.
inline constexpr char kWorkerWord[] = "--worker";

struct WorkerOptions {
  ConvertOptions conversion;
  LimitOptions limits;
  std::string output;  // the folder, absolute
  std::string shard;   // for the names of temporary files
  bool is_durable = false;
};

struct WorkerJob {
  std::string name;    // as it is journalled
  std::string path;    // where it is
  std::string output;  // below the folder of the outputs
};

// A worker says kReady when it has started, kTaken to each job, and then how the job ended:
// together with the next kTaken when that job has come by then.
inline constexpr char kReady = 'R';
inline constexpr char kTaken = 'T';

struct WorkerReport {
  enum class Kind : int32_t {
    kLine,    // a line for the journal
    kSystem,  // the system refused what every file needs: no room, no permission
  };
  Kind kind = Kind::kLine;
  Tally tally;
  std::string text;  // the line, or what the system says
  std::string told;  // for people, of what is not ok; may be empty
};

bool send_job(WorkerProcess& worker, const WorkerJob& job);
// Whether a worker may be sent the job while it is busy with another.
bool may_be_sent_ahead(const WorkerJob& job);
bool receive_report(WorkerProcess& worker, WorkerReport& report);

// The entry of a file on which no worker reports.
JournalEntry entry_of(const WorkerJob& job, Outcome outcome, int32_t status,
                      const std::string& text);
WorkerReport report_of(const JournalEntry& entry);

// Takes jobs until there are no more.
int run_worker(const WorkerOptions& options);

}  // namespace tavo::tools
