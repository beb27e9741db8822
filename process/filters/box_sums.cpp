#include "process/filters/box_sums.h"

#include <cstring>

#include "process/filters/row_kernels.h"

namespace tavo::process {

Status ColumnSums::start(RowSource& source, const WorkLayout& layout, uint32_t size) {
  size_ = size;
  margin_ = size / 2 * layout.step;
  count_ = layout.row_bytes + 2 * margin_;
  TRY(band_.start(source, layout, size / 2, size / 2));
  TRY(sums_.allocate(count_ + kRowSlack));
  return left_.allocate(count_ + kRowSlack);
}

Status ColumnSums::next() {
  const auto slide = row_kernels().slide;
  if (has_begun_) {
    std::memcpy(left_.data(), band_.rows()[0] - margin_, count_);
    TRY(band_.advance());
    slide(sums_.data(), band_.rows()[size_ - 1] - margin_, left_.data(), count_);
    return kOk;
  }
  has_begun_ = true;
  TRY(band_.advance());
  for (uint32_t k = 0; k < size_; ++k) {
    slide(sums_.data(), band_.rows()[k] - margin_, nullptr, count_);
  }
  return kOk;
}

void add_columns(const uint16_t* columns, size_t count, size_t step, uint32_t size,
                 uint32_t* sums) {
  for (size_t channel = 0; channel < step; ++channel) {
    uint32_t sum = 0;
    for (uint32_t k = 0; k < size; ++k) sum += columns[channel + k * step];
    for (size_t i = channel; i < count; i += step) {
      sums[i] = sum;
      sum += columns[i + size * step];
      sum -= columns[i];
    }
  }
}

}  // namespace tavo::process
