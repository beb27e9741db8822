#include "dialogs.h"

#include <commdlg.h>

#include <algorithm>
#include <cwchar>
#include <sstream>

#include "text.h"

namespace viewer {
namespace {

constexpr size_t kRoom = 1 << 16;  // characters for the names of many files

template <typename Condition>
std::vector<T_Format> formats(Condition is_wanted) {
  std::vector<T_Format> found;
  T_Format format;
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i) {
    const auto is_same = [&format](const T_Format& other) {
      return std::string_view(other.Name) == format.Name;
    };
    if (is_wanted(format) && std::ranges::none_of(found, is_same)) found.push_back(format);
  }
  return found;
}

std::vector<std::wstring> extensions(const T_Format& format) {
  std::wistringstream words(widen(format.Extensions));
  std::vector<std::wstring> found;
  for (std::wstring word; words >> word;) found.push_back(word);
  return found;
}

// "*.tif;*.tiff"
std::wstring patterns(const T_Format& format) {
  std::wstring text;
  for (const std::wstring& extension : extensions(format))
    text += (text.empty() ? L"*." : L";*.") + extension;
  return text;
}

void add_filter(std::wstring& filter, const std::wstring& name, const std::wstring& pattern) {
  filter += name + L'\0' + pattern + L'\0';
}

void add_filters(std::wstring& filter, const std::vector<T_Format>& choices) {
  for (const T_Format& format : choices)
    add_filter(filter, widen(format.Name) + L" (" + patterns(format) + L")", patterns(format));
}

OPENFILENAMEW request(HWND owner, const std::wstring& filter, std::wstring& names) {
  OPENFILENAMEW ask = {};
  ask.lStructSize = sizeof ask;
  ask.hwndOwner = owner;
  ask.lpstrFilter = filter.c_str();
  ask.nFilterIndex = 1;
  ask.lpstrFile = names.data();
  ask.nMaxFile = static_cast<DWORD>(names.size());
  ask.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  return ask;
}

// One path, or a folder and names in it, each ended by a zero and the whole by another.
std::vector<std::wstring> split_names(const std::wstring& names) {
  const wchar_t* at = names.c_str();
  const std::wstring first = at;
  std::vector<std::wstring> paths;
  for (at += first.size() + 1; *at != 0; at += std::wcslen(at) + 1)
    paths.push_back(first + L"\\" + at);
  return paths.empty() ? std::vector{first} : paths;
}

// By the extension of the name; without one that is known, what the list says, and its extension.
Target target_of(const std::wstring& path, const std::vector<T_Format>& choices, DWORD chosen) {
  const size_t dot = last_name(path).find_last_of(L'.');
  std::wstring ending = dot == std::wstring::npos ? L"" : last_name(path).substr(dot + 1);
  CharLowerW(ending.data());
  for (const T_Format& format : choices)
    if (std::ranges::count(extensions(format), ending) != 0) return {path, format};
  const T_Format& format = choices[std::min<size_t>(chosen, choices.size()) - 1];
  return {path + L"." + extensions(format).front(), format};
}

}  // namespace

std::vector<std::wstring> ask_files_to_open(HWND owner) {
  const auto choices = formats(
      [](const T_Format& format) { return format.CanRead != 0 && format.Extensions[0] != 0; });
  std::wstring all;
  for (const T_Format& format : choices) all += (all.empty() ? L"" : L";") + patterns(format);
  std::wstring filter;
  add_filter(filter, L"All pictures", all);
  add_filters(filter, choices);
  add_filter(filter, L"All files", L"*.*");
  std::wstring names(kRoom, L'\0');
  OPENFILENAMEW ask = request(owner, filter, names);
  ask.Flags |= OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST;
  return GetOpenFileNameW(&ask) ? split_names(names) : std::vector<std::wstring>();
}

Target ask_file_to_save(HWND owner) {
  const auto choices = formats(
      [](const T_Format& format) { return format.CanWrite != 0 && format.Extensions[0] != 0; });
  std::wstring filter;
  add_filters(filter, choices);
  std::wstring names(kRoom, L'\0');
  OPENFILENAMEW ask = request(owner, filter, names);
  ask.Flags |= OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST;
  if (!GetSaveFileNameW(&ask)) return {};
  return target_of(names.c_str(), choices, ask.nFilterIndex);
}

HDC ask_printer(HWND owner) {
  PRINTDLGW ask = {};
  ask.lStructSize = sizeof ask;
  ask.hwndOwner = owner;
  ask.Flags = PD_RETURNDC | PD_NOPAGENUMS | PD_NOSELECTION | PD_USEDEVMODECOPIESANDCOLLATE;
  const bool is_chosen = PrintDlgW(&ask) != 0;
  if (ask.hDevMode != nullptr) GlobalFree(ask.hDevMode);
  if (ask.hDevNames != nullptr) GlobalFree(ask.hDevNames);
  return is_chosen ? ask.hDC : nullptr;
}

}  // namespace viewer
