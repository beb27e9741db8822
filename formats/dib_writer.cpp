#include "formats/dib_writer.h"

#include <algorithm>
#include <array>

#include "process/dib_info.h"

namespace tavo::dib {

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
