// The window: messages, where the picture stands in it, painting, and what it tells.
#include <windows.h>

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>

#include "viewer.h"

namespace {

constexpr wchar_t kProgram[] = L"TAVO45 Viewer";
constexpr COLORREF kBackground = RGB(64, 66, 70);
constexpr COLORREF kText = RGB(235, 235, 235);
constexpr UINT_PTR kRestTimer = 1;
constexpr UINT kRest = 150;     // milliseconds without movement
constexpr int32_t kBlock = 24;  // of an effect, in pixels
constexpr int32_t kDelay = 15;  // between its steps, in milliseconds

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM word, LPARAM value) {
  auto* const viewer = reinterpret_cast<Viewer*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return viewer != nullptr ? viewer->handle(message, word, value)
                           : DefWindowProcW(window, message, word, value);
}

LONG scaled(LONG pixels, double scale) { return std::max(1L, std::lround(pixels * scale)); }

// Centred when there is room, else without a gap at either side.
LONG placed(LONG at, LONG extent, LONG room) {
  return extent <= room ? (room - extent) / 2 : std::clamp(at, room - extent, 0L);
}

}  // namespace

bool Viewer::create(HINSTANCE instance, HMENU menu, int show) {
  WNDCLASSW about = {};
  about.lpfnWndProc = procedure;
  about.hInstance = instance;
  about.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  about.lpszClassName = L"TavoViewer";
  RegisterClassW(&about);
  window = CreateWindowExW(WS_EX_ACCEPTFILES, about.lpszClassName, kProgram,
                           WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, CW_USEDEFAULT,
                           CW_USEDEFAULT, CW_USEDEFAULT, nullptr, menu, instance, nullptr);
  if (window == nullptr) return false;
  status_bar = CreateStatusWindowW(WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, L"", window, 0);
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  on_size();
  ShowWindow(window, show);
  return true;
}

LRESULT Viewer::handle(UINT message, WPARAM word, LPARAM value) {
  POINT at = {GET_X_LPARAM(value), GET_Y_LPARAM(value)};
  switch (message) {
    case WM_SIZE:
      if (word != SIZE_MINIMIZED) on_size();
      return 0;
    case WM_ERASEBKGND:
      return 1;  // painting covers everything
    case WM_PAINT:
      on_paint();
      return 0;
    case WM_TIMER:
      redraw(false);
      return 0;
    case WM_COMMAND:
      // Loads and scanners let some messages through while they are at work.
      if (!is_busy) run_command(LOWORD(word));
      return 0;
    case WM_DROPFILES:
      on_drop(reinterpret_cast<HDROP>(word));
      return 0;
    case WM_MOUSEWHEEL:
      ScreenToClient(window, &at);
      zoom(scale * (GET_WHEEL_DELTA_WPARAM(word) > 0 ? 1.25 : 0.8), at);
      return 0;
    case WM_MOUSEMOVE:
      if ((word & MK_LBUTTON) != 0) pan(at.x - mouse.x, at.y - mouse.y);
      mouse = at;
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, word, value);
  }
}

void Viewer::on_size() {
  SendMessageW(status_bar, WM_SIZE, 0, 0);
  RECT all, status;
  GetClientRect(window, &all);
  GetWindowRect(status_bar, &status);
  client = {std::max(all.right, 1L), std::max(all.bottom - (status.bottom - status.top), 1L)};
  place(corner.x, corner.y);
  redraw(false);
}

void Viewer::on_paint() {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window, &paint);
  const RECT place = destination();
  if (has_picture()) {
    T_PaintDevice(&bitmap, dc, nullptr, &place, nullptr, SRCCOPY);
    ExcludeClipRect(dc, place.left, place.top, place.right, place.bottom);
  }
  clear(dc);
  if (!has_picture()) {
    const std::wstring text = failure.empty() ? L"Open a picture, or drop one here." : failure;
    RECT area = {0, middle().y, client.cx, client.cy};
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kText);
    DrawTextW(dc, text.c_str(), -1, &area, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX);
  }
  EndPaint(window, &paint);
}

void Viewer::clear(HDC dc) const {
  const RECT area = {0, 0, client.cx, client.cy};
  SetDCBrushColor(dc, kBackground);
  FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void Viewer::on_drop(HDROP dropped) {
  std::vector<std::wstring> names;
  std::wstring name(1 << 15, L'\0');
  for (UINT i = 0; DragQueryFileW(dropped, i, name.data(), 1 << 15) != 0; ++i)
    names.push_back(name.c_str());
  DragFinish(dropped);
  if (!is_busy) open(std::move(names));
}

RECT Viewer::destination() const {
  return {corner.x, corner.y, corner.x + scaled(bitmap.Width, scale),
          corner.y + scaled(bitmap.Height, scale)};
}

void Viewer::place(LONG x, LONG y) {
  if (!has_picture()) return;
  const double widest = 1.0 * client.cx / bitmap.Width, highest = 1.0 * client.cy / bitmap.Height;
  if (is_fitted) scale = std::min({1.0, widest, highest});
  corner = {placed(x, scaled(bitmap.Width, scale), client.cx),
            placed(y, scaled(bitmap.Height, scale), client.cy)};
}

void Viewer::fit() {
  is_fitted = true;
  place(0, 0);
  redraw(false);
}

void Viewer::zoom(double new_scale, POINT about) {
  constexpr double kLargest = 32;
  constexpr double kMostPixels = 1 << 22;  // GDI counts with 27 bits
  const double longest = std::max({1, bitmap.Width, bitmap.Height});
  const double before = scale;
  scale = std::clamp(new_scale, 1 / longest, std::min(kLargest, kMostPixels / longest));
  is_fitted = false;
  place(about.x - std::lround((about.x - corner.x) * scale / before),
        about.y - std::lround((about.y - corner.y) * scale / before));
  redraw(true);
}

void Viewer::pan(LONG x, LONG y) {
  place(corner.x + x, corner.y + y);
  redraw(true);
}

void Viewer::pan_or_turn(LONG x) {
  if (scaled(bitmap.Width, scale) > client.cx) return pan(x, 0);
  turn_file(x > 0 ? -1 : 1);
}

// The picture goes, and comes back by the effect.
void Viewer::play(int32_t effect) {
  redraw(false);
  const RECT place = destination();
  const HDC dc = GetDC(window);
  clear(dc);
  T_PaintEffect(&bitmap, dc, nullptr, &place, nullptr, SRCCOPY, effect, kBlock, kDelay);
  ReleaseDC(window, dc);
}

void Viewer::report(int32_t status) {
  char text[300] = "";
  if (status != T_OK && status != T_ERR_CANCELLED) T_GetErrorText(text, sizeof text);
  failure = status == kStopped ? L"Stopped" : widen(text);
  place(corner.x, corner.y);
  redraw(false);
}

// And tells in the title and the status bar what is shown.
void Viewer::redraw(bool quickly) {
  T_EnableFastPaint(quickly);
  quickly ? SetTimer(window, kRestTimer, kRest, nullptr) : KillTimer(window, kRestTimer);
  InvalidateRect(window, nullptr, FALSE);
  std::wstring title = files.empty() ? kProgram : file_name() + L" - " + kProgram;
  if (files.size() > 1)
    title += L" (" + std::to_wstring(file + 1) + L" of " + std::to_wstring(files.size()) + L")";
  SetWindowTextW(window, title.c_str());
  std::wstring text = failure.empty() ? L"" : failure + L".  ";
  if (has_picture()) text += description();
  SendMessageW(status_bar, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text.c_str()));
}
