// What is written from the description of the command line while that is built.
#pragma once

#include <string>

#include "cli_app.h"

namespace tavo::tools {

// Write what their files say; false when that fails.
bool write_man_page(const std::string& place, const CLI::App& app);
bool write_completions(const std::string& folder, CLI::App& app);

}  // namespace tavo::tools
