#include "text.h"

#include <windows.h>

#include "tavo45.h"

namespace viewer {

std::wstring widen(std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int room = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<size_t>(room), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), room);
  return wide;
}

std::string narrow(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  const int room = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(room), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), room, nullptr, nullptr);
  return bytes;
}

std::wstring last_name(const std::wstring& path) {
  return path.substr(path.find_last_of(L"\\/:") + 1);
}

std::wstring failure_sentence() {
  char text[300] = "";
  T_GetErrorText(text, sizeof text);
  return widen(text) + L".";
}

}  // namespace viewer
