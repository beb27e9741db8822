// What the journals of all shards say together.
#pragma once

#include <string>

#include "file_list.h"

namespace tavo::tools {

struct MergeOptions {
  std::string output;  // the folder of the outputs; empty: nothing is merged
  std::string report;  // a page to write
  bool json = false;
};

// The exit status: covered and all ok, covered, not covered.
int run_merge(const MergeOptions& options, const ListOptions& list, bool bad_ok);

}  // namespace tavo::tools
