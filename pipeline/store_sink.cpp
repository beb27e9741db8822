#include "pipeline/store_sink.h"

#include "core/bitmap.h"
#include "core/rows.h"

namespace tavo::pipeline {

namespace {

constexpr uint32_t kPassStart[] = {0, 4, 2, 1};
constexpr uint32_t kPassStep[] = {8, 8, 4, 2};

}  // namespace

void StoreSink::advance_interlaced() {
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  row_ += kPassStep[pass_];
  while (row_ >= height && pass_ < 3) row_ = kPassStart[++pass_];
}

void StoreSink::resume(uint32_t rows) {
  row_ = pass_ = 0;
  if (!core::has_flag(bitmap_, T_FLAG_INTERLACED)) {
    row_ = rows;
    return;
  }
  for (uint32_t i = 0; i < rows; ++i) advance_interlaced();
}

Status StoreSink::store(const void* rows, int32_t count) {
  const core::AccessScope accessed(bitmap_);
  const auto height = static_cast<uint32_t>(bitmap_.Height);
  const uint32_t line = bitmap_.BytesPerLine;
  const auto* from = static_cast<const uint8_t*>(rows);
  const auto row_count = static_cast<uint32_t>(count);
  if (!core::has_flag(bitmap_, T_FLAG_INTERLACED)) {
    if (row_ > height || row_count > height - row_) return kBadData;
    TRY(core::put_row(bitmap_, row_, {from, size_t{line} * row_count}));
    row_ += row_count;
    return kOk;
  }
  for (uint32_t i = 0; i < row_count; ++i) {
    if (row_ >= height) return kBadData;
    TRY(core::put_row(bitmap_, row_, {from + size_t{line} * i, line}));
    advance_interlaced();
  }
  return kOk;
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
