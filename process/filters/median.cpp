#include <cstring>

#include "base/buffer.h"
#include "color/index_rows.h"
#include "core/bitmap.h"
#include "process/filters/box_sums.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/filters/median_columns.h"
#include "process/filters/median_networks.h"
#include "process/filters/row_kernels.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

class Median final : public Filter {
 public:
  explicit Median(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    row_bytes_ = layout.row_bytes;
    margin_ = size_ / 2 * step_;
    columns_.count = row_bytes_ + 2 * margin_;
    TRY(counts_.allocate(uint64_t{16} * MedianColumns::kHistograms * columns_.count));
    columns_.counts = counts_.data();
    return band_.start(source, layout, size_ / 2, size_ / 2);
  }

  Status next(uint8_t* row) override {
    const MedianKernels& kernels = median_kernels();
    const uint8_t* const left = has_begun_ ? band_.rows()[0] : nullptr;
    TRY(band_.advance());
    if (has_begun_) {
      const uint8_t* const added = band_.rows()[size_ - 1];
      kernels.exchange(columns_, left - margin_, added - margin_);
    } else {
      for (uint32_t k = 0; k < size_; ++k) {
        kernels.add(columns_, band_.rows()[k] - margin_);
      }
      has_begun_ = true;
    }
    kernels.medians(columns_, row_bytes_, step_, size_, row);
    return kOk;
  }

 private:
  uint32_t size_;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  size_t margin_ = 0;
  bool has_begun_ = false;
  RowBand band_;
  Buffer counts_;
  MedianColumns columns_ = {};  // of the row and its repeated edges
};

// Of 3 x 3 to 7 x 7, by networks of exchanges.
class SmallMedian final : public Filter {
 public:
  explicit SmallMedian(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    row_bytes_ = layout.row_bytes;
    return band_.start(source, layout, size_ / 2, size_ / 2);
  }

  Status next(uint8_t* row) override {
    TRY(band_.advance());
    const MedianNetworks& networks = median_networks();
    const auto median = size_ == 3   ? networks.median3
                        : size_ == 5 ? networks.median5
                                     : networks.median7;
    median(band_.rows(), step_, row_bytes_, row);
    return kOk;
  }

 private:
  uint32_t size_;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  RowBand band_;
};

// Bits as bytes.
class UnpackedRows final : public RowSource {
 public:
  Status start(RowSource& source, const WorkLayout& layout) {
    source_ = &source;
    width_ = layout.width;
    return packed_.allocate(layout.row_bytes);
  }
  Status next(uint8_t* row) override {
    TRY(source_->next(packed_.data()));
    color::unpack_indices(1, packed_.data(), {row, width_});
    return kOk;
  }

 private:
  RowSource* source_ = nullptr;
  size_t width_ = 0;
  Buffer packed_;
};

// The more frequent of two indices is 1 where the sum is above a half.
class Majority final : public Filter {
 public:
  explicit Majority(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    WorkLayout unpacked = layout;
    unpacked.row_bytes = layout.width;
    TRY(rows_.start(source, layout));
    TRY(indices_.allocate(layout.width));
    TRY(sums_.allocate(uint64_t{layout.width} + kRowSlack));
    return columns_.start(rows_, unpacked, size_);
  }

  Status next(uint8_t* row) override {
    TRY(columns_.next());
    row_kernels().add_columns(columns_.sums(), 1, size_, indices_.size(), sums_.data());
    const uint32_t half = size_ * size_ / 2;
    for (size_t i = 0; i < indices_.size(); ++i) indices_.data()[i] = sums_[i] > half ? 1 : 0;
    color::pack_indices(1, indices_.bytes(), row);
    return kOk;
  }

 private:
  uint32_t size_;
  UnpackedRows rows_;
  ColumnSums columns_;
  Array<uint32_t> sums_;
  Buffer indices_;
};

}  // namespace

Status median_filter_bitmap(BitmapHandle& bitmap, int32_t size) {
  if (!is_window_size(size)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (bitmap.BitsPerPixel == 1) {
    Majority majority(static_cast<uint32_t>(size));
    return filter_bitmap(bitmap, majority, Bits::kKept);
  }
  if (size <= 7) {
    SmallMedian median(static_cast<uint32_t>(size));
    return filter_bitmap(bitmap, median);
  }
  Median median(static_cast<uint32_t>(size));
  return filter_bitmap(bitmap, median);
}

}  // namespace tavo::process
