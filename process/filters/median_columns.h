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

// The histograms of `count` columns, of no more than 255 rows: sixteen counts, a byte each, for the
// upper halves, then as many for the lower ones of each. Neighbouring columns stand together, as
// near each other they have much the same values.
struct MedianColumns {
  static constexpr size_t kHistograms = 17;  // of a column

  uint8_t* upper(size_t column) const { return counts + 16 * column; }
  uint8_t* lower(uint32_t half, size_t column) const { return upper((half + 1) * count + column); }

  uint8_t* counts;
  size_t count;
};

struct MedianKernels {
  // Counts a row's bytes.
  void (*add)(MedianColumns columns, const uint8_t* row);
  // Counts a row's bytes instead of another's.
  void (*exchange)(MedianColumns columns, const uint8_t* old_row, const uint8_t* row);
  // The medians of the squares around `count` bytes, by columns from that of the first square on.
  // A pixel's neighbours are `step` columns away, up to kMaxMedianStep.
  void (*medians)(MedianColumns columns, size_t count, size_t step, uint32_t size, uint8_t* out);
};
inline constexpr size_t kMaxMedianStep = 4;

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
