// Medians of squares of any size, in a time that does not depend on it.
//
// Each column of the rows around a row has a histogram, which changes by two values from row to
// row; that of a square changes by two columns from pixel to pixel (S. Perreault and P. Hebert,
// "Median Filtering in Constant Time", IEEE Transactions on Image Processing 16, 2007). Histograms
// have two levels, the sixteen upper halves of bytes and for each the sixteen lower ones; they hold
// counts of all values up to one, so that a rank is found by comparing. The lower halves of a
// square are brought up to date only where the median is.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo::process {

class MedianColumns {
 public:
  // For rows of `count` bytes; a pixel's neighbours are `step` bytes away.
  Status start(size_t count, size_t step, uint32_t size);

  // Counts a row's bytes, or no longer.
  void add(const uint8_t* row) { change<1>(row); }
  void remove(const uint8_t* row) { change<-1>(row); }

  // The medians of the squares around each byte.
  void medians(uint8_t* out) const;

 private:
  // No more than 255 rows are counted.
  struct Column {
    uint8_t upper[16];
    uint8_t lower[16][16];
  };

  template <int kChange>
  void change(const uint8_t* row);
  void medians_of_channel(size_t channel, uint8_t* out) const;

  size_t count_ = 0;
  size_t step_ = 0;
  uint32_t size_ = 0;
  Array<Column> columns_;
};

}  // namespace tavo::process
