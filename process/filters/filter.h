// The frame of all neighbourhood filters: rows go in and come out one by one, from the top.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/work_rows.h"
#include "tavo45.h"

namespace tavo::process {

// Gives the rows of a picture in turn, in the layout that they are worked on in.
class RowSource {
 public:
  virtual Status next(uint8_t* row) = 0;

 protected:
  ~RowSource() = default;
};

// Rows that are made of those of another source. A filter asks for no more of them than it needs
// for its next row: what has been given may be stored in their place.
class Filter : public RowSource {
 public:
  virtual Status start(RowSource& source, const WorkLayout& layout) = 0;

 protected:
  ~Filter() = default;
};

// Bytes that may be read and written before and behind the pixels of a filter's rows.
inline constexpr size_t kRowSlack = 64;

// A row with slack.
class WorkRow {
 public:
  Status allocate(uint64_t bytes) { return buffer_.allocate(bytes + 2 * kRowSlack); }
  uint8_t* data() { return buffer_.data() + kRowSlack; }

 private:
  Buffer buffer_;
};

// The rows around a row: as many above as below, each with some pixels more at both ends. Beyond
// the edges of the picture is the nearest pixel of the edge.
class RowBand {
 public:
  Status start(RowSource& source, const WorkLayout& layout, uint32_t radius_x, uint32_t radius_y);
  // Goes to the first row, later to the next one. The row that it leaves stays until the next time.
  Status advance();
  // The rows, from the uppermost, at their first pixel.
  const uint8_t* const* rows() const { return window_.data(); }
  uint32_t count() const { return 2 * radius_y_ + 1; }

 private:
  uint8_t* line(uint32_t y) { return first_ + (y % line_count_) * stride_; }
  Status fetch();
  void repeat_edges(uint8_t* row) const;

  RowSource* source_ = nullptr;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  size_t step_ = 0;
  uint32_t radius_x_ = 0;
  uint32_t radius_y_ = 0;
  Buffer lines_;
  uint32_t line_count_ = 0;
  size_t stride_ = 0;
  uint8_t* first_ = nullptr;  // pixel 0 of line 0; of all lines it begins a cache line
  uint32_t fetched_ = 0;      // rows taken from the source
  uint32_t next_ = 0;         // the row to go to
  Array<const uint8_t*> window_;
};

// What 1-bit pictures are to a filter.
enum class Bits { kWidened, kKept };

// Filters the bitmap, which has been checked.
Status filter_bitmap(BitmapHandle& bitmap, Filter& filter, Bits bits = Bits::kWidened);

}  // namespace tavo::process
