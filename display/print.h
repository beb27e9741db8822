// Pictures on paper.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::display {

// As callers give it.
struct PrintOrder {
  const RECT* source = nullptr;       // null: the whole picture
  const RECT* destination = nullptr;  // null: all that can be printed on
  uint32_t placement = 0;             // T_PRINT_ value
  uint32_t rop = 0;                   // 0: SRCCOPY
  const char* document = nullptr;     // null: on the page that has been begun
  const char* output = nullptr;       // a file, or null
};

// T_PrintBitmap, T_PrintBitmapExt.
Status print_bitmap(BitmapHandle& bitmap, HDC dc, const PrintOrder& order);

}  // namespace tavo::display
