// One file to another format.
#pragma once

#include <string>

#include "convert_options.h"

namespace tavo::tools {

// Converts `input` to `output`. kExitOk, or kExitPartial when the options allow it and something
// of the input could not be read. Failure when nothing was written, but for what came before.
int convert_file(const ConvertOptions& options, const std::string& input,
                 const std::string& output);

}  // namespace tavo::tools
