#include "process/filters/box_sums.h"

namespace tavo::process {

namespace {

void add_row(const uint8_t* row, size_t count, uint16_t* sums) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
}
void subtract_row(const uint8_t* row, size_t count, uint16_t* sums) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] - row[i]);
}

// Sums of `size` columns each, `step` apart.
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

}  // namespace

Status BoxSums::start(RowSource& source, const WorkLayout& layout, uint32_t size) {
  size_ = size;
  step_ = layout.step;
  row_bytes_ = layout.row_bytes;
  columns_ = row_bytes_ + (size - 1) * step_;
  TRY(band_.start(source, layout, size / 2, size / 2));
  TRY(column_sums_.allocate(columns_ + step_));
  return sums_.allocate(row_bytes_);
}

Status BoxSums::next() {
  const size_t margin = size_ / 2 * step_;
  if (has_begun_) subtract_row(band_.rows()[0] - margin, columns_, column_sums_.data());
  TRY(band_.advance());
  for (uint32_t k = has_begun_ ? size_ - 1 : 0; k < size_; ++k) {
    add_row(band_.rows()[k] - margin, columns_, column_sums_.data());
  }
  has_begun_ = true;
  add_columns(column_sums_.data(), row_bytes_, step_, size_, sums_.data());
  return kOk;
}

}  // namespace tavo::process
