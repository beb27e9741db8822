// Text between the library, which takes UTF-8, and Windows.
#pragma once

#include <string>
#include <string_view>

namespace viewer {

std::wstring widen(std::string_view text);
std::string narrow(std::wstring_view text);
// "a.tif" of "C:\scans\a.tif".
std::wstring last_name(const std::wstring& path);
// Why the library's last call failed, as a sentence.
std::wstring failure_sentence();

}  // namespace viewer
