// Where the rows of a coded level are.
//
// Each row begins with a mark of 23 ones and a zero, at any bit, that no codes contain; then come 2
// bits for the plane (0 luma, 2 and 3 chroma), 13 for the row as luma counts rows, and one bit. A
// mark with another plane or a row behind the last one ends the level.
#pragma once

#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/photocd_window.h"

namespace tavo::photocd {

// Codes of a row, in bits of the file.
struct RowPlace {
  uint64_t first;  // 0: the row is not there
  uint64_t end;    // where the next row's mark begins, or the data end
};

enum class Planes : uint8_t { kLuma = 1, kAll = 3 };

class RowIndex {
 public:
  // For `height` rows of luma; of chroma half as many.
  Status start(uint32_t height, Planes planes);

  // Looks for rows of `width` samples from byte `position` on, up to the mark that ends the level
  // or as far as such rows can reach. The first of several with one number counts.
  Status scan(Window& window, uint64_t position, uint32_t width);

  const RowPlace& place(uint32_t plane, uint32_t row) const { return rows_[plane][row]; }

  // The bit behind the mark that ends the level; 0 when there is none.
  uint64_t end() const { return end_; }

  // Whether rows are missing behind the last one that is there.
  // One in the midst is damage; a last row that is missing means that the level was cut.
  bool is_short() const;

 private:
  bool add(uint64_t bit, uint32_t header);
  void end_row(uint64_t bit);

  uint32_t height_ = 0;
  uint32_t planes_ = 1;
  std::array<Array<RowPlace>, 3> rows_;
  RowPlace* last_ = nullptr;
  uint64_t end_ = 0;
};

}  // namespace tavo::photocd
