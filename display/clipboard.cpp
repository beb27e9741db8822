#include "display/clipboard.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdint>
#include <span>

#include "base/shared_block.h"
#include "core/bitmap.h"
#include "display/ddb.h"
#include "display/parent_window.h"
#include "display/status.h"
#include "platform/platform.h"
#include "process/dib_export.h"
#include "process/dib_import.h"
#include "process/dib_info.h"

namespace tavo::display {

namespace {

constexpr DWORD kPatience = 250, kPause = 10;  // milliseconds

// Open from open() to the end of its scope.
class Clipboard {
 public:
  Clipboard() = default;
  ~Clipboard() {
    if (is_open_) CloseClipboard();
  }
  Clipboard(const Clipboard&) = delete;
  Clipboard& operator=(const Clipboard&) = delete;

  // Programs that look at everything that is copied hold it for moments. kBusy.
  Status open(HWND window) {
    const DWORD start = GetTickCount();
    while (!OpenClipboard(window)) {
      if (GetTickCount() - start >= kPatience) return kBusy;
      Sleep(kPause);
    }
    is_open_ = true;
    return kOk;
  }

 private:
  bool is_open_ = false;
};

// A palette object that is the clipboard's once it has been taken.
class OfferedPalette {
 public:
  OfferedPalette() = default;
  ~OfferedPalette() {
    if (palette_ != 0) platform::delete_object(palette_);
  }
  OfferedPalette(const OfferedPalette&) = delete;
  OfferedPalette& operator=(const OfferedPalette&) = delete;

  Status make(std::span<const T_PaletteEntry> colors) {
    palette_ = platform::create_palette(colors);
    return palette_ != 0 ? kOk : kNoMemory;
  }

  Status give() {
    if (palette_ == 0) return kOk;
    if (SetClipboardData(CF_PALETTE, reinterpret_cast<HANDLE>(palette_)) == nullptr) return kDevice;
    palette_ = 0;
    return kOk;
  }

 private:
  uintptr_t palette_ = 0;
};

Status give(SharedBlock& dib) {
  const uintptr_t block = dib.hand_over();
  if (SetClipboardData(CF_DIB, reinterpret_cast<HANDLE>(block)) != nullptr) return kOk;
  platform::free_shared(block);
  return kDevice;
}

// No bytes at all, or no bitmap, is not an argument of the caller's.
Status from_clipboard(Status status) { return status == kBadArgument ? kReadError : status; }

}  // namespace

Status copy_to_clipboard(BitmapHandle& bitmap, HWND owner) {
  SharedBlock dib;
  TRY(dib::convert_to_dib(bitmap, dib));
  OfferedPalette palette;
  if (bitmap.BitsPerPixel <= 8) {
    TRY(palette.make({bitmap.Info.Palette, dib::entries_used(bitmap, bitmap.BitsPerPixel)}));
  }
  // Without an owner the clipboard takes nothing.
  ParentWindow window;
  TRY(window.take(owner));
  Clipboard clipboard;
  TRY(clipboard.open(window.get()));
  if (!EmptyClipboard()) return kDevice;
  TRY(give(dib));
  return palette.give();
}

Status copy_from_clipboard(BitmapHandle& bitmap, HWND owner) {
  if (owner != nullptr && !IsWindow(owner)) return kBadArgument;
  // Whatever comes, the record can be freed.
  TRY(core::init_bitmap(bitmap, 0, 0, 24));
  Clipboard clipboard;
  TRY(clipboard.open(owner));
  // The system makes one of another; what it makes of a table for CF_DIBV5 may be wrong, and of
  // CF_BITMAP all of it takes longer.
  for (const UINT format : {CF_DIB, CF_DIBV5}) {
    const HANDLE dib = GetClipboardData(format);
    if (dib == nullptr) continue;
    return from_clipboard(dib::convert_from_global(reinterpret_cast<uintptr_t>(dib), bitmap));
  }
  const HANDLE ddb = GetClipboardData(CF_BITMAP);
  if (ddb == nullptr) return kNoPicture;
  const HANDLE palette = GetClipboardData(CF_PALETTE);
  return from_clipboard(
      convert_from_ddb(static_cast<HBITMAP>(ddb), static_cast<HPALETTE>(palette), bitmap));
}

}  // namespace tavo::display
