#include <algorithm>

#include "base/buffer.h"
#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

constexpr int32_t kMaxSize = 7;

// Sums stay below 49 * 32768 * 255, and twice that, with the largest divisor, below 2^31.
struct Kernel {
  int32_t coefficients[kMaxSize * kMaxSize];
  int32_t size;
  int32_t divisor;
  int32_t bias;
  bool is_absolute;
};

class Spatial final : public Filter {
 public:
  explicit Spatial(const Kernel& kernel) : kernel_(kernel) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    const auto radius = static_cast<uint32_t>(kernel_.size / 2);
    TRY(sums_.allocate(layout.row_bytes));
    return band_.start(source, layout, radius, radius);
  }

  Status next(uint8_t* row) override {
    TRY(band_.advance());
    std::ranges::fill(sums_.items(), 0);
    const int32_t* coefficient = kernel_.coefficients;
    for (uint32_t y = 0; y < band_.count(); ++y) {
      const uint8_t* at = band_.rows()[y] - static_cast<size_t>(kernel_.size / 2) * step_;
      for (int32_t x = 0; x < kernel_.size; ++x, at += step_, ++coefficient) {
        if (*coefficient != 0) add_row(at, *coefficient);
      }
    }
    finish(row);
    return kOk;
  }

 private:
  void add_row(const uint8_t* row, int32_t coefficient) {
    int32_t* const sums = sums_.data();
    for (size_t i = 0; i < sums_.size(); ++i) sums[i] += coefficient * row[i];
  }

  void finish(uint8_t* row) const {
    for (size_t i = 0; i < sums_.size(); ++i) {
      const int32_t sum = kernel_.is_absolute ? std::max(sums_[i], -sums_[i]) : sums_[i];
      row[i] = clamp_level(divide_rounded(sum, kernel_.divisor) + kernel_.bias);
    }
  }

  const Kernel& kernel_;
  size_t step_ = 0;
  RowBand band_;
  Array<int32_t> sums_;
};

// Of the least nine bytes around each, weighed against it.
class Sharpen final : public Filter {
 public:
  explicit Sharpen(int32_t strength) : strength_(strength) {}

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    count_ = layout.row_bytes;
    return band_.start(source, layout, 1, 1);
  }

  Status next(uint8_t* row) override {
    TRY(band_.advance());
    const uint8_t* const above = band_.rows()[0] - step_;
    const uint8_t* const here = band_.rows()[1] - step_;
    const uint8_t* const below = band_.rows()[2] - step_;
    const int32_t divisor = strength_ > 0 ? 1000 : 9000;
    const auto column = [=](size_t i) { return above[i] + here[i] + below[i]; };
    for (size_t i = 0; i < count_; ++i) {
      const int32_t box = column(i) + column(i + step_) + column(i + 2 * step_);
      const int32_t v = here[i + step_];
      row[i] = clamp_level(v + divide_rounded(strength_ * (9 * v - box), divisor));
    }
    return kOk;
  }

 private:
  int32_t strength_;
  size_t step_ = 0;
  size_t count_ = 0;
  RowBand band_;
};

}  // namespace

Status spatial_filter_bitmap(BitmapHandle& bitmap, const int32_t* coefficients, int32_t size,
                             int32_t divisor, int32_t bias, uint32_t flags) {
  if (coefficients == nullptr || (size != 3 && size != 5 && size != 7)) return kBadArgument;
  if (divisor < 0 || divisor > 8388607 || bias < -255 || bias > 255) return kBadArgument;
  if ((flags & ~T_FILTER_ABSOLUTE) != 0) return kBadArgument;
  Kernel kernel = {{}, size, divisor, bias, flags != 0};
  int32_t sum = 0;
  for (int32_t i = 0; i < size * size; ++i) {
    if (coefficients[i] < -32768 || coefficients[i] > 32767) return kBadArgument;
    kernel.coefficients[i] = coefficients[i];
    sum += coefficients[i];
  }
  if (divisor == 0) kernel.divisor = std::max(sum, 1);
  TRY(check_bitmap(bitmap));
  Spatial spatial(kernel);
  return filter_bitmap(bitmap, spatial);
}

Status sharpen_bitmap(BitmapHandle& bitmap, int32_t strength) {
  if (strength < -1000 || strength > 1000) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (strength == 0) return kOk;
  Sharpen sharpen(strength);
  return filter_bitmap(bitmap, sharpen);
}

}  // namespace tavo::process
