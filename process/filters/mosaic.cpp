#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

class Mosaic final : public Filter {
 public:
  explicit Mosaic(uint32_t size) : size_(size) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    source_ = &source;
    step_ = layout.step;
    width_ = layout.width;
    rows_left_ = layout.height;
    TRY(columns_.allocate(layout.row_bytes));
    return cells_.allocate(layout.row_bytes);
  }

  Status next(uint8_t* row) override {
    if (repeats_ == 0) TRY(make_cells());
    --repeats_;
    std::memcpy(row, cells_.data(), cells_.size());
    return kOk;
  }

 private:
  // Takes the rows of the next cells; all of them get one row.
  Status make_cells() {
    std::ranges::fill(columns_.items(), 0u);
    repeats_ = std::min(size_, rows_left_);
    rows_left_ -= repeats_;
    uint32_t* const columns = columns_.data();
    for (uint32_t y = 0; y < repeats_; ++y) {
      TRY(source_->next(cells_.data()));
      const uint8_t* const row = cells_.data();
      for (size_t i = 0; i < columns_.size(); ++i) columns[i] += row[i];
    }
    for (uint32_t x = 0; x < width_; x += size_) make_cell(x, std::min(size_, width_ - x));
    return kOk;
  }

  void make_cell(uint32_t x, uint32_t width) {
    const uint32_t* const columns = columns_.data() + x * step_;
    uint8_t* const cell = cells_.data() + x * step_;
    const uint64_t area = uint64_t{width} * repeats_;
    for (size_t channel = 0; channel < step_; ++channel) {
      uint64_t sum = 0;
      for (size_t i = channel; i < width * step_; i += step_) sum += columns[i];
      cell[channel] = static_cast<uint8_t>((2 * sum + area) / (2 * area));
    }
    for (size_t i = step_; i < width * step_; ++i) cell[i] = cell[i - step_];
  }

  uint32_t size_;
  RowSource* source_ = nullptr;
  size_t step_ = 0;
  uint32_t width_ = 0;
  uint32_t rows_left_ = 0;
  uint32_t repeats_ = 0;     // rows that the cells still have
  Array<uint32_t> columns_;  // of 32767 bytes at most
  Buffer cells_;
};

}  // namespace

Status mosaic_bitmap(BitmapHandle& bitmap, int32_t size) {
  if (size < 2 || size > 32767) return kBadArgument;
  TRY(check_bitmap(bitmap));
  Mosaic mosaic(static_cast<uint32_t>(size));
  return filter_bitmap(bitmap, mosaic);
}

}  // namespace tavo::process
