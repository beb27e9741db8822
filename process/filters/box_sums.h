// Sums of the squares around pixels.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "process/filters/filter.h"

namespace tavo::process {

// Sums of columns go down with the rows, those of squares along them.
class BoxSums {
 public:
  Status start(RowSource& source, const WorkLayout& layout, uint32_t size);
  // Goes to the next row, and gives the sums around each of its bytes.
  Status next();
  const uint32_t* sums() const { return sums_.data(); }

 private:
  uint32_t size_ = 0;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  size_t columns_ = 0;  // bytes of a row and its repeated edges
  bool has_begun_ = false;
  RowBand band_;
  Array<uint16_t> column_sums_;  // 255 x 255 at most
  Array<uint32_t> sums_;
};

}  // namespace tavo::process
