// Sums of the squares around pixels.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "process/filters/filter.h"

namespace tavo::process {

// Of the rows around a row, one for each of their columns.
class ColumnSums {
 public:
  Status start(RowSource& source, const WorkLayout& layout, uint32_t size);
  // Goes to the next row.
  Status next();
  // From the first column of the first pixel's window on.
  const uint16_t* sums() const { return sums_.data(); }

 private:
  uint32_t size_ = 0;
  size_t margin_ = 0;
  size_t count_ = 0;  // bytes of a row and its repeated edges
  bool has_begun_ = false;
  RowBand band_;
  Array<uint16_t> sums_;  // 255 x 255 at most
};

}  // namespace tavo::process
