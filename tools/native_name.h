// Files by their names where the C and C++ libraries open them. Names are UTF-8 on Windows and
// bytes elsewhere, as everywhere in the program.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace tavo::tools {

std::filesystem::path native_name(const std::string& path);
std::FILE* open_stream(const std::string& path, const char* mode);

}  // namespace tavo::tools
