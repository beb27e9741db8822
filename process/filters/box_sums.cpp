#include "process/filters/box_sums.h"

#include "process/filters/row_kernels.h"

namespace tavo::process {

Status ColumnSums::start(RowSource& source, const WorkLayout& layout, uint32_t size) {
  size_ = size;
  margin_ = size / 2 * layout.step;
  count_ = layout.row_bytes + 2 * margin_;
  TRY(band_.start(source, layout, size / 2, size / 2));
  return sums_.allocate(count_ + kRowSlack);
}

Status ColumnSums::next() {
  const auto slide = row_kernels().slide;
  if (has_begun_) {
    const uint8_t* const left = band_.rows()[0];
    TRY(band_.advance());
    slide(sums_.data(), band_.rows()[size_ - 1] - margin_, left - margin_, count_);
    return kOk;
  }
  has_begun_ = true;
  TRY(band_.advance());
  for (uint32_t k = 0; k < size_; ++k) {
    slide(sums_.data(), band_.rows()[k] - margin_, nullptr, count_);
  }
  return kOk;
}

}  // namespace tavo::process
