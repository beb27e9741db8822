// Interlaced pictures.
#pragma once

#include <cstdint>

namespace tavo::process {

// Where the rows of an interlaced picture go as they come, by the four passes of GIF (GIF89a,
// appendix E): every eighth row from row 0, every eighth from 4, every fourth from 2, every second
// from 1.
class InterlacedRows {
 public:
  // How many rows come before the one with that number.
  static uint32_t number_of(uint32_t row, uint32_t height) {
    const uint32_t eighths = (height + 7) / 8, quarters = (height + 3) / 4;
    if (row % 8 == 0) return row / 8;
    if (row % 8 == 4) return eighths + row / 8;
    if (row % 4 == 2) return quarters + row / 4;
    return (height + 1) / 2 + row / 2;
  }

  // The row of the picture that comes next; `height` or more when all have come.
  uint32_t row() const { return row_; }

  void advance(uint32_t height) {
    constexpr uint32_t kStart[] = {0, 4, 2, 1};
    constexpr uint32_t kStep[] = {8, 8, 4, 2};
    row_ += kStep[pass_];
    while (row_ >= height && pass_ < 3) row_ = kStart[++pass_];
  }

 private:
  uint32_t row_ = 0;
  uint32_t pass_ = 0;
};

}  // namespace tavo::process
