// What stands in front of the rows of device-independent bitmaps that are made here.
#pragma once

#include <cstdint>

#include "tavo45.h"

namespace tavo::dib {

// All the colours of the depth; none above 8 bits.
constexpr uint32_t table_entries(int32_t depth) { return depth <= 8 ? 1u << depth : 0; }

// biClrUsed of a picture: how many entries its palette has; 0 stands for all of the depth's.
uint32_t colors_used(const BitmapHandle& picture, int32_t depth);
// How many there are.
uint32_t entries_used(const BitmapHandle& picture, int32_t depth);

// BITMAPINFOHEADER of a picture whose rows are not coded and go upward, which all programs read.
// `to` has room for its 40 bytes.
void store_info_header(const BitmapHandle& picture, int32_t depth, uint32_t image_bytes,
                       uint32_t used, uint8_t* to);

// Dots per inch of biXPelsPerMeter, rounded to nearest; 0 where it says nothing.
int32_t dots_per_inch(int32_t per_meter);

}  // namespace tavo::dib
