// Compressed pictures into bitmaps, and their stamps.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// T_DecompressBitmap.
Status decompress_bitmap(const char* name, BitmapHandle& bitmap, int32_t bits_per_pixel);

// T_GetCompressFileStamp.
Status get_stamp(const char* name, BitmapHandle& stamp);

}  // namespace tavo::pipeline
