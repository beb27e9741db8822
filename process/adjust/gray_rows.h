// The grey levels of a picture, whatever its depth.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "color/convert.h"
#include "process/whole_picture.h"
#include "tavo45.h"

namespace tavo::process {

class GrayRows {
 public:
  explicit GrayRows(BitmapHandle& bitmap) : bitmap_(bitmap), rows_(bitmap, RowNumbers::kFromTop) {}
  Status start();
  // The levels of row `y`, counted from the top: of a grey picture those that are stored.
  Status read(uint32_t y, std::span<const uint8_t>& levels);

 private:
  BitmapHandle& bitmap_;
  RowWindow rows_;
  color::RowConverter converter_;
  Buffer levels_;  // empty: pixels are levels
};

}  // namespace tavo::process
