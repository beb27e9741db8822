// Rows as differences from their neighbours, which codes take better: the filters of PNG (W3C
// Portable Network Graphics, 9) and, the first of them, TIFF's predictor (TIFF 6.0, section 14).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::filters {

// PNG's filter types (9.2).
enum class Filter : uint8_t { kNone, kSub, kUp, kAverage, kPaeth };
inline constexpr uint8_t kFilterCount = 5;

// Bytes behind rows that may be read, and written with any values.
inline constexpr size_t kSlack = 16;

// Each byte plus the one `pixel_bytes` before, in place. No slack is needed.
void sum_pixels(std::span<uint8_t> row, size_t pixel_bytes);

// Makes of the filtered `row` what it was, in place. `above` is the row above, as long, zeros for
// the first one. `pixel_bytes` is 1, 2, 3, 4, 6 or 8. Both have slack.
void undo(Filter filter, std::span<uint8_t> row, const uint8_t* above, size_t pixel_bytes);

}  // namespace tavo::filters
