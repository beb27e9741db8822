// Outputs of a batch that would be one file, or one of its inputs.
#pragma once

#include <functional>
#include <string>

#include "file_list.h"
#include "shard.h"

namespace tavo::tools {

// UsageError when an output of the shard is also that of another name of the whole list, or one of
// its inputs, or when another shard would write over an input of this one. `path_of_output` gives
// the path of a name's output; `output` is the folder of all.
void check_collisions(
    FileList& list, const Shard& shard, const std::string& output,
    const std::function<std::string(const std::string& name, uint64_t hash)>& path_of_output);

}  // namespace tavo::tools
