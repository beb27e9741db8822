#include "formats/pict_joiner.h"

#include <cstring>

#include "formats/pict_rows.h"

namespace tavo::pict {

Status Joiner::commit(bool is_whole) {
  answer_ = rows_.commit(1, is_whole ? 1 : 0);
  return answer_;
}

Status Joiner::pass_on(RowReader& rows, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y) {
    TRY(rows.next(rows_.next_row()));
    TRY(commit(rows.outcome().ok()));
  }
  return rows.outcome();
}

// A row of the band as a picture of its own has it. The bitmaps of a band are equally high, and
// their widths add up to the picture's: the layout is kJoined only then.
Status Joiner::put_beside(RowReader& rows, const Bitmap& bitmap) {
  const auto height = static_cast<uint32_t>(bitmap.source.height());
  const auto width = static_cast<uint32_t>(bitmap.source.width());
  const size_t line = rows_.source_line();
  if (filled_ == 0) TRY(band_.allocate(uint64_t{line} * height));
  TRY(row_.allocate(shown_bytes(bitmap) + RowReader::kSlack));
  const uint32_t bits = static_cast<uint32_t>(layout_.picture.bits);
  for (uint32_t y = 0; y < height; ++y) {
    TRY(rows.next(row_.bytes().first(shown_bytes(bitmap))));
    move_pixels(row_.data(), 0, band_.data() + line * y, filled_, width, bits);
  }
  filled_ += width;
  return rows.outcome();
}

// A file that ends inside a band loses its rows: there is nothing to put in the other columns.
Status Joiner::deliver_band() {
  const size_t line = rows_.source_line();
  for (size_t at = 0; at < band_.size(); at += line) {
    std::memcpy(rows_.next_row().data(), band_.data() + at, line);
    TRY(commit(true));
  }
  filled_ = 0;
  band_.release();
  return kOk;
}

Status Joiner::add(Records& records) {
  const Bitmap& bitmap = records.bitmap();
  if (bitmap.source.width() == layout_.picture.width) {
    return pass_on(records.rows(), static_cast<uint32_t>(bitmap.source.height()));
  }
  TRY(put_beside(records.rows(), bitmap));
  const bool is_full = filled_ >= static_cast<uint32_t>(layout_.picture.width);
  return is_full ? deliver_band() : kOk;
}

}  // namespace tavo::pict
