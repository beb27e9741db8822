// Rows as differences from their neighbours, which codes take better: the filters of PNG (W3C
// Portable Network Graphics, 9) and, the first of them, TIFF's predictor (TIFF 6.0, section 14).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::filters {

// PNG's filter types (9.2). They work on bytes, whatever the depth of the samples, and modulo 256.
enum class Filter : uint8_t { kNone, kSub, kUp, kAverage, kPaeth };
inline constexpr uint8_t kFilterCount = 5;

// Bytes behind rows that may be read, and written with any values.
inline constexpr size_t kSlack = 32;

// Each byte plus the one `pixel_bytes` before, in place. No slack is needed.
void sum_pixels(std::span<uint8_t> row, size_t pixel_bytes);

// Makes of the filtered `row` what it was, in place. `above` is the row above, as long, zeros for
// the first one. `pixel_bytes` is 1, 2, 3, 4, 6 or 8: those of PNG's colour types, 1 where several
// pixels share a byte. Both have slack.
void undo(Filter filter, std::span<uint8_t> row, const uint8_t* above, size_t pixel_bytes);

// Bytes in front of rows that are to be filtered: zeros, for the pixel before the first.
inline constexpr size_t kFront = 16;

// Writes what `filter` leaves of `row` to `out`. All three rows have slack, `row` and `above`
// kFront zeros in front.
void apply(Filter filter, std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
           uint8_t* out);

// The filter that leaves the smallest sum of differences ("Filter selection"), of `allowed` ones:
// bit n stands for filter n.
inline constexpr uint32_t kAllFilters = (1u << kFilterCount) - 1;
Filter choose(std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
              uint32_t allowed = kAllFilters);

// What processors have of their own.
struct Kernels {
  void (*apply)(Filter filter, std::span<const uint8_t> row, const uint8_t* above,
                size_t pixel_bytes, uint8_t* out);
  void (*sums)(std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
               uint32_t* sums);
};
extern const Kernels kAvx2Kernels;

// A vector from 64 - n on has n bytes of ones first, then zeros.
inline constexpr auto kTailMasks = [] {
  std::array<uint8_t, 128> bytes = {};
  std::fill_n(bytes.begin(), 64, uint8_t{0xFF});
  return bytes;
}();

}  // namespace tavo::filters
