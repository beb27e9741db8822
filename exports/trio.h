// The first two functions of every format's trio; the third is T_SaveBitmap.
#pragma once

#include <cstdint>

#include "io/format.h"
#include "tavo45.h"

namespace tavo::exports {

// T_Load...File.
int32_t load_rows(io::Reader read, const char* name, BitmapHandle* bitmap, T_RowSink sink,
                  int32_t bits_per_pixel, void* context);

// T_Load...Bitmap; `memory_only` as pipeline::load_picture has it.
int32_t load_picture(io::Reader read, const char* name, BitmapHandle* bitmap,
                     bool memory_only = false);

}  // namespace tavo::exports
