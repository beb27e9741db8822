#include "core/rows.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/checked.h"
#include "base/settings.h"
#include "core/bitmap.h"
#include "platform/platform.h"

namespace tavo::core {

namespace {

constexpr uint32_t kAttributeFlags = 0x7F80u;  // what copies carry over

// Sequential rows need no multiplication. 32-bit wrap-around is harmless: rows of a bitmap lie
// below 4 GiB.
void move_cursor(BitmapHandle& bitmap, uint32_t row) {
  if (row == bitmap.CurrentRow) return;
  if (row == bitmap.CurrentRow + 1) {
    bitmap.RowOffset += bitmap.BytesPerLine;
  } else if (row == bitmap.CurrentRow - 1) {
    bitmap.RowOffset -= bitmap.BytesPerLine;
  } else {
    bitmap.RowOffset = bitmap.BytesPerLine * row;
  }
  bitmap.CurrentRow = row;
}

// The byte of a row that holds pixel `column`. Kept: 2-bit rows count bytes, not pixels.
uint32_t column_offset(int32_t bits, uint32_t column) {
  switch (bits) {
    case 1:
      return column / 8;
    case 4:
      return column / 2;
    case 16:
      return column * 2;
    case 24:
      return column * 3;
    case 32:
      return column * 4;
    default:
      return column;
  }
}

template <auto kMove, class Bytes>
int32_t move_disk(BitmapHandle& bitmap, uint32_t offset, Bytes* buffer, uint32_t bytes,
                  int32_t failure) {
  const auto file = static_cast<intptr_t>(bitmap.Handle);
  const auto fail = [](int32_t status) {
    settings.note.system_error = platform::last_error();
    return status;
  };
  if (platform::seek_temporary(file, offset) != int64_t{offset}) return fail(T_ERR_SEEK);
  uint32_t moved = 0;
  while (moved < bytes) {
    const int64_t part = kMove(file, buffer + moved, bytes - moved);
    if (part < 0) return fail(failure);
    if (part == 0) break;
    moved += static_cast<uint32_t>(part);
  }
  return static_cast<int32_t>(moved);
}

int32_t get_at(BitmapHandle& bitmap, void* buffer, uint32_t offset, uint32_t bytes) {
  if (is_memory(bitmap)) {
    if (!has_flag(bitmap, T_FLAG_LOCKED)) return T_ERR_NO_MEMORY;
    std::memcpy(buffer, static_cast<const uint8_t*>(bitmap.Data) + offset, bytes);
    return static_cast<int32_t>(bytes);
  }
  if (!has_storage(bitmap)) return T_ERR_NO_MEMORY;
  return move_disk<platform::read_temporary>(bitmap, offset, static_cast<uint8_t*>(buffer), bytes,
                                             T_ERR_READ);
}

int32_t put_at(BitmapHandle& bitmap, const void* buffer, uint32_t offset, uint32_t bytes) {
  if (is_memory(bitmap)) {
    if (!has_flag(bitmap, T_FLAG_LOCKED)) return T_ERR_NO_MEMORY;
    uint8_t* const to = static_cast<uint8_t*>(bitmap.Data) + offset;
    if (to != buffer) std::memcpy(to, buffer, bytes);  // rows decoded into place
    return static_cast<int32_t>(bytes);
  }
  if (!has_storage(bitmap)) return T_ERR_NO_MEMORY;
  return move_disk<platform::write_temporary>(bitmap, offset, static_cast<const uint8_t*>(buffer),
                                              bytes, T_ERR_WRITE);
}

// Moves the pixels of `row` left so that pixel `skip` becomes the first one, and zeroes what is
// behind the last of `width` pixels.
void shift_row(std::span<uint8_t> row, uint32_t skip, uint32_t width, int32_t bits) {
  const uint64_t first_bit = uint64_t{skip} * static_cast<uint32_t>(bits);
  const auto first = static_cast<size_t>(first_bit / 8);
  const auto shift = static_cast<uint32_t>(first_bit % 8);
  const auto bytes = static_cast<size_t>(packed_bytes(width, bits));
  for (size_t i = 0; i < bytes; ++i) {
    const uint32_t next = first + i + 1 < row.size() ? row[first + i + 1] : 0;
    row[i] = static_cast<uint8_t>((uint32_t{row[first + i]} << 8 | next) >> (8 - shift));
  }
  clear_padding(row, static_cast<int32_t>(width), bits);
}

Status copy_rect_rows(BitmapHandle& dst, BitmapHandle& src, uint32_t x, uint32_t first_row) {
  Buffer row;
  TRY(row.allocate(src.BytesPerLine));
  const AccessScope accessed_src(src);
  const AccessScope accessed_dst(dst);
  for (uint32_t y = 0; y < static_cast<uint32_t>(dst.Height); ++y) {
    TRY(get_row(src, first_row + y, row.bytes()));
    shift_row(row.bytes(), x, static_cast<uint32_t>(dst.Width), src.BitsPerPixel);
    TRY(put_row(dst, y, row.bytes().first(dst.BytesPerLine)));
  }
  return kOk;
}

}  // namespace

int32_t get_bitmap_row(BitmapHandle& bitmap, void* buffer, uint32_t row, uint32_t bytes) {
  move_cursor(bitmap, row);
  return get_at(bitmap, buffer, bitmap.RowOffset, bytes);
}

int32_t put_bitmap_row(BitmapHandle& bitmap, const void* buffer, uint32_t row, uint32_t bytes) {
  move_cursor(bitmap, row);
  return put_at(bitmap, buffer, bitmap.RowOffset, bytes);
}

int32_t get_bitmap_row_col(BitmapHandle& bitmap, void* buffer, uint32_t row, uint32_t column,
                           uint32_t bytes) {
  move_cursor(bitmap, row);
  return get_at(bitmap, buffer, bitmap.RowOffset + column_offset(bitmap.BitsPerPixel, column),
                bytes);
}

int32_t put_bitmap_row_col(BitmapHandle& bitmap, const void* buffer, uint32_t row, uint32_t column,
                           uint32_t bytes) {
  move_cursor(bitmap, row);
  return put_at(bitmap, buffer, bitmap.RowOffset + column_offset(bitmap.BitsPerPixel, column),
                bytes);
}

Status get_row(BitmapHandle& bitmap, uint32_t row, std::span<uint8_t> into) {
  const int32_t got = get_bitmap_row(bitmap, into.data(), row, static_cast<uint32_t>(into.size()));
  if (got < 0) return Status{got};
  return static_cast<size_t>(got) == into.size() ? kOk : kReadError;
}

Status put_row(BitmapHandle& bitmap, uint32_t row, std::span<const uint8_t> from) {
  const int32_t put = put_bitmap_row(bitmap, from.data(), row, static_cast<uint32_t>(from.size()));
  if (put < 0) return Status{put};
  return static_cast<size_t>(put) == from.size() ? kOk : kWriteError;
}

void clear_padding(std::span<uint8_t> row, int32_t width, int32_t bits_per_pixel) {
  const uint64_t bits = static_cast<uint64_t>(width) * static_cast<uint32_t>(bits_per_pixel);
  const auto bytes = static_cast<size_t>((bits + 7) / 8);
  if (bits % 8 != 0) row[bytes - 1] &= static_cast<uint8_t>(0xFF00u >> (bits % 8));
  std::fill(row.begin() + static_cast<ptrdiff_t>(bytes), row.end(), uint8_t{0});
}

uintptr_t duplicate_palette(uintptr_t palette) {
  if (palette == 0) return 0;
  T_PaletteEntry entries[256];
  const uint32_t count = std::min(platform::palette_size(palette), 256u);
  const uint32_t got = platform::palette_entries(palette, 0, {entries, count});
  return got == 0 ? 0 : platform::create_palette({entries, got});
}

Status copy_rows(BitmapHandle& dst, BitmapHandle& src) {
  // Disk rows move several at a time.
  constexpr uint32_t kChunk = 65536;
  const uint32_t line = std::max(src.BytesPerLine, dst.BytesPerLine);
  const bool same = src.BytesPerLine == dst.BytesPerLine;
  if (same && is_memory(src) && is_memory(dst)) {
    const AccessScope accessed_src(src);
    const AccessScope accessed_dst(dst);
    std::memcpy(dst.Data, src.Data, std::min(src.Size, dst.Size));
    return kOk;
  }
  const uint32_t rows = same ? std::max(1u, kChunk / std::max(1u, line)) : 1;
  Buffer buffer;
  TRY(buffer.allocate(uint64_t{line} * rows));
  const AccessScope accessed_src(src);
  const AccessScope accessed_dst(dst);
  const auto height = static_cast<uint32_t>(src.Height);
  for (uint32_t y = 0; y < height; y += rows) {
    const uint32_t count = std::min(rows, height - y);
    TRY(get_row(src, y, buffer.bytes().first(size_t{count} * src.BytesPerLine)));
    TRY(put_row(dst, y, buffer.bytes().first(size_t{count} * dst.BytesPerLine)));
  }
  return kOk;
}

Status copy_description(BitmapHandle& dst, const BitmapHandle& src) {
  dst.ViewPerspective = src.ViewPerspective;
  dst.StorageKind = src.StorageKind;
  std::memcpy(dst.ReservedA, src.ReservedA, sizeof(dst.ReservedA));
  dst.Order = src.Order;
  dst.Colors = src.Colors;
  dst.DitherMethod = src.DitherMethod;
  std::memcpy(dst.ReservedB, src.ReservedB, sizeof(dst.ReservedB));
  dst.Flags = (dst.Flags & ~kAttributeFlags) | (src.Flags & kAttributeFlags);
  dst.Info = src.Info;
  dst.GdiObjectA = duplicate_palette(src.GdiObjectA);
  dst.GdiObjectB = duplicate_palette(src.GdiObjectB);
  dst.DitherState = nullptr;
  const bool all = (src.GdiObjectA == 0) == (dst.GdiObjectA == 0) &&
                   (src.GdiObjectB == 0) == (dst.GdiObjectB == 0);
  return all ? kOk : kNoMemory;
}

Status copy_description_resized(BitmapHandle& dst, const BitmapHandle& src) {
  TRY(copy_description(dst, src));
  T_BitmapInfoHeader& header = dst.Info.Header;
  header.biWidth = dst.Width;
  header.biHeight = dst.Height;
  header.biSizeImage = dst.Size;
  return kOk;
}

Status copy_bitmap(BitmapHandle& dst, BitmapHandle& src) {
  TRY(init_bitmap(dst, src.Width, src.Height, src.BitsPerPixel));
  TRY(allocate_quietly(dst));
  Status status = copy_description(dst, src);
  if (status.ok()) status = copy_rows(dst, src);
  release_bitmap(src);
  if (!status.ok()) free_bitmap(dst);
  return status;
}

Status copy_bitmap_rect(BitmapHandle& dst, BitmapHandle& src, uint32_t x, uint32_t y,
                        uint32_t width, uint32_t height) {
  const auto right = checked_add(x, width);
  const auto bottom = checked_add(y, height);
  if (!right || *right > static_cast<uint32_t>(src.Width)) return kBadArgument;
  if (!bottom || *bottom > static_cast<uint32_t>(src.Height)) return kBadArgument;
  TRY(init_bitmap(dst, static_cast<int32_t>(width), static_cast<int32_t>(height),
                  src.BitsPerPixel));
  TRY(allocate_quietly(dst));
  if (const Status status = copy_description_resized(dst, src); !status.ok()) {
    free_bitmap(dst);
    return status;
  }
  const uint32_t first_row =
      src.ViewPerspective >= 2 ? static_cast<uint32_t>(src.Height) - *bottom : y;

  if (is_memory(dst) && is_memory(src) && src.BitsPerPixel >= 8) {
    access_bitmap(src);
    access_bitmap(dst);
    const auto pixel_bytes = static_cast<size_t>(src.BitsPerPixel / 8);
    const uint8_t* from = static_cast<const uint8_t*>(src.Data) +
                          size_t{src.BytesPerLine} * first_row + x * pixel_bytes;
    uint8_t* to = static_cast<uint8_t*>(dst.Data);
    for (uint32_t row = 0; row < height; ++row) {
      std::memcpy(to, from, width * pixel_bytes);
      std::memset(to + width * pixel_bytes, 0, dst.BytesPerLine - width * pixel_bytes);
      from += src.BytesPerLine;
      to += dst.BytesPerLine;
    }
    return kOk;
  }
  const Status status = copy_rect_rows(dst, src, x, first_row);
  release_bitmap(src);
  if (!status.ok()) free_bitmap(dst);
  return status;
}

Status copy_bitmap_data(BitmapHandle& dst, BitmapHandle& src) {
  const Status status = copy_rows(dst, src);
  release_bitmap(src);
  release_bitmap(dst);
  return status;
}

void copy_bitmap_handle(BitmapHandle& dst, const BitmapHandle& src) {
  dst = src;
  dst.DitherState = nullptr;
}

}  // namespace tavo::core
