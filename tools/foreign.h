// Files in which the library finds no picture.
#pragma once

#include <string>

namespace tavo::tools {

// What such a file is, and why it is not read, by its first bytes; empty when they say nothing.
std::string why_not_read(const std::string& path);

}  // namespace tavo::tools
