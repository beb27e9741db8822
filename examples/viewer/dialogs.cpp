// Files to open and to save to, and printers, as the user chooses them.
#include <windows.h>

#include <commdlg.h>
#include <shlwapi.h>

#include <algorithm>

#include "viewer.h"

namespace {

constexpr int32_t kQuality = 60;

// Those that can be read or written, and have files of their own.
std::vector<T_Format> formats(int32_t T_Format::*is_able) {
  std::vector<T_Format> found;
  T_Format format;
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i)
    if (format.*is_able != 0 && format.Extensions[0] != 0) found.push_back(format);
  return found;
}

// "*.tif;*.tiff"
std::wstring patterns(const T_Format& format) {
  std::wstring text;
  for (const char letter : "*." + std::string(format.Extensions))
    text += letter == ' ' ? L";*." : std::wstring(1, letter);
  return text;
}

// Pairs of a text and patterns, as the dialogues take them.
std::wstring filters(const std::vector<T_Format>& choices) {
  std::wstring text;
  for (const T_Format& format : choices)
    text += widen(format.Name) + L" (" + patterns(format) + L")" + L'\0' + patterns(format) + L'\0';
  return text;
}

// The names that were chosen, each with a zero behind it, and after the last one another zero.
std::wstring ask(BOOL(WINAPI* dialogue)(OPENFILENAMEW*), HWND owner, const std::wstring& filter,
                 DWORD flags, DWORD& chosen) {
  std::wstring names(1 << 16, L'\0');
  OPENFILENAMEW request = {};
  request.lStructSize = sizeof request;
  request.hwndOwner = owner;
  request.lpstrFilter = filter.c_str();
  request.nFilterIndex = 1;
  request.lpstrFile = names.data();
  request.nMaxFile = static_cast<DWORD>(names.size());
  request.Flags = flags | OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  request.lpstrDefExt = L"bmp";  // that of the chosen filter comes before it
  if (!dialogue(&request)) return {};
  chosen = request.nFilterIndex;
  return names;
}

// With the picture's own depth, or else one that the format has.
int32_t save(const std::string& name, BitmapHandle& bitmap, const T_Format& format) {
  // Only JPEG and CMP take these depths, and they take 8 bits for grey.
  constexpr uint32_t kLossy = 1u << 4 | 1u << 16;
  const bool is_lossy = (format.WriteDepths & kLossy) == kLossy;
  const bool is_gray = (bitmap.Flags & T_FLAG_GRAY) != 0;
  const int32_t own = is_lossy && !is_gray ? 24 : bitmap.BitsPerPixel;
  int32_t status = T_ERR_DEPTH;
  T_SetPageNumber(1);
  for (const int32_t depth : {own, own > 8 ? 24 : 8, 8, 1}) {
    if (status != T_ERR_DEPTH) break;
    status =
        T_SaveFile(name.c_str(), &bitmap, format.Id, depth, kQuality, T_SAVE_KEEP_RESOLUTION, 0, 0);
  }
  return status;
}

}  // namespace

void Viewer::open_chosen() {
  const auto choices = formats(&T_Format::CanRead);
  std::wstring all;
  for (const T_Format& format : choices) all += patterns(format) + L';';
  const std::wstring filter = L"All pictures" + (L'\0' + all) + L'\0' + filters(choices) +
                              L"All files" + L'\0' + L"*.*" + L'\0';
  DWORD chosen = 0;
  const std::wstring names =
      ask(GetOpenFileNameW, window, filter, OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST, chosen);
  std::vector<std::wstring> paths;
  for (const wchar_t* at = names.c_str(); *at != 0; at += paths.back().size() + 1)
    paths.push_back(at);
  // Of several the first is the folder.
  for (size_t i = 1; i < paths.size(); ++i) paths[i] = paths[0] + L'\\' + paths[i];
  if (paths.size() > 1) paths.erase(paths.begin());
  open(std::move(paths));
}

// In the format that is chosen, or another whose extension the name has.
void Viewer::save_as() {
  const auto choices = formats(&T_Format::CanWrite);
  DWORD chosen = 0;
  const std::wstring path = ask(GetSaveFileNameW, window, filters(choices),
                                OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST, chosen)
                                .c_str();
  if (path.empty()) return;
  const auto is_named = [&path](const T_Format& format) {
    return PathMatchSpecW(path.c_str(), patterns(format).c_str()) != 0;
  };
  T_Format format = choices[std::clamp<size_t>(chosen, 1, choices.size()) - 1];
  for (const T_Format& other : choices)
    if (!is_named(format) && is_named(other)) format = other;
  report(save(narrow(path), bitmap, format));
}

void Viewer::print() {
  PRINTDLGW request = {};
  request.lStructSize = sizeof request;
  request.hwndOwner = window;
  request.Flags = PD_RETURNDC | PD_NOPAGENUMS | PD_NOSELECTION | PD_USEDEVMODECOPIESANDCOLLATE;
  if (!PrintDlgW(&request)) return;
  const char* const output = (request.Flags & PD_PRINTTOFILE) != 0 ? "FILE:" : nullptr;
  report(T_PrintBitmapExt(&bitmap, request.hDC, nullptr, nullptr, T_PRINT_FIT | T_PRINT_CENTER,
                          SRCCOPY, narrow(file_name()).c_str(), output));
  DeleteDC(request.hDC);
  GlobalFree(request.hDevMode);
  GlobalFree(request.hDevNames);
}
