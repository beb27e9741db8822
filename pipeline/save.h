// Bitmaps into files of any format.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

struct SaveOptions {
  int32_t format = 0;
  int32_t bits = 0;  // 0: the bitmap's own depth
  int32_t quality = 0;
  uint32_t flags = 0;
  bool direct = false;
};

// T_SaveFile.
Status save(const char* name, BitmapHandle& bitmap, const SaveOptions& options);

// The same with the bitmap's resolution kept, which a save's copy would lose.
Status save_with_resolution(const char* name, BitmapHandle& bitmap, const SaveOptions& options);

// T_ConvertFile.
Status convert_file(const char* source, const char* destination, int32_t format, int32_t bits,
                    int32_t quality);

}  // namespace tavo::pipeline
