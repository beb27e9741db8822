// Rows of any bitmap as the compressor takes them: 8-bit grey or blue, green, red, top row first
// and unpadded. T_CompressBuffer's callers hand over such rows themselves.
#pragma once

#include <array>
#include <cstdint>

#include "base/status.h"
#include "color/convert.h"
#include "tavo45.h"

namespace tavo::compress {

class StripRows {
 public:
  enum class Target {
    kGray,
    kColor,
    kColorAsStored,  // like kColor, but 24-bit pixels stay as they are, whatever their order
  };

  // `picture` describes the rows: width, depth, order, palette, grey mark. An 8-bit row with the
  // grey mark becomes grey by the red parts of its palette. kBadArgument for a depth that no bitmap
  // has.
  Status start(const BitmapHandle& picture, Target target);

  // One row; `out` gets width bytes (grey) or three times as many.
  Status convert(const uint8_t* row, uint8_t* out);

 private:
  // Rows as they are, through levels_, or through the converter.
  enum class Method { kCopy, kLevels, kConvert };

  int32_t width_ = 0;
  size_t out_bytes_ = 0;
  Method method_ = Method::kConvert;
  std::array<uint8_t, 256> levels_ = {};
  color::RowConverter converter_;
};

}  // namespace tavo::compress
