// What all commands that read pictures can be told about it.
#pragma once

#include "cli_app.h"

namespace tavo::tools {

void add_load_options(CLI::App& command);

}  // namespace tavo::tools
