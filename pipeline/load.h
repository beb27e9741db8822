// Files of any format into bitmaps or callbacks.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"
#include "tavo45.h"

namespace tavo::pipeline {

struct LoadRequest {
  int32_t bits = 0;
  int32_t order = 0;
  uint32_t flags = 0;
  T_RowSink callback = nullptr;
  void* user_data = nullptr;
  uint32_t most_bytes = UINT32_MAX;  // of the rows that the callback gets at once; 16 may be more
  bool asks_upright = false;         // for the top row first, where the format can
  uint32_t eighths = 8;  // of its size that the picture is to have, where the format can
};

// Columns or rows of a picture that is decoded at a part of its size.
int32_t draft_size(int32_t size, uint32_t eighths);

// T_LoadFile.
Status load(const char* name, BitmapHandle& target, const LoadRequest& request);

// A format's T_Load…Bitmap: initialises and allocates `bitmap` by the file's description and
// stores the rows that `read` delivers; frees the bitmap on failure. `memory_only`: a bitmap that
// only a temporary file could hold is refused with kNoMemory.
Status load_picture(const char* name, BitmapHandle& bitmap, io::Reader read,
                    bool memory_only = false);

}  // namespace tavo::pipeline
