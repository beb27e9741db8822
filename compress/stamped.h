// Compression with a stamp: a small picture of the picture in the same file, in a CMP file behind
// the header (cmp_layout.h), in a JPEG stream in an extension segment of JFIF 1.02.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::compress {

// The arguments of T_CompressBitmapWithStamp that describe the stamp.
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
