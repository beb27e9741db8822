#include "process/dib_import.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "color/convert.h"
#include "color/palettes.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "platform/platform.h"
#include "process/dib_block.h"
#include "process/dib_fields.h"
#include "process/dib_info.h"
#include "process/dib_rle.h"

namespace tavo::dib {

namespace {

Status start_record(const Block& block, BitmapHandle& bitmap) {
  const Header& header = block.header;
  TRY(core::init_bitmap(bitmap, header.width, header.height, block.depth()));
  bitmap.Order = T_ORDER_BGR;
  bitmap.ViewPerspective = header.is_top_down ? 0 : 2;
  bitmap.Colors = block.colors();
  std::memset(bitmap.Info.Palette, 0, sizeof bitmap.Info.Palette);
  for (uint32_t i = 0; i < block.colors(); ++i) {
    bitmap.Info.Palette[i] = color::bgr_entry(&block.table[i * header.entry_bytes]);
  }
  const bool has_ramp =
      bitmap.BitsPerPixel == 8 && bitmap.Colors == 256 && color::is_gray_ramp(bitmap.Info.Palette);
  core::set_flag(bitmap, T_FLAG_GRAY, has_ramp);
  if (const int32_t x = dots_per_inch(header.x_per_meter); x != 0) bitmap.XResolution = x;
  if (const int32_t y = dots_per_inch(header.y_per_meter); y != 0) bitmap.YResolution = y;
  return kOk;
}

// Damage, or a missing end, ends the rows; the others are blank. Storage on disk begins so, memory
// is not touched for them.
Status fill_runs(const Block& block, BitmapHandle& bitmap) {
  ByteSource bytes(block.bits);
  RleDecoder runs(bytes, block.header.coding, block.header.width);
  Buffer buffer;
  const uint32_t line = bitmap.BytesPerLine;
  TRY(buffer.allocate(uint64_t{line} + RleDecoder::kSlack));
  const std::span<uint8_t> row = buffer.bytes().first(line);
  const core::AccessScope accessed(bitmap);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  uint32_t y = 0;
  for (bool is_over = false; y < height && !is_over; ++y) {
    is_over = !runs.decode_row(row).ok() || runs.is_at_end();
    TRY(core::put_row(bitmap, y, row));
  }
  if (core::is_memory(bitmap)) {
    const size_t filled = size_t{line} * y;
    platform::clear_block(static_cast<uint8_t*>(bitmap.Data) + filled, bitmap.Size - filled);
  }
  return kOk;
}

// Rows as stored to rows as bitmaps have them.
class PlainRows {
 public:
  explicit PlainRows(const Header& header)
      : header_(header), fields_(header, 24), is_red_first_(has_red_first(header)) {}

  Status start() { return exchange_.start(32, 24, T_ORDER_RGB, T_ORDER_BGR, nullptr, nullptr); }

  Status convert(const uint8_t* from, uint8_t* to) {
    if (is_red_first_) return exchange_.convert(from, to, header_.width);
    if (header_.has_masks) {
      fields_.convert(from, to, header_.width);
    } else {
      std::memcpy(to, from, header_.line_bytes);
    }
    return kOk;
  }

 private:
  // A usual layout elsewhere, with loops of its own.
  static bool has_red_first(const Header& header) {
    return header.has_masks && header.bits == 32 && header.red == Channel{0, 8} &&
           header.green == Channel{8, 8} && header.blue == Channel{16, 8};
  }

  const Header& header_;
  FieldConverter fields_;
  color::RowConverter exchange_;
  bool is_red_first_;
};

Status fill_plain(const Block& block, BitmapHandle& bitmap) {
  PlainRows plain(block.header);
  TRY(plain.start());
  color::RowBlocks rows(bitmap);
  TRY(rows.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const uint8_t* from = block.bits.data();
  for (uint32_t y = 0; y < height;) {
    const uint32_t count = std::min(rows.rows(), height - y);
    uint8_t* to = rows.place(y);
    for (uint32_t i = 0; i < count; ++i, to += rows.stride(), from += block.header.line_bytes) {
      TRY(plain.convert(from, to));
    }
    TRY(rows.store(y, count));
    y += count;
  }
  return kOk;
}

}  // namespace

Status convert_from_dib(std::span<const uint8_t> dib, BitmapHandle& bitmap) {
  // Whatever comes, the record can be freed.
  TRY(core::init_bitmap(bitmap, 0, 0, 24));
  Block block;
  TRY(parse_block(dib, block));
  TRY(start_record(block, bitmap));
  TRY(core::allocate_quietly(bitmap));
  const bool is_coded = block.header.coding != Coding::kNone;
  const Status status = is_coded ? fill_runs(block, bitmap) : fill_plain(block, bitmap);
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

Status convert_from_global(uintptr_t block, BitmapHandle& bitmap) {
  const size_t size = platform::shared_size(block);
  if (size == 0) return kBadArgument;
  const void* const at = platform::lock_block(block);
  if (at == nullptr) return kBadArgument;
  const Status status = convert_from_dib({static_cast<const uint8_t*>(at), size}, bitmap);
  platform::unlock_block(block);
  return status;
}

}  // namespace tavo::dib
