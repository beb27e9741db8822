#include "process/filters/box_sums.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/filters/row_kernels.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

class Average final : public Filter {
 public:
  explicit Average(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    TRY(sums_.allocate(layout.row_bytes));
    return columns_.start(source, layout, size_);
  }

  Status next(uint8_t* row) override {
    TRY(columns_.next());
    if (size_ <= kMaxNarrowWindow) {
      row_kernels().average(columns_.sums(), step_, size_, sums_.size(), row);
    } else {
      add_columns(columns_.sums(), sums_.size(), step_, size_, sums_.data());
      divide(row);
    }
    return kOk;
  }

 private:
  // The area is odd: a half is never reached. With area and sum below 2^16 and 2^24, the product
  // is too large by less than 2^40, what one more of the sum would make: the quotient is exact.
  void divide(uint8_t* row) const {
    const uint32_t area = size_ * size_;
    const uint64_t reciprocal = ((uint64_t{1} << 40) + area - 1) / area;
    for (size_t i = 0; i < sums_.size(); ++i) {
      row[i] = static_cast<uint8_t>((sums_[i] + area / 2) * reciprocal >> 40);
    }
  }

  uint32_t size_;
  size_t step_ = 0;
  ColumnSums columns_;
  Array<uint32_t> sums_;
};

}  // namespace

Status average_filter_bitmap(BitmapHandle& bitmap, int32_t size) {
  if (!is_window_size(size)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  Average average(static_cast<uint32_t>(size));
  return filter_bitmap(bitmap, average);
}

}  // namespace tavo::process
