#include "formats/dib_writer.h"

#include <algorithm>
#include <array>

#include "base/endian.h"
#include "process/dib_header.h"

namespace tavo::dib {

namespace {

// biXPelsPerMeter from dots per inch, rounded to nearest; 0 says nothing.
uint32_t per_meter(int32_t per_inch) {
  if (per_inch <= 0) return 0;
  return static_cast<uint32_t>((int64_t{per_inch} * 10000 + 127) / 254);
}

}  // namespace

void store_info_header(const BitmapHandle& picture, int32_t depth, uint32_t image_bytes,
                       uint32_t colors_used, uint8_t* to) {
  store_le32(to, kInfoHeaderSize);                            // biSize
  store_le32(to + 4, static_cast<uint32_t>(picture.Width));   // biWidth
  store_le32(to + 8, static_cast<uint32_t>(picture.Height));  // biHeight
  store_le16(to + 12, 1);                                     // biPlanes
  store_le16(to + 14, static_cast<uint16_t>(depth));          // biBitCount
  store_le32(to + 20, image_bytes);                           // biSizeImage
  store_le32(to + 24, per_meter(picture.XResolution));        // biXPelsPerMeter
  store_le32(to + 28, per_meter(picture.YResolution));        // biYPelsPerMeter
  store_le32(to + 32, colors_used);                           // biClrUsed
}

Status write_table(io::OutputFile& file, const BitmapHandle& picture, int32_t depth,
                   size_t entry_bytes) {
  for (uint32_t i = 0; i < table_entries(depth); ++i) {
    const T_PaletteEntry& color = picture.Info.Palette[i];
    const std::array<uint8_t, 4> entry = {color.Blue, color.Green, color.Red, 0};
    TRY(file.write({entry.data(), entry_bytes}));
  }
  return kOk;
}

Status ReversedRows::put(io::OutputFile& file, std::span<const uint8_t> rows, size_t row_bytes) {
  if (reversed_.size() < rows.size()) TRY(reversed_.allocate(rows.size()));
  const std::span<uint8_t> out = reversed_.bytes().first(rows.size());
  for (size_t at = 0; at < rows.size(); at += row_bytes) {
    std::ranges::copy(rows.subspan(at, row_bytes), out.end() - (at + row_bytes));
  }
  end_ -= rows.size();
  return file.write_at(end_, out);
}

}  // namespace tavo::dib
