// The system's dialogues.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tavo45.h"

namespace viewer {

// Empty when the user cancels.
std::vector<std::wstring> ask_files_to_open(HWND owner);

struct Target {
  std::wstring path;  // empty when the user cancels
  T_Format format;
};
Target ask_file_to_save(HWND owner);

// A device context to delete, null when the user cancels.
HDC ask_printer(HWND owner);

}  // namespace viewer
