// A picture viewer for Windows: shows what the library reads, and uses its display functions the
// way a program does.
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include "resource.h"
#include "window.h"

namespace {

std::vector<std::wstring> files_of_command_line() {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::wstring> files;
  for (int i = 1; i < count; ++i) files.emplace_back(words[i]);
  LocalFree(words);
  return files;
}

// As other programs understand these files.
void set_up_library() {
  T_SetNameEncoding(1);
  T_SetGIFDepth(1);
  T_SetGIFFrames(1);
  T_SetRASVariant(1);
  T_SetUnknownResolution(1);
  T_EnableScaleToGray(1);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
  InitCommonControls();
  set_up_library();
  viewer::Window window;
  if (!window.create(instance, show)) return 1;
  window.open(files_of_command_line());
  const HACCEL keys = LoadAcceleratorsW(instance, MAKEINTRESOURCEW(IDR_VIEWER));
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (TranslateAcceleratorW(window.handle(), keys, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return 0;
}
