#include "formats/fax_rows.h"

#include <algorithm>

namespace tavo::formats {

namespace {

void invert(std::span<uint8_t> row) {
  std::ranges::transform(row, row.begin(),
                         [](uint8_t byte) { return static_cast<uint8_t>(~byte); });
}

}  // namespace

Status deliver_fax_rows(io::InputFile& file, ByteSource& bytes, ccitt::Decoder& decoder,
                        int32_t height, bool inverts, process::RowDelivery& rows) {
  decoder.begin(bytes);
  for (int32_t y = 0; y < height; ++y) {
    const std::span<uint8_t> row = rows.next_row();
    const Status status = decoder.decode_row(row);
    if (!status.ok()) return rows.finish_early(file.note_damage(status, bytes));
    if (inverts) invert(row);
    TRY(rows.commit());
  }
  return rows.finish();
}

}  // namespace tavo::formats
