// Rows of whole bytes resampled many bytes at a time.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "process/resize_kernels.h"
#include "process/resize_rule.h"

namespace tavo::process {

// A table that says where the bytes of each store of result come from, and the kernel that runs it
// over rows, in place or from one to another.
class ResizeSteps {
 public:
  // Makes the table for pixels of 1 to 4 bytes and another width. There is none for rows shorter
  // than a store, for processors that do not shuffle, and when memory is refused.
  void make(const ResizeRule& rule, uint32_t pixel_bytes);
  bool are_for(uint32_t pixel_bytes) const { return pixel_bytes_ == pixel_bytes; }
  void forget() { pixel_bytes_ = 0; }

  bool empty() const { return count_ == 0; }
  // Writes the pixels that rule.reached counts. Not when empty.
  void run(const uint8_t* from, uint8_t* to) const;

 private:
  void make_shrinking(const ResizeRule& rule);
  void make_enlarging(const ResizeRule& rule);
  void cut_enlarging(const Array<uint32_t>& sources, uint32_t first, uint32_t old_bytes);
  bool allocate(uint32_t most);

  uint32_t pixel_bytes_ = 0;
  bool shrinks_ = false;
  uint32_t new_bytes_ = 0;  // of a row of the result
  uint32_t lanes_ = 0;
  uint32_t count_ = 0;
  uint32_t last_ = 0;  // as in ResizeTable
  Array<ResizeStep> steps_;
  Array<uint8_t> shuffles_;
};

}  // namespace tavo::process
