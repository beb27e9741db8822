// What a journal that is there leaves to be done.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "file_list.h"
#include "journal_file.h"
#include "journal_line.h"

namespace tavo::tools {

struct ResumeOptions {
  std::string output;  // the folder
  bool verifies = false;
  bool retries_errors = false;
};

struct Resumed {
  Totals totals;  // of all last lines
  // Of those that are done again what the totals count, by their places in the list.
  std::unordered_map<uint64_t, Tally> again;
  std::string kept_lines;  // for a journal that goes on under another first line
};

// Takes the files that are done out of the list. `keeps_lines`: the last line of each is wanted.
Resumed take_done(JournalReader& journal, const ResumeOptions& options, bool keeps_lines,
                  FileList& list);

}  // namespace tavo::tools
