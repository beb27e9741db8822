// Pages as rows of bits that say where ink is.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "process/whole_picture.h"
#include "tavo45.h"

namespace tavo::process {

// Of 1-bit pages the darker index is ink; of others what is darker than a threshold that divides
// their grey levels in two (N. Otsu, IEEE Transactions on Systems, Man, and Cybernetics 9, 1979),
// and than the paper by so much as noise and shadows are not.
class InkReader {
 public:
  explicit InkReader(BitmapHandle& bitmap) : bitmap_(bitmap), rows_(bitmap, RowNumbers::kFromTop) {}

  // Checks the bitmap, and reads a part of its rows to find the threshold.
  Status start();

  uint32_t width() const { return static_cast<uint32_t>(bitmap_.Width); }
  uint32_t height() const { return static_cast<uint32_t>(bitmap_.Height); }

  // The row, from the top: the leftmost pixel in the top bit of the first byte, zeros behind the
  // last to a whole number of 8 bytes. To be called from the top to the bottom.
  Status read(uint32_t y, std::span<const uint8_t>& row);

 private:
  Status fetch(uint32_t y);
  Status read_levels(uint32_t y);
  Status find_threshold();
  void read_bits(const uint8_t* row);

  BitmapHandle& bitmap_;
  RowWindow rows_;
  uint32_t first_ = 0;
  uint32_t count_ = 0;
  color::RowConverter converter_;
  Buffer levels_;
  Buffer bits_;
  uint8_t others_ = 0;      // 1 bit: what makes ink ones
  bool is_even_ = false;    // 1 bit: both indices look alike
  bool is_ramp_ = false;    // indices are grey levels
  uint32_t threshold_ = 0;  // levels below are ink
};

}  // namespace tavo::process
