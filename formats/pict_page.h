// The page of 24 bits on which the bitmaps of a PICT file are put, and bitmaps that join to one.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "formats/pict_layout.h"
#include "formats/pict_records.h"
#include "process/row_delivery.h"

namespace tavo::pict {

class Page {
 public:
  explicit Page(const Layout& layout) : layout_(layout) {}

  // A white page. kNoMemory.
  Status start();

  // Puts the bitmap that the records have come to in its place, as far as clip and mask let it be
  // seen. What keeps its rows from being read, with those before in their places; kBadData for more
  // painting than any picture needs.
  Status paint(Records& records);

  // Rows down to the lowest that was painted.
  uint32_t painted_rows() const { return painted_rows_; }
  Status deliver(uint32_t count, bool is_whole, process::RowDelivery& rows);

 private:
  struct Place;

  Status start_row(const Bitmap& bitmap);
  Status take_row(RowReader& rows, const Bitmap& bitmap, uint32_t row);
  void paint_row(const Place& place, uint32_t y, RegionRows& clip, RegionRows& mask);
  int32_t unit_of(uint32_t y);

  const Layout& layout_;
  int32_t width_ = 0;
  int32_t height_ = 0;
  size_t line_ = 0;  // bytes
  Buffer pixels_;
  Buffer row_;     // as the bitmap has it
  Buffer colors_;  // the same in 24 bits
  color::RowConverter convert_;
  uint64_t painted_ = 0;  // bytes
  uint32_t painted_rows_ = 0;
};

// Delivers bitmaps that join: those that are as wide as the picture row by row, rows of several
// when they are all there.
class Joiner {
 public:
  Joiner(const Layout& layout, process::RowDelivery& rows) : layout_(layout), rows_(rows) {}

  Status add(Records& records);
  // Of those who get the rows; what is not kOk ended add().
  Status answer() const { return answer_; }

 private:
  Status commit(bool is_whole);
  Status pass_on(RowReader& rows, uint32_t height);
  Status put_beside(RowReader& rows, const Bitmap& bitmap);
  Status deliver_band();

  const Layout& layout_;
  process::RowDelivery& rows_;
  Buffer row_;
  Buffer band_;          // rows of the picture
  uint32_t filled_ = 0;  // columns of them
  Status answer_ = kOk;
};

}  // namespace tavo::pict
