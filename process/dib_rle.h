// The run-length codings of device-independent bitmaps.
// Facts: Microsoft, "Bitmap Compression" (RLE8, RLE4); IBM, "Bitmap File Format" (RLE24).
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/overrun.h"
#include "process/dib_header.h"

namespace tavo::dib {

// Decodes row after row. Pixels that the data skip are 0. Runs that pass the end of a row are cut
// there. After an end-of-bitmap mark all rows are blank.
class RleDecoder {
 public:
  RleDecoder(ByteSource& bytes, Coding coding, int32_t width)
      : bytes_(bytes), coding_(coding), width_(static_cast<uint32_t>(width)) {}

  // Fills `row`, which has room for the width and kSlack bytes behind it that may be written.
  // kReadError when the data end without a mark before the row has begun or in it; what there was
  // of the row is in it then.
  Status decode_row(std::span<uint8_t> row);

  // Whether all rows that follow are blank.
  bool is_at_end() const { return at_end_; }

  static constexpr size_t kSlack = kOverrun;

 private:
  Status decode_pairs(uint8_t* row);
  void decode_bytes(uint8_t* row);
  Status escape(uint32_t code, uint8_t* row, bool& row_done);
  void put_run(uint8_t* row, uint32_t count, const uint8_t* value);
  Status put_literal(uint8_t* row, uint32_t count);
  Status move_by_delta(uint8_t* row, bool& row_done);
  size_t bytes_before(uint32_t x) const;
  void skip_to(uint8_t* row, uint32_t x);

  ByteSource& bytes_;
  Coding coding_;
  uint32_t width_;
  uint32_t x_ = 0;           // pixel of the row that comes next
  uint32_t first_x_ = 0;     // where the next row begins
  uint32_t blank_rows_ = 0;  // rows that a delta skips
  bool at_end_ = false;      // the end-of-bitmap mark has been seen
};

}  // namespace tavo::dib
