// Pages as cells of a few pixels, and the groups of ink on them.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "core/progress.h"
#include "process/scans/ink.h"
#include "process/scans/scans.h"
#include "tavo45.h"

namespace tavo::process {

// Ink that hangs together, cell by cell, at sides or corners.
struct InkGroup {
  uint64_t pixels = 0;
  // Of the pixels; the ends are behind the last.
  uint32_t left = UINT32_MAX;
  uint32_t top = UINT32_MAX;
  uint32_t right = 0;
  uint32_t bottom = 0;

  uint32_t width() const { return right - left; }
  uint32_t height() const { return bottom - top; }
};

class PageCells {
 public:
  explicit PageCells(BitmapHandle& bitmap) : page_(bitmap) {}

  // Starts the progress, reads the page, and takes away the scanner's border: what is at least half
  // ink, cell by cell, from the edges of the page on, and the cells around it.
  Status read(core::Progress& progress);

  uint32_t width() const { return page_.width(); }
  uint32_t height() const { return page_.height(); }
  // The next group that is neither a speck nor a remainder of the border; false after the last.
  bool next_group(InkGroup& group);

 private:
  struct Cell {
    uint16_t pixels;
    uint8_t left, top, right, bottom;  // of the ink, in cells of up to 255; the last ones
  };

  Status read_rows(core::Progress& progress);
  void add_row(std::span<const uint8_t> row, uint32_t y);
  void remove_border();
  template <class Wanted>
  void spread(uint32_t at, const Wanted& is_wanted);
  bool counts(const InkGroup& group) const;

  InkReader page_;
  uint32_t side_ = 0;  // of a cell
  uint32_t columns_ = 0;
  uint32_t rows_ = 0;
  Array<Cell> cells_;
  Array<uint32_t> found_;  // cells of a group, or of the border
  uint32_t found_count_ = 0;
  Array<uint8_t> is_taken_;
  uint32_t next_ = 0;
};

}  // namespace tavo::process
