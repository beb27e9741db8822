// A picture viewer for Windows: shows what the library reads, and uses its display functions the
// way a program does.
#include <windows.h>

#include <cstdlib>

#include "viewer.h"

namespace {

constexpr LONG kStep = 64;  // pixels that a key moves the picture

void zoom_in(Viewer& v) { v.zoom(v.scale * 1.25, v.middle()); }
void zoom_out(Viewer& v) { v.zoom(v.scale * 0.8, v.middle()); }
void copy(Viewer& v) { v.report(T_CopyToClipboard(&v.bitmap, v.window)); }

// A row of the menus: a title begins one, and an empty text is a line in it. What has no text comes
// by its key alone. Commands have the numbers of their rows.
struct Command {
  const wchar_t* text;
  BYTE modifiers = 0;
  WORD key = 0;
  void (*run)(Viewer& v) = nullptr;
  bool needs_picture = true;
};
constexpr bool kAlways = false;
constexpr Command kCommands[] = {
    {L"&File"},
    {L"&Open...\tCtrl+O", FCONTROL, 'O', [](Viewer& v) { v.open_chosen(); }, kAlways},
    {L"Save &as...\tCtrl+S", FCONTROL, 'S', [](Viewer& v) { v.save_as(); }},
    {L""},
    {L"Ac&quire...", 0, 0, [](Viewer& v) { v.take(true); }, kAlways},
    {L"Select so&urce...", 0, 0, [](Viewer& v) { v.report(T_TwainSelect(v.window)); }, kAlways},
    {L""},
    {L"&Print...\tCtrl+P", FCONTROL, 'P', [](Viewer& v) { v.print(); }},
    {L""},
    {L"E&xit\tAlt+F4", 0, 0, [](Viewer& v) { DestroyWindow(v.window); }, kAlways},
    {L"&Edit"},
    {L"&Copy\tCtrl+C", FCONTROL, 'C', copy},
    {L"&Paste\tCtrl+V", FCONTROL, 'V', [](Viewer& v) { v.take(false); }, kAlways},
    {L"&View"},
    {L"Zoom &in\t+", 0, VK_OEM_PLUS, zoom_in},
    {nullptr, FSHIFT, VK_OEM_PLUS, zoom_in},
    {nullptr, 0, VK_ADD, zoom_in},
    {L"Zoom &out\t-", 0, VK_OEM_MINUS, zoom_out},
    {nullptr, 0, VK_SUBTRACT, zoom_out},
    {L"&Actual size\t1", 0, '1', [](Viewer& v) { v.zoom(1, v.middle()); }},
    {L"&Whole picture\t0", 0, '0', [](Viewer& v) { v.fit(); }},
    {L""},
    {L"&Next page\tPgDn", 0, VK_NEXT, [](Viewer& v) { v.turn_page(1); }, kAlways},
    {L"&Previous page\tPgUp", 0, VK_PRIOR, [](Viewer& v) { v.turn_page(-1); }, kAlways},
    {L"Next &file\tCtrl+PgDn", FCONTROL, VK_NEXT, [](Viewer& v) { v.turn_file(1); }, kAlways},
    {L"Previous fi&le\tCtrl+PgUp", FCONTROL, VK_PRIOR, [](Viewer& v) { v.turn_file(-1); }, kAlways},
    {nullptr, 0, VK_LEFT, [](Viewer& v) { v.pan_or_turn(kStep); }, kAlways},
    {nullptr, 0, VK_RIGHT, [](Viewer& v) { v.pan_or_turn(-kStep); }, kAlways},
    {nullptr, 0, VK_UP, [](Viewer& v) { v.pan(0, kStep); }},
    {nullptr, 0, VK_DOWN, [](Viewer& v) { v.pan(0, -kStep); }},
    {L"&Picture"},
    {L"Rotate &right\tR", 0, 'R', [](Viewer& v) { v.change(T_RotateBitmap, 90); }},
    {L"Rotate &left\tL", 0, 'L', [](Viewer& v) { v.change(T_RotateBitmap, 270); }},
    {L"&Mirror\tM", 0, 'M', [](Viewer& v) { v.change(T_ReverseBitmap); }},
    {L"&Upside down\tU", 0, 'U', [](Viewer& v) { v.change(T_FlipBitmap); }},
    {L""},
    {L"&Invert", 0, 0, [](Viewer& v) { v.change(T_InvertBitmap); }},
    {L"&Grey", 0, 0, [](Viewer& v) { v.change(T_GrayScaleBitmap); }},
    {L"&Sharpen", 0, 0, [](Viewer& v) { v.change(T_SharpenBitmap, 500); }},
    {L"&Equalize", 0, 0, [](Viewer& v) { v.change(T_HistoEqualizeBitmap); }},
    {L"Effec&t"},
};

// Behind them, in the last menu, those that play the effects from T_EFFECT_WIPE_RIGHT on.
constexpr const wchar_t* kEffects[] = {
    L"Wipe &right",    L"Wipe &left",       L"Wipe &down",         L"Wipe &up",      L"Box &out",
    L"Box &in",        L"&Vertical blinds", L"&Horizontal blinds", L"&Checkerboard", L"Di&ssolve",
    L"Split &columns", L"Split &rows",      L"Dia&gonal",          L"S&piral"};

void add_commands(HMENU bar, std::vector<ACCEL>& keys) {
  HMENU menu = nullptr;
  WORD id = 0;
  for (const Command& command : kCommands) {
    if (command.run == nullptr && command.text[0] != 0) {
      menu = CreatePopupMenu();
      AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(menu), command.text);
    } else if (command.text != nullptr) {
      AppendMenuW(menu, command.run != nullptr ? MF_STRING : MF_SEPARATOR, id, command.text);
    }
    const BYTE modifiers = command.modifiers | FVIRTKEY;
    if (command.key != 0) keys.push_back({modifiers, command.key, id});
    ++id;
  }
  for (const wchar_t* const effect : kEffects) AppendMenuW(menu, MF_STRING, id++, effect);
}

}  // namespace

void Viewer::run_command(WORD id) {
  const size_t count = std::size(kCommands);
  if (id >= count) return play(static_cast<int32_t>(id - count) + T_EFFECT_WIPE_RIGHT);
  const Command& command = kCommands[id];
  if (command.run != nullptr && (has_picture() || !command.needs_picture)) command.run(*this);
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
  // Files are read as other programs understand them.
  T_SetNameEncoding(1);
  T_SetGIFDepth(1);
  T_SetGIFFrames(1);
  T_SetRASVariant(1);
  T_SetUnknownResolution(1);
  T_EnableScaleToGray(1);
  const HMENU menu = CreateMenu();
  std::vector<ACCEL> keys;
  add_commands(menu, keys);
  const HACCEL table = CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size()));
  Viewer viewer;
  if (!viewer.create(instance, menu, show)) return 1;
  viewer.open({__wargv + 1, __wargv + __argc});
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (TranslateAcceleratorW(viewer.window, table, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return 0;
}
