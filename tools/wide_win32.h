// Text and names for the calls of Windows, which the program keeps as UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace tavo::tools {

std::wstring widen(std::string_view text);
std::string narrow(std::wstring_view text);
// A name for the calls that open files: of any length.
std::wstring wide_path(const std::string& path);
// The absolute path of what a name stands for; empty when it stands for nothing.
std::wstring full_path(const std::wstring& path);

// While it lives, a console shows what is written as UTF-8.
class Utf8Console {
 public:
  Utf8Console();
  ~Utf8Console();
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;

 private:
  unsigned before_;
};

}  // namespace tavo::tools
