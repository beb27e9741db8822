// The loops of means.h. Rows are those of whole bytes, channels interleaved, or of 16-bit sums in
// the same order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// For pixels of one number of channels.
struct MeanKernels {
  // Sums of two pixels of either row, to one. Reads no more than `bytes` of a row; returns how many
  // it has worked on, a multiple of 4 pixels: less than kMeanStep are left. As many are written,
  // and up to kMeanSlack behind them.
  size_t (*of_bytes)(const uint8_t* one, const uint8_t* two, size_t bytes, uint8_t* to);
  // The same of sums, as many bytes of either row as there are or more.
  void (*of_sums)(const uint8_t* one, const uint8_t* two, size_t bytes, uint8_t* to);
  // (sum + half) >> shift as bytes, `count` of them or more.
  void (*finish)(const uint8_t* sums, uint32_t shift, size_t count, uint8_t* to);
};
inline constexpr size_t kMeanStep = 32;
inline constexpr size_t kMeanSlack = 128;  // of rows of sums and of bytes that are written

extern const MeanKernels kMeansSsse3[3], kMeansAvx2[3];  // for 1, 3 and 4 channels

}  // namespace tavo::process
