#include "process/row_fetch.h"

#include <algorithm>

#include "color/widen.h"
#include "core/bitmap.h"

namespace tavo::process {

Status RowFetch::start() {
  if (!core::has_storage(bitmap_)) return kNoStorage;
  row_bytes_ = core::bytes_per_line(bitmap_.Width, depth_);
  if (row_bytes_ == 0 || bitmap_.Height <= 0 || bitmap_.BytesPerLine == 0) return kBadSize;
  converts_ = bitmap_.BitsPerPixel != depth_ || (depth_ > 8 && bitmap_.Order != order_);
  if (converts_) {
    const T_PaletteEntry* palette = palette_ != nullptr ? palette_ : bitmap_.Info.Palette;
    const int32_t bits = bitmap_.BitsPerPixel == 2 ? 4 : bitmap_.BitsPerPixel;
    TRY(convert_.start(bits, depth_, static_cast<int32_t>(bitmap_.Order),
                       static_cast<int32_t>(order_), bitmap_.Info.Palette, palette));
  }
  const uint32_t widened = core::bytes_per_line(bitmap_.Width, 4);
  TRY(row_.allocate(uint64_t{std::max({row_bytes_, bitmap_.BytesPerLine, widened})} + kSlack));
  return progress_.start();
}

Status RowFetch::stored(uint32_t index, std::span<uint8_t>& row) {
  TRY(core::get_row(bitmap_, index, row_.bytes().first(bitmap_.BytesPerLine)));
  if (converts_ && bitmap_.BitsPerPixel == 2) color::widen_2_to_4(row_.data(), bitmap_.Width);
  if (converts_) TRY(convert_.convert(row_.data(), bitmap_.Width));
  row = row_.bytes().first(row_bytes_);
  // What the bitmap's maker left behind the last pixel is no business of the file's.
  core::clear_padding(row, bitmap_.Width, depth_);
  return progress_.at(++fetched_, static_cast<uint32_t>(bitmap_.Height));
}

std::span<const uint8_t> RowFetch::in_place(uint32_t first, uint32_t count) {
  const bool exact = static_cast<uint64_t>(bitmap_.Width) * static_cast<uint32_t>(depth_) ==
                     uint64_t{row_bytes_} * 8;
  if (converts_ || !exact || !core::has_flag(bitmap_, T_FLAG_LOCKED)) return {};
  return {static_cast<const uint8_t*>(bitmap_.Data) + size_t{first} * row_bytes_,
          size_t{count} * row_bytes_};
}

}  // namespace tavo::process
