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
    row_bytes_ = layout.row_bytes;
    TRY(sums_.allocate(uint64_t{row_bytes_} + kRowSlack));
    return columns_.start(source, layout, size_);
  }

  Status next(uint8_t* row) override {
    TRY(columns_.next());
    const RowKernels& kernels = row_kernels();
    if (size_ <= kMaxNarrowWindow) {
      kernels.average(columns_.sums(), step_, size_, row_bytes_, row);
    } else {
      kernels.add_columns(columns_.sums(), step_, size_, row_bytes_, sums_.data());
      kernels.divide_sums(sums_.data(), size_, row_bytes_, row);
    }
    return kOk;
  }

 private:
  uint32_t size_;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
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
