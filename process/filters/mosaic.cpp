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
    TRY(sums_.allocate((uint64_t{width_} / size_ + 1) * step_));
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
    std::ranges::fill(sums_.items(), uint64_t{0});
    repeats_ = std::min(size_, rows_left_);
    rows_left_ -= repeats_;
    for (uint32_t y = 0; y < repeats_; ++y) {
      TRY(source_->next(cells_.data()));
      for_each_cell([this](uint8_t* cell, uint32_t width, uint64_t* sums) {
        for (size_t i = 0; i < width * step_; ++i) sums[i % step_] += cell[i];
      });
    }
    for_each_cell([this](uint8_t* cell, uint32_t width, const uint64_t* sums) {
      const uint64_t area = uint64_t{width} * repeats_;
      for (size_t c = 0; c < step_; ++c) {
        cell[c] = static_cast<uint8_t>((2 * sums[c] + area) / (2 * area));
      }
      for (size_t i = step_; i < width * step_; ++i) cell[i] = cell[i - step_];
    });
    return kOk;
  }

  template <class Cell>
  void for_each_cell(const Cell& cell) {
    uint64_t* sums = sums_.data();
    for (uint32_t x = 0; x < width_; x += size_, sums += step_) {
      cell(cells_.data() + x * step_, std::min(size_, width_ - x), sums);
    }
  }

  uint32_t size_;
  RowSource* source_ = nullptr;
  size_t step_ = 0;
  uint32_t width_ = 0;
  uint32_t rows_left_ = 0;
  uint32_t repeats_ = 0;  // rows that the cells still have
  Array<uint64_t> sums_;
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
