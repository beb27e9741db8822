#include "process/dib_rows.h"

#include <algorithm>

#include "color/widen.h"

namespace tavo::dib {

Status RowReader::start() {
  return header_.coding == Coding::kNone ? line_.allocate(header_.line_bytes) : kOk;
}

// Rows that are not coded are padded to 32 bits.
Status RowReader::next(std::span<uint8_t> row) {
  if (header_.coding != Coding::kNone) return runs_.decode_row(row);
  TRY(bytes_.read(line_.bytes()));
  if (header_.has_masks) {
    fields_.convert(line_.data(), row.data(), header_.width);
    return kOk;
  }
  std::ranges::copy(line_.bytes(), row.begin());
  if (header_.bits == 2) color::widen_2_to_4(row.data(), header_.width);
  return kOk;
}

}  // namespace tavo::dib
