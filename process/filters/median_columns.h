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

namespace tavo::process {

// No more than 255 rows are counted.
struct MedianColumn {
  uint8_t upper[16];
  uint8_t lower[16][16];
};

// Rows have `count` bytes; a pixel's neighbours are `step` bytes away.
struct MedianKernels {
  // Counts a row's bytes.
  void (*add)(MedianColumn* columns, const uint8_t* row, size_t count);
  // Counts a row's bytes instead of another's.
  void (*exchange)(MedianColumn* columns, const uint8_t* old_row, const uint8_t* row, size_t count);
  // The medians of the squares around `count` bytes, by columns from that of the first square on.
  void (*medians)(const MedianColumn* columns, size_t count, size_t step, uint32_t size,
                  uint8_t* out);
};

extern const MedianKernels kMedianKernelsSse2;
extern const MedianKernels kMedianKernelsAvx2;

const MedianKernels& median_kernels();

// What one value of a half of a byte adds to counts.
struct MedianSteps {
  constexpr MedianSteps() {
    for (size_t half = 0; half < 16; ++half) {
      for (size_t i = half; i < 16; ++i) from[half][i] = 1;
    }
  }
  alignas(16) uint8_t from[16][16] = {};
};
inline constexpr MedianSteps kMedianSteps;

}  // namespace tavo::process
