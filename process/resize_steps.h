// Rows of whole bytes resampled many bytes at a time.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/function_ref.h"
#include "process/resize_kernels.h"
#include "process/resize_moves.h"
#include "process/resize_sources.h"

namespace tavo::process {

// Takes the next piece of a row, from left to right.
using ResizeSink = FunctionRef<void(std::span<const uint8_t> piece)>;

// A table that says where the bytes of each store of result come from, and the kernel that runs it
// over rows, in place or from one to another.
class ResizeSteps {
 public:
  // Makes the table for pixels of 1 to 4 bytes. Where nothing shuffles, pixels are moved one by
  // one. There is no table for plain processors and when memory is refused.
  void make(const ResizeSources& sources, uint32_t pixel_bytes);

  void forget();

  bool empty() const { return whole_ + last_ == 0 && moves_.empty(); }
  // Writes the positions of the sources that it was made for. Not when empty.
  // Shrinking, the next row that is wanted lies `ahead` behind this one.
  void run(const uint8_t* from, uint8_t* to, size_t ahead = 0) const;
  // Enlarging: makes them piece by piece, each at `scratch`, which has room for a row.
  void run_pieces(const uint8_t* from, uint8_t* scratch, ResizeSink sink) const;

 private:
  struct Cut;

  bool choose_kernels();
  bool allocate(uint32_t most);
  // Of the source, for one shuffle.
  uint32_t window() const { return shrinks_ ? 2 * kernels_->lanes : kernels_->lanes; }
  uint32_t source_byte(const ResizeSources& sources, uint32_t at) const;
  Cut cut_shrinking(const ResizeSources& sources, uint32_t done) const;
  Cut cut_enlarging(const ResizeSources& sources, uint32_t done) const;
  Cut cut(const ResizeSources& sources, uint32_t done) const;
  void place(const Cut& cut, uint32_t number);
  void mark_halves(uint32_t pair);
  void make_cycle(const ResizeSources& sources);
  uint32_t count_whole();
  void make_last(const ResizeSources& sources, uint32_t done);

  uint32_t pixel_bytes_ = 0;
  bool shrinks_ = false;
  const ResizeKernels* kernels_ = nullptr;
  uint32_t old_bytes_ = 0;
  uint32_t first_ = 0;  // what is written of the result, in bytes
  uint32_t end_ = 0;
  // As in ResizeTable.
  uint32_t cycle_ = 0;
  uint32_t cycle_bytes_ = 0;
  uint32_t whole_ = 0;
  bool are_full_ = false;
  uint32_t last_ = 0;
  Array<ResizeStep> steps_;
  Buffer shuffles_;
  Buffer last_shuffles_;
  ResizeMoves moves_;
};

}  // namespace tavo::process
