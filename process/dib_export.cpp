#include "process/dib_export.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/depths.h"
#include "base/endian.h"
#include "color/convert.h"
#include "color/row_blocks.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "process/dib_header.h"
#include "process/dib_info.h"
#include "process/whole_picture.h"

namespace tavo::dib {

namespace {

bool has_red_first(const BitmapHandle& bitmap) {
  return bitmap.BitsPerPixel > 8 && bitmap.Order == T_ORDER_RGB;
}

Status start_exchange(const BitmapHandle& bitmap, color::RowConverter& exchange) {
  const int32_t bits = bitmap.BitsPerPixel;
  return exchange.start(bits, bits, T_ORDER_RGB, T_ORDER_BGR, nullptr, nullptr);
}

// Rows of a bitmap from the bottom up, as device-independent bitmaps have them.
class UpwardRows {
 public:
  explicit UpwardRows(BitmapHandle& bitmap)
      : bitmap_(bitmap), accessed_(bitmap), depth_(request_depth(bitmap.BitsPerPixel)) {}

  Status start() {
    if (core::is_memory(bitmap_) && bitmap_.Data == nullptr) return kNoMemory;
    return start_exchange(bitmap_, exchange_);
  }

  // Padding is zero.
  Status get(uint32_t y, std::span<uint8_t> row) {
    const auto height = static_cast<uint32_t>(bitmap_.Height);
    const uint32_t stored = bitmap_.ViewPerspective >= 2 ? y : height - 1 - y;
    TRY(core::get_row(bitmap_, stored, row.first(bitmap_.BytesPerLine)));
    if (bitmap_.BitsPerPixel == 2) color::widen_2_to_4(row.data(), bitmap_.Width);
    if (has_red_first(bitmap_)) TRY(exchange_.convert(row.data(), bitmap_.Width));
    core::clear_padding(row, bitmap_.Width, depth_);
    return kOk;
  }

 private:
  BitmapHandle& bitmap_;
  core::AccessScope accessed_;
  int32_t depth_;
  color::RowConverter exchange_;
};

}  // namespace

Status convert_to_dib(BitmapHandle& bitmap, SharedBlock& dib) {
  TRY(process::check_bitmap(bitmap));
  const int32_t depth = request_depth(bitmap.BitsPerPixel);
  const uint32_t entries = entries_used(bitmap, depth);
  const uint32_t line = core::bytes_per_line(bitmap.Width, depth);
  const uint64_t image = uint64_t{line} * static_cast<uint32_t>(bitmap.Height);
  const uint64_t bits_at = kInfoHeaderSize + uint64_t{entries} * sizeof(T_PaletteEntry);
  if (line == 0 || bits_at + image > UINT32_MAX) return kBadSize;
  TRY(dib.allocate(static_cast<uint32_t>(bits_at + image)));
  uint8_t* const at = dib.bytes().data();
  store_info_header(bitmap, depth, static_cast<uint32_t>(image), colors_used(bitmap, depth), at);
  for (uint32_t i = 0; i < entries; ++i) {
    const T_PaletteEntry& color = bitmap.Info.Palette[i];
    store_native(at + kInfoHeaderSize + i * sizeof color,
                 T_PaletteEntry{color.Blue, color.Green, color.Red, 0});
  }
  UpwardRows rows(bitmap);
  TRY(rows.start());
  uint8_t* row = at + bits_at;
  for (uint32_t y = 0; y < static_cast<uint32_t>(bitmap.Height); ++y, row += line) {
    TRY(rows.get(y, {row, line}));
  }
  return kOk;
}

// ---- In place ----

namespace {

Status widen_rows(BitmapHandle& bitmap, BitmapHandle& made) {
  UpwardRows upward(bitmap);
  TRY(upward.start());
  color::RowBlocks rows(made);
  TRY(rows.start());
  for (uint32_t y = 0; y < static_cast<uint32_t>(bitmap.Height); ++y) {
    TRY(upward.get(y, {rows.place(y), rows.stride()}));
    TRY(rows.store(y, 1));
  }
  return kOk;
}

Status widen(BitmapHandle& bitmap) {
  core::OwnedBitmap made;
  TRY(core::init_bitmap(*made, bitmap.Width, bitmap.Height, 4));
  TRY(core::allocate_quietly(*made));
  TRY(core::copy_description(*made, bitmap));
  TRY(widen_rows(bitmap, *made));
  core::take_place(bitmap, *made);
  return kOk;
}

// Pairs of rows that trade places, and rows that stay where they are; blue comes first afterwards.
class RowTurner {
 public:
  explicit RowTurner(BitmapHandle& bitmap) : bitmap_(bitmap), accessed_(bitmap) {}

  Status start() {
    if (!core::is_memory(bitmap_)) TRY(buffer_.allocate(uint64_t{2} * bitmap_.BytesPerLine));
    return start_exchange(bitmap_, exchange_);
  }

  Status turn(uint32_t y, uint32_t other) {
    const size_t line = bitmap_.BytesPerLine;
    auto* const first = static_cast<uint8_t*>(bitmap_.Data);
    const bool is_direct = core::is_memory(bitmap_);
    const std::span row(is_direct ? first + line * y : buffer_.data(), line);
    const std::span other_row(is_direct ? first + line * other : buffer_.data() + line, line);
    TRY(take(y, row));
    if (y != other) TRY(take(other, other_row));
    if (!is_direct) {
      TRY(core::put_row(bitmap_, other, row));
      return y != other ? core::put_row(bitmap_, y, other_row) : kOk;
    }
    if (y != other) std::ranges::swap_ranges(row, other_row);
    return kOk;
  }

 private:
  Status take(uint32_t y, std::span<uint8_t> row) {
    if (!core::is_memory(bitmap_)) TRY(core::get_row(bitmap_, y, row));
    return has_red_first(bitmap_) ? exchange_.convert(row.data(), bitmap_.Width) : kOk;
  }

  BitmapHandle& bitmap_;
  core::AccessScope accessed_;
  color::RowConverter exchange_;
  Buffer buffer_;
};

Status turn_rows(BitmapHandle& bitmap) {
  const bool is_upward = bitmap.ViewPerspective >= 2;
  if (is_upward && !has_red_first(bitmap)) return kOk;
  RowTurner turner(bitmap);
  TRY(turner.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const uint32_t steps = is_upward ? height : (height + 1) / 2;
  for (uint32_t y = 0; y < steps; ++y) TRY(turner.turn(y, is_upward ? y : height - 1 - y));
  return kOk;
}

}  // namespace

Status change_to_dib(BitmapHandle& bitmap) {
  TRY(process::check_bitmap(bitmap));
  TRY(bitmap.BitsPerPixel == 2 ? widen(bitmap) : turn_rows(bitmap));
  bitmap.Order = T_ORDER_BGR;
  bitmap.ViewPerspective = 2;
  const int32_t depth = bitmap.BitsPerPixel;
  store_info_header(bitmap, depth, bitmap.Size, colors_used(bitmap, depth),
                    reinterpret_cast<uint8_t*>(&bitmap.Info.Header));
  return kOk;
}

}  // namespace tavo::dib
