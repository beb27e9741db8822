#include "process/filters/box_sums.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

class Average final : public Filter {
 public:
  explicit Average(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    count_ = layout.row_bytes;
    return boxes_.start(source, layout, size_);
  }

  // The area is odd: a half is never reached. With area and sum below 2^16 and 2^24, the product
  // is too large by less than 2^40, what one more of the sum would make: the quotient is exact.
  Status next(uint8_t* row) override {
    TRY(boxes_.next());
    const uint32_t area = size_ * size_;
    const uint64_t reciprocal = ((uint64_t{1} << 40) + area - 1) / area;
    const uint32_t half = area / 2;
    const uint32_t* const sums = boxes_.sums();
    for (size_t i = 0; i < count_; ++i) {
      row[i] = static_cast<uint8_t>((sums[i] + half) * reciprocal >> 40);
    }
    return kOk;
  }

 private:
  uint32_t size_;
  size_t count_ = 0;
  BoxSums boxes_;
};

}  // namespace

Status average_filter_bitmap(BitmapHandle& bitmap, int32_t size) {
  if (!is_window_size(size)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  Average average(static_cast<uint32_t>(size));
  return filter_bitmap(bitmap, average);
}

}  // namespace tavo::process
