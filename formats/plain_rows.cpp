#include "formats/plain_rows.h"

#include <algorithm>

namespace tavo::formats {

// The delivery's rows are padded to 32 bits: only rows that are so in the file, too, come several
// at a time.
Status read_plain_rows(ByteSource& bytes, size_t row_bytes, int32_t height,
                       process::RowDelivery& rows) {
  auto left = static_cast<uint32_t>(height);
  while (left > 0) {
    uint32_t count = 1;
    std::span<uint8_t> room =
        row_bytes == rows.source_line() ? rows.next_rows(left, count) : rows.next_row();
    room = room.first(row_bytes * count);
    size_t got = 0;
    const Status status = bytes.read_some(room, got);
    if (got < room.size()) {
      TRY(rows.commit(static_cast<uint32_t>(got / row_bytes)));
      return rows.finish_early(status.ok() ? kReadError : status);
    }
    TRY(rows.commit(count));
    left -= count;
  }
  return rows.finish();
}

Status read_plain_rows_upright(io::InputFile& file, uint64_t position, size_t row_bytes,
                               int32_t height, process::RowDelivery& rows) {
  auto left = static_cast<uint32_t>(height);
  while (left > 0) {
    uint32_t count = 1;
    std::span<uint8_t> room =
        row_bytes == rows.source_line() ? rows.next_rows(left, count) : rows.next_row();
    room = room.first(row_bytes * count);
    left -= count;
    TRY(file.seek(position + uint64_t{left} * row_bytes));
    TRY(file.read(room));
    for (uint32_t above = 0, below = count - 1; above < below; ++above, --below) {
      std::ranges::swap_ranges(room.subspan(above * row_bytes, row_bytes),
                               room.subspan(below * row_bytes, row_bytes));
    }
    TRY(rows.commit(count));
  }
  return rows.finish();
}

}  // namespace tavo::formats
