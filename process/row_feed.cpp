#include "process/row_feed.h"

#include <algorithm>
#include <cstring>

#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"

namespace tavo::process {

namespace {

// Of rows that are changed at once; more than a file gathers before it writes.
constexpr uint32_t kPieceBytes = 40 * 1024;
// Of a bitmap's rows between two looks at the progress, and how many looks there are at least.
constexpr uint32_t kStepBytes = 256 * 1024;
constexpr uint32_t kLeastSteps = 16;

}  // namespace

Status RowFeed::prepare(const BitmapHandle& picture, bool is_top_first) {
  layout_ = {.bits = request_.depth, .palette = picture.Info.Palette, .is_top_first = is_top_first};
  TRY(writer_.prepare(request_, picture, layout_));
  width_ = picture.Width;
  const uint32_t line = core::bytes_per_line(width_, layout_.bits);
  row_bytes_ = layout_.row_bytes != 0 ? layout_.row_bytes : line;
  if (line == 0 || picture.Height <= 0 || picture.BytesPerLine == 0) return kBadSize;
  rows_left_ = static_cast<uint32_t>(picture.Height);

  const int32_t bits = picture.BitsPerPixel;
  const auto width = static_cast<uint64_t>(width_);
  source_bytes_ = static_cast<size_t>(core::packed_bytes(width, bits));
  converts_ = bits != layout_.bits || (bits > 8 && picture.Order != layout_.order);
  // What the picture's maker left behind the last pixel is no business of the file's.
  const bool has_padding = width * static_cast<uint32_t>(bits) != uint64_t{row_bytes_} * 8;
  changes_ = converts_ || layout_.inverts || has_padding;
  if (converts_) {
    TRY(convert_.start(bits, layout_.bits, static_cast<int32_t>(picture.Order),
                       static_cast<int32_t>(layout_.order), picture.Info.Palette, layout_.palette));
  }
  const auto fitting = static_cast<uint32_t>(kPieceBytes / row_bytes_);
  piece_rows_ = std::clamp(fitting, 1u, rows_left_);
  return piece_.allocate(uint64_t{row_bytes_} * piece_rows_);
}

Status RowFeed::make(const uint8_t* from, std::span<uint8_t> row) {
  if (converts_) {
    TRY(convert_.convert(from, row.data(), width_));
  } else {
    std::memcpy(row.data(), from, source_bytes_);
  }
  if (layout_.inverts) {
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(~byte);
  }
  if (changes_) core::clear_padding(row, width_, layout_.bits);
  return kOk;
}

// Rows that lie as the writer wants them are not copied.
Status RowFeed::put(const uint8_t* rows, ptrdiff_t stride, uint32_t count) {
  if (count > rows_left_) return kBadData;
  rows_left_ -= count;
  if (!changes_ && stride == static_cast<ptrdiff_t>(row_bytes_)) {
    return writer_.put_rows({rows, count * row_bytes_}, row_bytes_);
  }
  while (count > 0) {
    const uint32_t part = std::min(count, piece_rows_);
    for (uint32_t i = 0; i < part; ++i, rows += stride) {
      TRY(make(rows, piece_.bytes().subspan(i * row_bytes_, row_bytes_)));
    }
    TRY(writer_.put_rows(piece_.bytes().first(part * row_bytes_), row_bytes_));
    count -= part;
  }
  return kOk;
}

namespace {

// The rows of a bitmap some at a time: where they lie in memory, or from the disk.
class StoredRows {
 public:
  explicit StoredRows(BitmapHandle& bitmap) : bitmap_(bitmap) {}

  // `rows`: of one step.
  Status start(uint32_t rows) {
    if (!core::is_memory(bitmap_)) return buffer_.allocate(uint64_t{bitmap_.BytesPerLine} * rows);
    return core::has_flag(bitmap_, T_FLAG_LOCKED) ? kOk : kNoMemory;
  }

  Status read(uint32_t first, uint32_t count, const uint8_t*& rows) {
    const size_t line = bitmap_.BytesPerLine;
    if (core::is_memory(bitmap_)) {
      rows = static_cast<const uint8_t*>(bitmap_.Data) + first * line;
      return kOk;
    }
    rows = buffer_.data();
    return core::get_row(bitmap_, first, buffer_.bytes().first(count * line));
  }

 private:
  BitmapHandle& bitmap_;
  Buffer buffer_;
};

Status put_rows(BitmapHandle& bitmap, bool is_top_first, uint32_t step, StoredRows& stored,
                RowFeed& feed, core::Progress& progress) {
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const auto line = static_cast<ptrdiff_t>(bitmap.BytesPerLine);
  const bool is_reversed = is_top_first == (bitmap.ViewPerspective >= 2);
  for (uint32_t y = 0, count = 0; y < height; y += count) {
    count = std::min(step, height - y);
    const uint8_t* rows = nullptr;
    TRY(stored.read(is_reversed ? height - y - count : y, count, rows));
    TRY(is_reversed ? feed.put(rows + (count - 1) * line, -line, count)
                    : feed.put(rows, line, count));
    TRY(progress.at(y + count, height));
  }
  return kOk;
}

}  // namespace

Status write_bitmap(io::RowWriter& writer, const io::SaveRequest& request, BitmapHandle& bitmap) {
  const bool is_top_first =
      writer.order() == io::RowOrder::kTopFirst ||
      (writer.order() == io::RowOrder::kAsStored && bitmap.ViewPerspective < 2);
  RowFeed feed(writer, request);
  TRY(feed.prepare(bitmap, is_top_first));
  if (!core::has_storage(bitmap)) return kNoStorage;
  const uint32_t most = std::min(kStepBytes / bitmap.BytesPerLine,
                                 static_cast<uint32_t>(bitmap.Height) / kLeastSteps);
  const uint32_t step = std::max(most, 1u);
  StoredRows stored(bitmap);
  TRY(stored.start(step));
  core::Progress progress;
  TRY(progress.start());
  TRY(feed.begin(bitmap));
  TRY(put_rows(bitmap, is_top_first, step, stored, feed, progress));
  TRY(feed.finish());
  return progress.finish();
}

}  // namespace tavo::process
