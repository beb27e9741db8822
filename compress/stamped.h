// Compression with a stamp: a small picture of the picture in the same file.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::compress {

struct StampRequest {
  int32_t width = 0;
  int32_t height = 0;
  int32_t bits = 0;
  bool dithers = false;
};

// T_CompressBitmapWithStamp.
Status compress_with_stamp(BitmapHandle& bitmap, const char* name, int32_t output_type,
                           int32_t quality, const StampRequest& request);

}  // namespace tavo::compress
