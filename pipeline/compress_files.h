// Files of other formats to compressed files.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// T_CompressBMP and relatives: reads `source` with the reader of `format` and compresses its rows
// as they come. 8-bit BMP files and interlaced pictures are loaded whole instead.
Status compress_file(const char* source, const char* destination, int32_t format,
                     int32_t output_type, int32_t quality);

// T_CompressALL.
Status compress_any_file(const char* source, const char* destination, int32_t output_type,
                         int32_t quality);

// T_CompressBitmap1Bit.
Status compress_bilevel(BitmapHandle& bitmap, const char* name, int32_t format);

}  // namespace tavo::pipeline
