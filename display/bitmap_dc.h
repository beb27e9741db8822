// A memory context that has a bitmap selected.
#pragma once

#include <windows.h>

namespace tavo::display {

class BitmapDc {
 public:
  BitmapDc(HDC like, HBITMAP bitmap) : dc_(CreateCompatibleDC(like)) {
    if (dc_ != nullptr) outer_ = SelectObject(dc_, bitmap);
  }
  ~BitmapDc() {
    if (outer_ != nullptr) SelectObject(dc_, outer_);
    if (dc_ != nullptr) DeleteDC(dc_);
  }
  BitmapDc(const BitmapDc&) = delete;
  BitmapDc& operator=(const BitmapDc&) = delete;
  HDC get() const { return outer_ != nullptr ? dc_ : nullptr; }

 private:
  HDC dc_;
  HGDIOBJ outer_ = nullptr;
};

}  // namespace tavo::display
