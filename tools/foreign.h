// Files of formats that the library does not read.
#pragma once

#include <string>

namespace tavo::tools {

// "a PNG file", by the first bytes of the file; empty when they say nothing.
std::string foreign_kind(const std::string& path);

}  // namespace tavo::tools
