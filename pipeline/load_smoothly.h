// Files of any format into bitmaps of another size, filtered while their rows come.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

struct SmoothLoad {
  int32_t bits = 0;
  int32_t order = 0;
  int32_t width = 0;  // 0: as the height has it
  int32_t height = 0;
  uint32_t method = 0;  // T_SIZE_ numbers
};

// T_LoadBitmapFine.
Status load_smoothly(const char* name, BitmapHandle& bitmap, const SmoothLoad& request);

}  // namespace tavo::pipeline
