#include "wide_win32.h"

#include <windows.h>

#include "native_name.h"

namespace tavo::tools {

std::wstring widen(std::string_view text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(
      static_cast<size_t>(::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string narrow(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  std::string bytes(static_cast<size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), size,
                                                              nullptr, 0, nullptr, nullptr)),
                    '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), static_cast<int>(bytes.size()),
                        nullptr, nullptr);
  return bytes;
}

std::wstring full_path(const std::wstring& path) {
  std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(
      ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full;
}

std::wstring wide_path(const std::string& path) {
  // The name of a folder must leave room for a short file name in it.
  constexpr size_t kShort = MAX_PATH - 12;
  const std::wstring wide = widen(path);
  const std::wstring full = wide.size() < kShort ? std::wstring() : full_path(wide);
  if (full.empty() || full.starts_with(L"\\\\?\\")) return wide;
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::filesystem::path native_name(const std::string& path) { return wide_path(path); }

std::FILE* open_stream(const std::string& path, const char* mode) {
  return ::_wfopen(wide_path(path).c_str(), widen(mode).c_str());
}

Utf8Console::Utf8Console() : before_(::GetConsoleOutputCP()) { ::SetConsoleOutputCP(CP_UTF8); }
Utf8Console::~Utf8Console() { ::SetConsoleOutputCP(before_); }

}  // namespace tavo::tools
