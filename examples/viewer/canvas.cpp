#include "canvas.h"

#include "tavo45.h"

namespace viewer {
namespace {

constexpr COLORREF kBackground = RGB(64, 66, 70);
constexpr COLORREF kText = RGB(235, 235, 235);

}  // namespace

void Canvas::drop() {
  if (dc_ == nullptr) return;
  SelectObject(dc_, before_);
  DeleteObject(bitmap_);
  DeleteDC(dc_);
  dc_ = nullptr;
}

bool Canvas::resize(HWND window, SIZE size) {
  if (dc_ != nullptr && size.cx == size_.cx && size.cy == size_.cy) return true;
  drop();
  const HDC screen = GetDC(window);
  bitmap_ = CreateCompatibleBitmap(screen, size.cx, size.cy);
  dc_ = bitmap_ != nullptr ? CreateCompatibleDC(screen) : nullptr;
  ReleaseDC(window, screen);
  if (dc_ == nullptr) {
    if (bitmap_ != nullptr) DeleteObject(bitmap_);
    return false;
  }
  before_ = SelectObject(dc_, bitmap_);
  size_ = size;
  return true;
}

void Canvas::clear() {
  const RECT rectangle = all();
  SetBkColor(dc_, kBackground);
  ExtTextOutW(dc_, 0, 0, ETO_OPAQUE, &rectangle, nullptr, 0, nullptr);
}

void Canvas::write(const std::wstring& text) {
  RECT needed = all();
  const HGDIOBJ font = SelectObject(dc_, GetStockObject(DEFAULT_GUI_FONT));
  SetBkMode(dc_, TRANSPARENT);
  SetTextColor(dc_, kText);
  const UINT style = DT_CENTER | DT_WORDBREAK | DT_NOPREFIX;
  DrawTextW(dc_, text.c_str(), -1, &needed, style | DT_CALCRECT);
  RECT place = all();
  place.top = (size_.cy - (needed.bottom - needed.top)) / 2;
  DrawTextW(dc_, text.c_str(), -1, &place, style);
  SelectObject(dc_, font);
}

void Canvas::paint(BitmapHandle& bitmap, const RECT& destination, bool quickly) {
  const RECT clip = all();
  T_EnableFastPaint(quickly);
  T_PaintDevice(&bitmap, dc_, nullptr, &destination, &clip, SRCCOPY);
}

void Canvas::paint_rows(BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count,
                        const RECT& destination) {
  const RECT clip = all();
  T_EnableFastPaint(1);
  T_PaintBuffer(&bitmap, rows, first, count, dc_, nullptr, &destination, &clip, SRCCOPY);
}

void Canvas::copy_to(HDC dc) const { BitBlt(dc, 0, 0, size_.cx, size_.cy, dc_, 0, 0, SRCCOPY); }

}  // namespace viewer
