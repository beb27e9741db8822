// One page about a batch, to look at.
#pragma once

#include <string>

#include "merged.h"

namespace tavo::tools {

void write_report(const std::string& path, const Merged& merged);

}  // namespace tavo::tools
