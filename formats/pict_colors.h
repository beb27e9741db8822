// Rows of a PICT file's bitmap as colours.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "formats/pict_bitmap.h"
#include "formats/pict_rows.h"

namespace tavo::pict {

class ColorRows {
 public:
  // `rows` are made ready for `bitmap`; `order` is that of the colours (T_ORDER_).
  ColorRows(RowReader& rows, const Bitmap& bitmap, int32_t order)
      : rows_(rows), bitmap_(bitmap), order_(order) {
    describe_pixels(bitmap, picture_);
  }

  // The colours of a bitmap that has none of its own.
  void set_two_levels(const T_PaletteEntry& zero, const T_PaletteEntry& one) {
    picture_.palette[0] = zero;
    picture_.palette[1] = one;
  }

  // Once, behind set_two_levels(); then take() with rows that only go up.
  Status start() {
    TRY(row_.allocate(shown_bytes(bitmap_) + RowReader::kSlack));
    TRY(pixels_.allocate(size_t{3} * static_cast<uint32_t>(bitmap_.source.width())));
    return convert_.start(picture_.bits, 24, static_cast<int32_t>(picture_.order), order_,
                          picture_.palette, nullptr);
  }

  // Row `row` of the source rectangle, behind all that were taken. What keeps from reading it.
  Status take(uint32_t row) {
    TRY(rows_.skip(row - rows_.row()));
    TRY(rows_.next(row_.bytes().first(shown_bytes(bitmap_))));
    return convert_.convert(row_.data(), pixels_.data(), bitmap_.source.width());
  }
  const uint8_t* pixels() const { return pixels_.data(); }

 private:
  RowReader& rows_;
  const Bitmap& bitmap_;
  int32_t order_;
  process::SourcePicture picture_;
  Buffer row_;  // as the bitmap has it
  Buffer pixels_;
  color::RowConverter convert_;
};

}  // namespace tavo::pict
