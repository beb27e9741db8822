// tavo batch: many files, in parts that can be interrupted and gone on with.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include <CLI/CLI.hpp>

#include "batch_run.h"
#include "collisions.h"
#include "convert_options.h"
#include "failure.h"
#include "file_list.h"
#include "format_table.h"
#include "hash.h"
#include "journal_file.h"
#include "limit_options.h"
#include "listed_name.h"
#include "merge.h"
#include "option_checks.h"
#include "page_collisions.h"
#include "program.h"
#include "resume.h"
#include "shard.h"
#include "temporary.h"
#include "worker.h"

namespace tavo::tools {
namespace {

struct BatchOptions {
  ListOptions list;
  MergeOptions merge;
  std::string output;
  ConvertOptions conversion;
  LimitOptions limits;
  std::string shard;
  uint64_t shards = 0;
  int fanout = 0;
  size_t jobs = 0;
  bool resume = false;
  bool force = false;
  bool verify = false;
  bool retry_errors = false;
  bool durable = false;
  bool bad_ok = false;
  bool worker = false;
  uint64_t hash = 0;  // of the options that decide what the outputs are
};

void check_options(const BatchOptions& options) {
  if (!options.list.is_given())
    throw UsageError{"there is nothing to do: neither --list nor a folder is given"};
  if (!options.list.list.empty() && !options.list.folders.empty())
    throw UsageError{"--list and folders exclude each other"};
  if (!options.list.base.empty() && options.list.list.empty())
    throw UsageError{"--base: names of a folder are relative to it"};
  if (options.output.empty()) throw UsageError{"--out must say where the outputs go"};
  if (options.conversion.format.empty()) throw UsageError{"--to must say which format to write"};
  check_conversion_options(options.conversion);
  set_limits(options.limits);  // for the sake of wrong names: the workers read
}

// ---- One shard ----

class Batch {
 public:
  explicit Batch(const BatchOptions& options)
      : options_(options),
        extension_(extensions_of(format_by_name(options.conversion.format)).front()),
        shard_(choose_shard(options.shard, options.shards)),
        output_(absolute_path(options.output)),
        list_(options.list, output_) {
    head_ = {TAVO_VERSION, options.hash, list_.sum_of_hashes(), list_.count(), shard_};
    std::erase_if(list_.files(),
                  [this](const ListedFile& file) { return !shard_.holds(file.hash); });
    // A copy of much the same size would be the most memory of all.
    if (list_.files().size() <= list_.files().capacity() / 2) list_.files().shrink_to_fit();
    check_outputs();
  }

  int run() {
    take_lock();
    open_journal();
    const bool has_work = !list_.files().empty();
    if (has_work || !was_finished_) work();
    if (end_ == RunEnd::kSystemRefused) return kExitEnvironment;
    if (end_ == RunEnd::kInterrupted) return kExitInterrupted;
    return totals_.all_ok() || options_.bad_ok ? kExitOk : kExitFailure;
  }

 private:
  std::string name_output(const std::string& name, uint64_t hash) const {
    return output_name(name, hash, options_.fanout, extension_);
  }
  void check_outputs();
  std::string path() const { return journal_path(output_, shard_); }
  void take_lock();
  void open_journal();
  void begin_journal();
  void resume();
  void sweep();
  void work();

