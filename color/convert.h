// Rows of pixels from one layout to another.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "color/nearest.h"
#include "tavo45.h"

namespace tavo::color {

// Set up once per picture, then used for every row.
class RowConverter {
 public:
  // Arguments as those of T_ConvertBuffer; palettes are copied. kBadArgument.
  Status start(int32_t bits_in, int32_t bits_out, int32_t order_in, int32_t order_out,
               const T_PaletteEntry* palette_in, const T_PaletteEntry* palette_out);

  // Converts `width` pixels in place; `row` holds them in whichever of the layouts is larger.
  // kBadArgument for a null row and a width below 1.
  Status convert(void* row, int32_t width);

 private:
  uint32_t read(const uint8_t* row, int32_t x) const;
  void write(uint8_t* row, int32_t x, uint32_t color);

  int32_t bits_in_ = 24;
  int32_t bits_out_ = 24;
  int32_t order_in_ = 0;
  int32_t order_out_ = 0;
  T_PaletteEntry palette_in_[256] = {};
  NearestColor nearest_;
  bool maps_ = false;           // index to index or grey
  uint8_t map_[256] = {};
};

}  // namespace tavo::color
