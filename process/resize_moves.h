// Rows of whole bytes resampled pixel by pixel, for processors that do not shuffle.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "process/resize_sources.h"

namespace tavo::process {

// A table of where the pixels come from: what a plain loop counts out is looked up, so that no
// pixel waits for the one before it.
class ResizeMoves {
 public:
  // For pixels of 1 to 4 bytes. There is none for plain processors and when memory is refused.
  void make(const ResizeSources& sources, uint32_t pixel_bytes);
  void forget() { moves_ = 0; }

  bool empty() const { return moves_ == 0; }
  void run(const uint8_t* from, uint8_t* to) const;

 private:
  uint32_t count_exact(const ResizeSources& sources);
  template <class Move>
  void each(uint32_t first, uint32_t end, Move move) const;
  template <size_t kBytes>
  void shrink(const uint8_t* from, uint8_t* to) const;
  template <size_t kBytes>
  void enlarge(const uint8_t* from, uint8_t* to) const;

  // By the order of the work, how far from that end of the source where it begins, in bytes.
  Array<uint32_t> distances_;
  uint32_t cycle_ = 0;
  uint32_t cycle_bytes_ = 0;
  uint32_t moves_ = 0;
  uint32_t exact_ = 0;  // of them, the last ones, which touch nothing beside their pixel
  uint32_t pixel_bytes_ = 0;
  bool shrinks_ = false;
  uint32_t start_ = 0;  // enlarging, the last pixel of the source,
  uint32_t end_ = 0;    // and the end of the result, both in bytes
};

}  // namespace tavo::process
