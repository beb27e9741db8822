// What the window shows, kept in memory: the window is copied from it, so that nothing flickers and
// nothing is computed twice.
#pragma once

#include <windows.h>

#include <string>

#include "tavo45.h"

namespace viewer {

class Canvas {
 public:
  Canvas() = default;
  ~Canvas() { drop(); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  bool resize(HWND window, SIZE size);
  void clear();
  void write(const std::wstring& text);
  // Quickly: single pixels instead of means, while the picture moves.
  void paint(BitmapHandle& bitmap, const RECT& destination, bool quickly);
  void paint_rows(BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count,
                  const RECT& destination);
  void copy_to(HDC dc) const;

 private:
  RECT all() const { return {0, 0, size_.cx, size_.cy}; }
  void drop();

  HDC dc_ = nullptr;
  HBITMAP bitmap_ = nullptr;
  HGDIOBJ before_ = nullptr;
  SIZE size_ = {0, 0};
};

}  // namespace viewer
