// A window for what needs one where the caller has none to give.
#pragma once

#include <windows.h>

#include "base/status.h"
#include "display/status.h"

namespace tavo::display {

// The caller's window, or one of the library's that nobody sees, for as long as this lives.
class ParentWindow {
 public:
  ParentWindow() = default;
  ~ParentWindow() {
    if (is_own_) DestroyWindow(window_);
  }
  ParentWindow(const ParentWindow&) = delete;
  ParentWindow& operator=(const ParentWindow&) = delete;

  // kBadArgument for what is no window; kDevice.
  Status take(HWND window) {
    if (window != nullptr && !IsWindow(window)) return kBadArgument;
    window_ = window;
    if (window_ == nullptr) make();
    return window_ != nullptr ? kOk : kDevice;
  }

  HWND get() const { return window_; }

 private:
  // Programs without a desktop, services for one, may have windows for messages alone.
  void make() {
    for (const HWND parent : {HWND{}, HWND_MESSAGE}) {
      window_ =
          CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 1, 1, parent, nullptr, nullptr, nullptr);
      is_own_ = window_ != nullptr;
      if (is_own_) return;
    }
  }

  HWND window_ = nullptr;
  bool is_own_ = false;
};

}  // namespace tavo::display
