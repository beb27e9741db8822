// Nearest-neighbour resampling in one direction: which positions are repeated, which dropped.
#pragma once

#include <array>
#include <cstdint>

namespace tavo::process {

// Each source position is repeated `step` times, and once more where the pattern, which repeats
// every 256 positions, says so.
struct ResizeRule {
  int32_t old_size = 1;
  int32_t new_size = 1;
  int32_t step = 0;
  std::array<uint8_t, 256> extra = {};
  // Result positions that are written: the first ones (shrinking) or the last ones (enlarging).
  uint32_t reached = 0;

  // Sizes are 1 or more.
  void set(int32_t from, int32_t to);
  bool shrinks() const { return new_size < old_size; }
  uint32_t count(uint32_t position) const {
    return static_cast<uint32_t>(step) + extra[position & 255u];
  }

  // The counts of the first so many source positions together.
  uint64_t total(uint32_t positions) const;
};

}  // namespace tavo::process
