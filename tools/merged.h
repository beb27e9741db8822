// The journals of a folder of outputs, read together.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "file_list.h"
#include "journal_line.h"

namespace tavo::tools {

struct Merged {
  Totals totals;
  std::vector<std::string> missing{};
  std::vector<std::string> twice{};
  std::vector<std::string> unfinished{};    // "3-of-8"
  std::vector<std::string> faults{};        // of the journals as a whole
  std::map<std::string, uint64_t> texts{};  // of what is not ok, and how often
  uint64_t shards = 0;

  bool is_covered() const {
    return missing.empty() && twice.empty() && unfinished.empty() && faults.empty();
  }
};

// UsageError when there are no journals. `list` may be none: then the first lines tell what there
// should be.
Merged merge_journals(const std::string& output, FileList* list);

}  // namespace tavo::tools
