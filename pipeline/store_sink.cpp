#include "pipeline/store_sink.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "platform/platform.h"

namespace tavo::pipeline {

void StoreSink::resume(uint32_t rows) {
  row_ = rows;
  interlaced_ = {};
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  for (uint32_t i = 0; is_interlaced() && i < rows; ++i) interlaced_.advance(height);
}

Status StoreSink::store(const void* rows, int32_t count) {
  const core::AccessScope accessed(bitmap_);
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  const uint32_t line = bitmap_.BytesPerLine;
  const auto* from = static_cast<const uint8_t*>(rows);
  const auto row_count = static_cast<uint32_t>(count);
  if (!is_interlaced()) {
    if (row_ > height || row_count > height - row_) return kBadData;
    TRY(core::put_row(bitmap_, row_, {from, size_t{line} * row_count}));
    row_ += row_count;
    return kOk;
  }
  for (uint32_t i = 0; i < row_count; ++i) {
    if (interlaced_.row() >= height) return kBadData;
    TRY(core::put_row(bitmap_, interlaced_.row(), {from + size_t{line} * i, line}));
    interlaced_.advance(height);
  }
  return kOk;
}

uint32_t StoreSink::first_missing() const {
  if (!is_interlaced()) return row_;
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  uint32_t first = height;
  for (auto rows = interlaced_; rows.row() < height; rows.advance(height)) {
    first = std::min(first, rows.row());
  }
  return first;
}

void StoreSink::clear_missing() {
  if (!core::has_flag(bitmap_, T_FLAG_MEMORY)) return clear_missing_on_disk();
  const core::AccessScope accessed(bitmap_);
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  const size_t line = bitmap_.BytesPerLine;
  auto* const pixels = static_cast<uint8_t*>(bitmap_.Data);
  if (!is_interlaced()) {
    platform::clear_block(pixels + line * row_, line * (height - row_));
    return;
  }
  for (; interlaced_.row() < height; interlaced_.advance(height)) {
    std::memset(pixels + line * interlaced_.row(), 0, line);
  }
}

// A write that fails leaves what was there: the load has failed already.
void StoreSink::clear_missing_on_disk() {
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  Buffer blank;
  if (!blank.allocate(bitmap_.BytesPerLine).ok()) return;
  std::memset(blank.data(), 0, blank.size());
  while ((is_interlaced() ? interlaced_.row() : row_) < height) {
    if (!store(blank.data(), 1).ok()) return;
  }
}

std::span<uint8_t> StoreSink::place(const BitmapHandle& source) {
  const bool same_layout = source.Width == bitmap_.Width && source.Height == bitmap_.Height &&
                           source.BytesPerLine == bitmap_.BytesPerLine;
  const bool interlaced = core::has_flag(source, T_FLAG_INTERLACED);
  if (!same_layout || interlaced || !core::is_memory(bitmap_) || bitmap_.Size == 0) return {};
  access_.emplace(bitmap_);
  auto* const pixels = static_cast<uint8_t*>(bitmap_.Data);
  if (pixels == nullptr) return {};
  return std::span{pixels, bitmap_.Size}.subspan(size_t{row_} * bitmap_.BytesPerLine);
}

}  // namespace tavo::pipeline