  const BatchOptions& options_;
  std::string extension_;  // of the outputs
  Shard shard_;
  std::string output_;
  FileList list_;
  JournalHead head_;
  LockFile lock_;
  GrowingFile journal_;
  Totals totals_;
  std::unordered_map<uint64_t, Tally> again_;
  bool was_finished_ = false;
  RunEnd end_ = RunEnd::kFinished;
};

void Batch::check_outputs() {
  const auto path_of_output = [this](const std::string& name, uint64_t hash) {
    return in_folder(output_, name_output(name, hash));
  };
  check_collisions(list_, shard_, output_, path_of_output);
  const ConvertOptions& conversion = options_.conversion;
  if (makes_page_files(conversion, format_by_name(conversion.format)))
    check_page_collisions(list_, shard_, path_of_output);
}

void Batch::take_lock() {
  if (!make_folder(journal_folder(output_)))
    throw_system_failure(journal_folder(output_), "The folder cannot be made", T_ERR_CREATE);
  switch (lock_.take(lock_path(path()))) {
    case Taken::kYes:
      return;
    case Taken::kBusy:
      throw Failure{path(), "Another batch is at work on this shard", T_ERR_OPEN};
    case Taken::kNo:
      throw_system_failure(path(), "The journal cannot be locked", T_ERR_OPEN);
  }
}

void Batch::open_journal() {
  const bool is_there = file_kind(path()) != FileKind::kMissing;
  if (is_there && !options_.resume)
    throw UsageError{path() + " is there already; --resume goes on with it"};
  begin_journal();
  resume();
}

// Leaves one with the right first line.
void Batch::begin_journal() {
  JournalReader before(path());
  if (before.first_line() + "\n" == to_line(head_)) return;
  const bool is_there = !before.first_line().empty();
  if (is_there && !options_.force)
    throw UsageError{path() + " is of another list, division or version, or of other options; " +
                     "--resume --force goes on nevertheless"};
  const std::string made = path() + ".new";
  remove_file(made);
  const bool is_made = journal_.open(made) && journal_.append(to_line(head_)) &&
                       (!is_there || copy_lines(before, list_, journal_)) && journal_.sync();
  journal_.close();
  before.close();  // it stays until the new one has all its lines
  if (!is_made || !replace_file(made, path()))
    throw_system_failure(path(), "The journal cannot be written", T_ERR_WRITE);
}

void Batch::resume() {
  if (options_.resume) sweep();
  JournalReader before(path());
  const ResumeOptions options{output_, options_.verify, options_.retry_errors};
  Resumed resumed = take_done(before, options, list_);
  totals_ = resumed.totals;
  again_ = std::move(resumed.again);
  was_finished_ = before.is_finished();
  const bool is_torn = before.whole_size() != before.size();
  if (!journal_.open(path()) || (is_torn && !journal_.cut(before.whole_size())))
    throw_system_failure(path(), "The journal cannot be opened", T_ERR_OPEN);
}

// Temporary files of runs of this shard that were ended, wherever they ran.
void Batch::sweep() {
  const std::string prefix = temporary_prefix(shard_.name());
  std::unordered_set<std::string> folders;
  const auto sweep_once = [&](const std::string& folder) {
    if (folders.insert(folder).second) sweep_folder(folder, prefix);
  };
  sweep_once(output_);
  std::string last;
  list_.for_each([&](uint64_t, const std::string& name) {
    const uint64_t hash = hash_of(name);
    if (!shard_.holds(hash) || leads_out(name)) return;
    std::string folder = folder_of(in_folder(output_, name_output(name, hash)));
    if (folder == last) return;
    sweep_once(folder);
    last = std::move(folder);
  });
}

void Batch::work() {
  std::ranges::sort(list_.files(), {}, &ListedFile::place);  // folder by folder, as they are listed
  const size_t processors = std::max(std::thread::hardware_concurrency(), 1u);
  const RunOptions options{shard_.name(), output_, options_.limits.seconds,
                           options_.jobs != 0 ? options_.jobs : processors, options_.durable};
  BatchRun run(
      options, list_,
      [this](const std::string& name, uint64_t hash) { return name_output(name, hash); }, journal_,
      totals_, std::move(again_));
  end_ = run.run();
  if (end_ == RunEnd::kSystemRefused) return;
  const std::string line = end_line(totals_, end_ == RunEnd::kFinished);
  if (!journal_.append(line) || (options_.durable && !journal_.sync()))
    throw_system_failure(path(), "The journal cannot be written", T_ERR_WRITE);
}

int run_shard(const BatchOptions& options) {
  check_options(options);
  const NotedSignals signals(NotedSignals::kEach);
  ignore_broken_pipes();
  try {
    return Batch(options).run();
  } catch (const Interrupted&) {
    return kExitInterrupted;
  } catch (const Failure& failure) {
    report(failure);
    return kExitEnvironment;
  }
}

int run_as_worker(const BatchOptions& options) {
  const Shard shard = choose_shard(options.shard, options.shards);
  return run_worker({options.conversion, options.limits, absolute_path(options.output),
                     shard.name(), options.durable});
}

int run_batch(const BatchOptions& options) {
  if (options.worker) return run_as_worker(options);
  if (!options.merge.output.empty() && options.verify)
    throw UsageError{"--verify goes with --resume: --merge reads nothing but the journals"};
  if (!options.merge.output.empty()) return run_merge(options.merge, options.list, options.bad_ok);
  return run_shard(options);
}

// ---- The command ----

void add_list_options(CLI::App& command, BatchOptions& options) {
  command.add_option("DIR", options.list.folders,
                     "Folders, of which all files below are taken, but for outputs and what is "
                     "reached through links to folders");
  command
      .add_option("--list", options.list.list,
                  "File with the names of the files to read, one a line; \"-\" is standard input")
      ->type_name("FILE");
  command.add_flag("-0", options.list.ends_in_zero,
                   "Names in the list end in a zero byte, not in a line feed");
  command
      .add_option("--base", options.list.base,
                  "Folder to which names of the list are relative, the current one without this "
                  "option. A name that leads out of it is refused")
      ->type_name("DIR");
  command
      .add_option("-o,--out", options.output,
                  "Folder for the outputs, which are called like the inputs, folders included, "
                  "with the extension of the format. The journal is in its folder .journal")
      ->type_name("DIR");
  command
      .add_option("-f,--format,--to", options.conversion.format,
                  "Format to write, as \"tavo convert\" takes it")
      ->type_name("F");
}

void add_run_options(CLI::App& command, BatchOptions& options) {
  command
      .add_option("--shard", options.shard,
                  "The part of the list to do: part i of n, from 0, or env: what Slurm "
                  "(SLURM_ARRAY_TASK_ID, SLURM_ARRAY_TASK_COUNT) or Kubernetes "
                  "(JOB_COMPLETION_INDEX) say. A name's hash decides to which part it belongs")
      ->type_name("I/N|env");
  command.add_option("--shards", options.shards, "How many parts there are, for --shard env")
      ->check(whole_number(1, INT32_MAX))
      ->type_name("N");
  command.add_flag("--resume", options.resume,
                   "Go on with a journal that is there: what it has is not done again, unless an "
                   "output is missing or has another size");
  command.add_flag("--force", options.force,
                   "With --resume, even if options, list, division or version have changed");
  command.add_flag(
      "--verify", options.verify,
      "With --resume, compare the hashes of outputs, and size and time of inputs, too");
  command.add_flag("--retry-errors", options.retry_errors,
                   "With --resume, do again what was error, crashed or refused");
  command
      .add_option("-j,--jobs", options.jobs,
                  "Files worked on at a time, each by a process of its own; as many as there are "
                  "processors without this option")
      ->check(whole_number(1, 4096))
      ->type_name("N");
  command.add_flag("--durable", options.durable,
                   "Wait until each file is on the disk before the journal tells of it");
  command.add_flag("--bad-ok", options.bad_ok, "Exit status 0 even if some files are not ok");
  command.add_flag(kWorkerWord, options.worker)->group("");
}

void add_merge_options(CLI::App& command, BatchOptions& options) {
  command
      .add_option("--merge", options.merge.output,
                  "Nothing is converted: sum up the journals of this folder of outputs, and tell "
                  "whether they cover the list. With --list or DIR, names that are missing are "
                  "told")
      ->type_name("OUT");
  command.add_flag("--json", options.merge.json, "With --merge, print a JSON object");
  command.add_option("--report", options.merge.report, "With --merge, write a page to look at")
      ->type_name("FILE.html");
}

// Neither how the work is divided and done, nor where the files are. The order of the line counts:
// pictures may be worked on in it.
uint64_t hash_of_options(const CLI::App& command, const std::vector<const CLI::Option*>& conversion,
                         const BatchOptions& options) {
  std::vector<std::string> texts = {
      "to=" + std::to_string(format_by_name(options.conversion.format).Id),
      "fanout=" + std::to_string(options.fanout)};
  for (const CLI::Option* option : command.parse_order()) {
    if (std::ranges::count(conversion, option) == 0) continue;
    std::string text = option->get_name();
    for (const std::string& value : option->results()) text += "=" + value;
    texts.push_back(text);
  }
  std::string all;
  for (const std::string& text : texts) all += text + '\0';
  return hash_of(all);
}

}  // namespace

void add_batch(CLI::App& app, Action& action) {
  auto options = std::make_shared<BatchOptions>();
  CLI::App* command = app.add_subcommand("batch", "Convert many files, in parts if need be");
  add_list_options(*command, *options);
  add_run_options(*command, *options);
  add_merge_options(*command, *options);
  command
      ->add_option("--fanout", options->fanout,
                   "Put outputs behind so many folders of two digits, of the name's hash, where "
                   "one folder would hold too many: 1 to 3")
      ->check(whole_number(1, 3))
      ->type_name("L");
  const size_t own = command->get_options().size();
  add_conversion_options(*command, options->conversion);
  command->remove_option(command->get_option("--append"));
  add_limit_options(*command, options->limits);
  const auto all = std::as_const(*command).get_options();
  const std::vector<const CLI::Option*> conversion(all.begin() + static_cast<ptrdiff_t>(own),
                                                   all.end());
  command->footer(
      "Every file has a line in the journal, OUT/.journal/I-of-N.ndjson: ok, partial, skipped (no\n"
      "picture), refused (a limit, the mask, a name outside), error or crashed. Bad files do not\n"
      "stop the others. Exit status: 0 all ok, 1 some are not, 2 the command line is wrong, or a\n"
      "journal is of another run, 3 the system refused (no room, no permission) or the shard is\n"
      "in work, 75 interrupted (TERM, INT, USR1), or with --merge not covered; after 3 and 75\n"
      "--resume goes on. Examples:\n"
      "  tavo batch scans --out archive --to group4\n"
      "  find . -name '*.pcx' -print0 | tavo batch --list - -0 --out tif --to tif\n"
      "  tavo batch --list all.txt --out /data/out --to jpg --shard env --resume\n"
      "  tavo batch --merge /data/out --list all.txt --report report.html");
  command->callback([options, conversion, command, &action] {
    action = [options, conversion, command] {
      if (options->merge.output.empty() && !options->conversion.format.empty())
        options->hash = hash_of_options(*command, conversion, *options);
      return run_batch(*options);
    };
  });
}

}  // namespace tavo::tools
