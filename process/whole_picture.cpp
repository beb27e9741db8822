#include "process/whole_picture.h"

#include <algorithm>

#include "base/depths.h"
#include "base/settings.h"
#include "core/notice.h"
#include "core/rows.h"

namespace tavo::process {

Status check_bitmap(const BitmapHandle& bitmap) {
  TRY(core::check_notice());
  if (!is_bitmap_depth(bitmap.BitsPerPixel)) return kBadArgument;
  if (bitmap.BitsPerPixel > 8 && bitmap.Order > T_ORDER_BGR) return kBadArgument;
  const bool has_rows = core::has_flag(bitmap, T_FLAG_ALLOCATED) && core::has_storage(bitmap);
  return has_rows ? kOk : kNoStorage;
}

bool may_work_in_place(const BitmapHandle& bitmap) {
  return core::is_memory(bitmap) && settings.status_callback == nullptr;
}

Status allocate_like(BitmapHandle& made, const BitmapHandle& bitmap) {
  TRY(core::init_bitmap(made, bitmap.Width, bitmap.Height, bitmap.BitsPerPixel));
  TRY(core::allocate_quietly(made));
  return core::copy_description(made, bitmap);
}

Status RowWindow::start(uint32_t minimum, uint64_t most_bytes) {
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  const uint32_t line = bitmap_.BytesPerLine;
  capacity_ = height;
  stride_ = static_cast<ptrdiff_t>(line);
  if (core::is_memory(bitmap_)) {
    if (bitmap_.Data == nullptr) return kNoMemory;
    top_ = static_cast<uint8_t*>(bitmap_.Data) + size_t{line} * stored(0);
    if (stored(0) != 0) stride_ = -stride_;
    return kOk;
  }
  const uint64_t least = uint64_t{line} * std::min(minimum, height);
  const uint64_t most = std::max(least, std::min(uint64_t{bitmap_.Size}, most_bytes));
  // Storage in memory has as many spare bytes behind its last row.
  constexpr uint64_t kSpareBytes = 16;
  TRY(buffer_.allocate_shrinking(most + kSpareBytes, std::max<uint64_t>(most / 8, 1),
                                 least + kSpareBytes));
  capacity_ = static_cast<uint32_t>((buffer_.size() - kSpareBytes) / line);
  top_ = buffer_.data();
  return kOk;
}

uint32_t RowWindow::stored(uint32_t y) const {
  return numbers_ == RowNumbers::kFromTop ? core::stored_row(bitmap_, y) : y;
}

Status RowWindow::read(uint32_t first, uint32_t count) {
  if (is_direct()) return kOk;
  first_ = first;
  for (uint32_t y = first; y < first + count; ++y) {
    TRY(core::get_row(bitmap_, stored(y), {row(y), bitmap_.BytesPerLine}));
  }
  return kOk;
}

Status RowWindow::store(uint32_t first, uint32_t count) {
  for (uint32_t y = first; y < first + count; ++y) {
    const std::span line(row(y), bitmap_.BytesPerLine);
    core::clear_padding(line, bitmap_.Width, bitmap_.BitsPerPixel);
    if (!is_direct()) TRY(core::put_row(bitmap_, stored(y), line));
  }
  return kOk;
}

}  // namespace tavo::process
