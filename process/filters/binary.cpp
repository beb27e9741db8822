#include <cstring>

#include "base/buffer.h"
#include "color/gray.h"
#include "color/paint_palette.h"
#include "core/bitmap.h"
#include "process/filters/dark_index.h"
#include "process/filters/extremes.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// Rows after the work on each, those before being kept as long as a column needs them.
class PreparedRows final : public RowSource {
 public:
  Status start(RowSource& source, const WorkLayout& layout, RowExtremes* across, uint32_t kept) {
    source_ = &source;
    across_ = across;
    row_bytes_ = layout.row_bytes;
    kept_count_ = kept;
    return kept_.allocate(uint64_t{row_bytes_} * kept);
  }
  Status next(uint8_t* row) override {
    TRY(source_->next(row));
    if (kept_count_ != 0) std::memcpy(kept(count_++), row, row_bytes_);
    if (across_ != nullptr) across_->apply(row, row);
    return kOk;
  }
  // A row as it came.
  uint8_t* kept(uint32_t y) { return kept_.data() + y % kept_count_ * row_bytes_; }

 private:
  RowSource* source_ = nullptr;
  RowExtremes* across_ = nullptr;
  size_t row_bytes_ = 0;
  uint32_t kept_count_ = 0;
  uint32_t count_ = 0;
  Buffer kept_;
};

// Erosion or dilation by one of the shapes.
class Morphology final : public Filter {
 public:
  Morphology(bool is_greatest, uint32_t shape, uint32_t size)
      : extreme_{is_greatest, false}, shape_(shape), size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    extreme_.is_bits = layout.depth == 1;
    row_bytes_ = layout.row_bytes;
    if (shape_ != T_SHAPE_COLUMN) TRY(across_.start(extreme_, layout, size_));
    RowExtremes* const before = shape_ == T_SHAPE_BOX || shape_ == T_SHAPE_ROW ? &across_ : nullptr;
    TRY(rows_.start(source, layout, before, shape_ == T_SHAPE_CROSS ? size_ / 2 + 1 : 0));
    if (shape_ == T_SHAPE_CROSS) TRY(row_.allocate(row_bytes_));
    return shape_ == T_SHAPE_ROW ? kOk : down_.start(rows_, extreme_, layout, size_);
  }

  Status next(uint8_t* row) override {
    if (shape_ == T_SHAPE_ROW) return rows_.next(row);
    TRY(down_.next(row));
    if (shape_ != T_SHAPE_CROSS) return kOk;
    across_.apply(rows_.kept(y_++), row_.data());
    extreme_.combine(row, row_.data(), row, row_bytes_);
    return kOk;
  }

 private:
  Extreme extreme_;
  uint32_t shape_;
  uint32_t size_;
  size_t row_bytes_ = 0;
  uint32_t y_ = 0;
  RowExtremes across_;
  PreparedRows rows_;
  ColumnExtremes down_;
  WorkRow row_;
};

// One after the other.
class TwoFilters final : public Filter {
 public:
  TwoFilters(Filter& first, Filter& second) : first_(first), second_(second) {}
  Status start(RowSource& source, const WorkLayout& layout) override {
    TRY(first_.start(source, layout));
    return second_.start(first_, layout);
  }
  Status next(uint8_t* row) override { return second_.next(row); }

 private:
  Filter& first_;
  Filter& second_;
};

}  // namespace

Status binary_filter_bitmap(BitmapHandle& bitmap, uint32_t operation, uint32_t shape,
                            int32_t size) {
  if (operation > T_BINARY_CLOSE || shape > T_SHAPE_COLUMN) return kBadArgument;
  if (!is_window_size(size)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  const bool begins_dilating = operation == T_BINARY_DILATE || operation == T_BINARY_CLOSE;
  const bool dark_is_least = bitmap.BitsPerPixel != 1 || dark_index(bitmap) == 0;
  const bool is_greatest = begins_dilating == dark_is_least;
  Morphology first(is_greatest, shape, static_cast<uint32_t>(size));
  if (operation == T_BINARY_ERODE || operation == T_BINARY_DILATE) {
    return filter_bitmap(bitmap, first, Bits::kKept);
  }
  Morphology second(!is_greatest, shape, static_cast<uint32_t>(size));
  TwoFilters both(first, second);
  return filter_bitmap(bitmap, both, Bits::kKept);
}

}  // namespace tavo::process
