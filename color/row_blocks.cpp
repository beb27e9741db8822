#include "color/row_blocks.h"

#include <algorithm>

#include "core/rows.h"
#include "platform/platform.h"

namespace tavo::color {

Status RowBlocks::start() {
  if (!core::has_flag(bitmap_, T_FLAG_ALLOCATED)) return kNoStorage;
  rows_ = kBlockRows;
  const bool is_memory = core::is_memory(bitmap_);
  if (is_memory && bitmap_.Data == nullptr) return kNoMemory;
  if (is_memory) return kOk;
  const size_t fitting = std::max<size_t>(kBufferBytes / std::max<size_t>(stride(), 1), 1);
  rows_ = static_cast<uint32_t>(std::min<size_t>(fitting, kBlockRows));
  return buffer_.allocate(uint64_t{stride()} * rows_);
}

Status RowBlocks::read(uint32_t y, uint32_t count, const uint8_t*& rows) {
  rows = is_direct() ? stored(y) : buffer_.data();
  if (is_direct()) return kOk;
  for (uint32_t i = 0; i < count; ++i) {
    TRY(core::get_row(bitmap_, y + i, buffer_.bytes().subspan(i * stride(), stride())));
  }
  return kOk;
}

void RowBlocks::drop_above(uint32_t y) {
  constexpr size_t kPiece = size_t{2} << 20;  // a huge page
  const size_t end = y * stride() / kPiece * kPiece;
  if (!is_direct() || end == dropped_) return;
  platform::discard(stored(0) + dropped_, end - dropped_);
  dropped_ = end;
}

uint8_t* RowBlocks::place(uint32_t y) { return is_direct() ? stored(y) : buffer_.data(); }

Status RowBlocks::store(uint32_t y, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    const std::span row(place(y) + i * stride(), stride());
    core::clear_padding(row, bitmap_.Width, bitmap_.BitsPerPixel);
    if (!is_direct()) TRY(core::put_row(bitmap_, y + i, row));
  }
  return kOk;
}

}  // namespace tavo::color
