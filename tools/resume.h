// What a journal that is there leaves to be done.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "file_list.h"
#include "journal_file.h"
#include "journal_line.h"
#include "system.h"

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
};

// Takes the files that are done out of the list.
Resumed take_done(JournalReader& journal, const ResumeOptions& options, FileList& list);

// Those of the journal's lines that are about files of the list, for one that goes on under another
// first line. False when the system refuses.
bool copy_lines(JournalReader& journal, FileList& list, GrowingFile& to);

}  // namespace tavo::tools
