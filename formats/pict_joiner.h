// Bitmaps of a PICT file that join to one.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "formats/pict_layout.h"
#include "formats/pict_records.h"
#include "process/row_delivery.h"

namespace tavo::pict {

// Delivers bitmaps that join: those that are as wide as the picture row by row, rows of several
// when they are all there.
class Joiner {
 public:
  Joiner(const Layout& layout, process::RowDelivery& rows) : layout_(layout), rows_(rows) {}

  // The bitmap at which the records stand, in the order of the file. A row that is damaged comes
  // all the same, if its decoder gives one; its status then ends the rows behind this bitmap.
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
