// Pages that go to files of their own, where another input of a batch has its output.
#pragma once

#include <functional>
#include <string>

#include "file_list.h"
#include "shard.h"

namespace tavo::tools {

// For outputs in a format without pages: UsageError when a page of one input, m.tif say, and
// another input, m.page2.tif, would be one file, and the shard holds one of the two. Of the inputs
// only those are looked into that another one's name could meet. `path_of_output` as for
// check_collisions.
void check_page_collisions(
    FileList& list, const Shard& shard,
    const std::function<std::string(const std::string& name, uint64_t hash)>& path_of_output);

}  // namespace tavo::tools
