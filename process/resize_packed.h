// Rows of 1, 2 and 4 bits resampled in place.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "process/resize_rule.h"
#include "process/resize_steps.h"

namespace tavo::process {

// Kept for 1 and 4 bits: a result pixel is written to the byte of its position, but to the bits
// inside it that belong to a counter, which may name another place. Enlarging, the counter is
// `behind` the position, and the work ends where it would fall below 0.
//
// Most of a row goes by whole bytes through rows of one byte a pixel, in which that is just
// another table of sources; the rest goes pixel by pixel.
class PackedResize {
 public:
  // Prepares for rows of this depth. Without memory rows are as they would be, but slower.
  void make(const ResizeRule& rule, int32_t bits);
  void run(uint8_t* row, const ResizeRule& rule);

 private:
  // Where the work stands that goes pixel by pixel: at a result position, `left` of which still
  // come from a source position.
  struct Place {
    int64_t position;
    uint32_t source;
    uint32_t left;
  };

  uint32_t per_byte() const { return 8 / static_cast<uint32_t>(bits_); }
  void plan_shrinking(ResizeSources& sources);
  void plan_enlarging(const ResizeRule& rule, ResizeSources& sources);
  bool make_steps(ResizeSources& sources);
  void run_bytes(uint8_t* row);
  template <int32_t kBits>
  void shrink(uint8_t* row, const ResizeRule& rule);
  template <int32_t kBits>
  void enlarge_part(uint8_t* row, const ResizeRule& rule, Place place, int64_t end);
  template <int32_t kBits>
  void enlarge(uint8_t* row, const ResizeRule& rule);
  template <int32_t kBits>
  void resize(uint8_t* row, const ResizeRule& rule);

  int32_t bits_ = 0;
  ResizeSteps steps_;
  uint32_t old_size_ = 0;  // up to the end of a byte
  // The result positions that go by bytes, and where the work goes on after them.
  uint32_t first_ = 0;
  uint32_t end_ = 0;
  Place rest_ = {};
  Buffer from_;  // a byte a pixel
  Buffer to_;
};

}  // namespace tavo::process
