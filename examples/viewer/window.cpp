#include "window.h"

#include <commctrl.h>
#include <shellapi.h>
#include <windowsx.h>

#include "resource.h"
#include "text.h"

namespace viewer {
namespace {

constexpr wchar_t kClass[] = L"TavoViewer";
constexpr wchar_t kProgram[] = L"TAVO45 Viewer";
constexpr UINT_PTR kRestTimer = 1;
constexpr UINT kRest = 150;       // milliseconds without movement
constexpr DWORD kShowEvery = 40;  // milliseconds between parts of a load

}  // namespace

bool Window::create(HINSTANCE instance, int show) {
  WNDCLASSW about = {};
  about.lpfnWndProc = procedure;
  about.hInstance = instance;
  about.hIcon = LoadIconW(nullptr, reinterpret_cast<LPCWSTR>(IDI_APPLICATION));
  about.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  about.lpszMenuName = MAKEINTRESOURCEW(IDR_VIEWER);
  about.lpszClassName = kClass;
  RECT area = {0, 0, 1024, 768};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
  const int width = (area.right - area.left) * 4 / 5;
  const int height = (area.bottom - area.top) * 4 / 5;
  if (RegisterClassW(&about) == 0) return false;
  CreateWindowExW(WS_EX_ACCEPTFILES, kClass, kProgram, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                  CW_USEDEFAULT, CW_USEDEFAULT, width, height, nullptr, nullptr, instance, this);
  if (window_ == nullptr) return false;
  ShowWindow(window_, show);
  return true;
}

LRESULT CALLBACK Window::procedure(HWND window, UINT message, WPARAM word, LPARAM value) {
  if (message == WM_NCCREATE) {
    const auto* const made = reinterpret_cast<const CREATESTRUCTW*>(value);
    auto* const self = static_cast<Window*>(made->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* const self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return self != nullptr ? self->handle(message, word, value)
                         : DefWindowProcW(window, message, word, value);
}

LRESULT Window::handle(UINT message, WPARAM word, LPARAM value) {
  const POINT at = {GET_X_LPARAM(value), GET_Y_LPARAM(value)};
  switch (message) {
    case WM_CREATE:
      status_ = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0,
                                0, 0, 0, window_, nullptr, nullptr, nullptr);
      return 0;
    case WM_SIZE:
      if (word != SIZE_MINIMIZED) resize();
      return 0;
    case WM_ERASEBKGND:
      return 1;  // the canvas covers everything
    case WM_PAINT: {
      PAINTSTRUCT paint;
      canvas_.copy_to(BeginPaint(window_, &paint));
      EndPaint(window_, &paint);
      return 0;
    }
    case WM_TIMER:
      KillTimer(window_, kRestTimer);
      redraw();
      return 0;
    case WM_COMMAND:
      command(LOWORD(word));
      return 0;
    case WM_DROPFILES:
      drop(reinterpret_cast<HDROP>(word));
      return 0;
    case WM_MOUSEWHEEL: {
      POINT about = at;
      ScreenToClient(window_, &about);
      view_.zoom(GET_WHEEL_DELTA_WPARAM(word) > 0 ? 1.25 : 0.8, about);
      redraw(true);
      return 0;
    }
    case WM_LBUTTONDOWN:
      start_drag(at);
      return 0;
    case WM_MOUSEMOVE:
      if (GetCapture() == window_) drag(at);
      return 0;
    case WM_LBUTTONUP:
      ReleaseCapture();
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window_, message, word, value);
  }
}

void Window::resize() {
  SendMessageW(status_, WM_SIZE, 0, 0);
  RECT client, status;
  GetClientRect(window_, &client);
  GetWindowRect(status_, &status);
  view_.set_client(client.right, client.bottom - (status.bottom - status.top));
  if (canvas_.resize(window_, view_.client())) redraw();
}

void Window::drop(HDROP dropped) {
  std::vector<std::wstring> files;
  const UINT count = DragQueryFileW(dropped, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring name(DragQueryFileW(dropped, i, nullptr, 0) + 1u, L'\0');
    name.resize(DragQueryFileW(dropped, i, name.data(), static_cast<UINT>(name.size())));
    files.push_back(name);
  }
  DragFinish(dropped);
  open(std::move(files));
}

void Window::start_drag(POINT at) {
  grip_ = at;
  SetCapture(window_);
}

void Window::drag(POINT at) {
  view_.pan(at.x - grip_.x, at.y - grip_.y);
  grip_ = at;
  redraw(true);
}

void Window::open(std::vector<std::wstring> files) {
  if (files.empty()) return;
  files_ = std::move(files);
  file_ = 0;
  load(1);
}

void Window::turn_page(int step) {
  const int page = picture_.page() + step;
  if (page >= 1 && page <= picture_.page_count()) return load(page);
  turn_file(step);
}

void Window::turn_file(int step) {
  const size_t next = file_ + static_cast<size_t>(step);  // before the first: beyond the last
  if (next >= files_.size()) return;
  file_ = next;
  load(1);
}

void Window::load(int page) {
  const std::wstring& path = files_[file_];
  SetWindowTextW(window_, (L"Loading " + last_name(path)).c_str());
  is_loading_ = true;
  shown_at_ = GetTickCount();
  const Outcome outcome = picture_.load(
      path, page, [this](BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count) {
        return show_rows(bitmap, rows, first, count);
      });
  is_loading_ = false;
  show_outcome(outcome);
}

// Paints what has come of a load, now and then into the window.
bool Window::show_rows(BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count) {
  if (picture_.is_upright()) {
    if (first == 0) {
      view_.set_picture(bitmap.Width, bitmap.Height);
      canvas_.clear();
    }
    canvas_.paint_rows(bitmap, rows, first, count, view_.destination());
  }
  if (GetTickCount() - shown_at_ < kShowEvery) return true;
  const HDC dc = GetDC(window_);
  canvas_.copy_to(dc);
  ReleaseDC(window_, dc);
  shown_at_ = GetTickCount();
  return !is_asked_to_stop();
}

// Left where they are, the messages are handled when the load has ended.
bool Window::is_asked_to_stop() const {
  MSG message;
  if (PeekMessageW(&message, window_, WM_KEYDOWN, WM_KEYDOWN, PM_NOREMOVE))
    return message.wParam == VK_ESCAPE || message.wParam == VK_NEXT || message.wParam == VK_PRIOR;
  return PeekMessageW(&message, window_, WM_CLOSE, WM_CLOSE, PM_NOREMOVE) ||
         PeekMessageW(&message, window_, WM_NCLBUTTONDOWN, WM_NCLBUTTONDOWN, PM_NOREMOVE);
}

void Window::show_outcome(const Outcome& outcome) {
  failure_ = outcome.sentence;
  if (picture_.is_there()) view_.set_picture(picture_.width(), picture_.height());
  redraw();
}

void Window::redraw(bool quickly) {
  if (is_loading_) return;
  canvas_.clear();
  if (picture_.is_there()) {
    canvas_.paint(picture_.bitmap(), view_.destination(), quickly);
  } else {
    canvas_.write(failure_.empty() ? L"Open a picture, or drop one here." : failure_);
  }
  if (quickly) SetTimer(window_, kRestTimer, kRest, nullptr);
  InvalidateRect(window_, nullptr, FALSE);
  tell();
}

// Title and status bar.
void Window::tell() {
  std::wstring title = kProgram;
  if (!files_.empty()) {
    title = last_name(files_[file_]) + L" - " + title;
    if (files_.size() > 1)
      title += L" (" + std::to_wstring(file_ + 1) + L" of " + std::to_wstring(files_.size()) + L")";
  }
  SetWindowTextW(window_, title.c_str());
  std::wstring text = failure_;
  if (picture_.is_there()) {
    const int percent = static_cast<int>(view_.scale() * 100 + 0.5);
    text = (text.empty() ? text : text + L"  ") + picture_.description() + L", " +
           std::to_wstring(percent) + L" %";
  }
  SendMessageW(status_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

}  // namespace viewer
