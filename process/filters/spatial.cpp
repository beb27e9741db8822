#include <algorithm>
#include <bit>
#include <cstdlib>
#include <numeric>
#include <span>

#include "process/filters/filter.h"
#include "process/filters/filters.h"
#include "process/filters/row_kernels.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

constexpr int32_t kMaxSize = 7;

// Row by row from the top left. Sums stay below 49 * 32768 * 255 in size.
struct Kernel {
  int32_t coefficients[kMaxSize * kMaxSize];
  int32_t size;
  int32_t divisor;
  int32_t bias;
  bool is_absolute;
};

// What all coefficients and the divisor have in common makes no difference.
void reduce(Kernel& kernel) {
  const auto used =
      std::span(kernel.coefficients).first(static_cast<size_t>(kernel.size * kernel.size));
  int32_t common = kernel.divisor;
  for (const int32_t coefficient : used) common = std::gcd(common, coefficient);
  for (int32_t& coefficient : used) coefficient /= common;
  kernel.divisor /= common;
}

// The bias is a multiple of the divisor; half of that more rounds to nearest. The multiplier is
// 2^shift / divisor, rounded up: it is too large by less than a divisor's part, which no sum below
// 2^8 divisors makes a whole one while 2^shift is not below 2^8 divisors squared.
Division division_of(const Kernel& kernel) {
  const auto divisor = static_cast<uint32_t>(kernel.divisor);
  const int32_t add = kernel.divisor / 2 + kernel.divisor * kernel.bias;
  const int bits = std::bit_width(divisor - 1);
  if (std::has_single_bit(divisor)) return {add, 0, 0, bits};
  const int shift = 8 + 2 * bits;
  const uint64_t multiplier = ((uint64_t{1} << shift) + divisor - 1) / divisor;
  return {add, 256 * kernel.divisor - 1, static_cast<uint32_t>(multiplier), shift};
}

class Spatial final : public Filter {
 public:
  explicit Spatial(const Kernel& kernel) : kernel_(kernel) {
    reduce(kernel_);
    if (kernel_.divisor <= kMaxDivisor) division_ = division_of(kernel_);
  }

  Status start(RowSource& source, const WorkLayout& layout) override {
    step_ = layout.step;
    row_bytes_ = layout.row_bytes;
    const auto radius = static_cast<uint32_t>(kernel_.size / 2);
    return band_.start(source, layout, radius, radius);
  }

  Status next(uint8_t* row) override {
    TRY(band_.advance());
    size_t count = 0;
    const int32_t* coefficient = kernel_.coefficients;
    for (uint32_t y = 0; y < band_.count(); ++y) {
      const uint8_t* at = band_.rows()[y] - static_cast<size_t>(kernel_.size / 2) * step_;
      for (int32_t x = 0; x < kernel_.size; ++x, at += step_, ++coefficient) {
        if (*coefficient != 0) taps_[count++] = {at, *coefficient};
      }
    }
    if (count % 2 != 0) taps_[count++] = {band_.rows()[0], 0};
    if (kernel_.divisor <= kMaxDivisor) {
      row_kernels().weigh(taps_, count, division_, kernel_.is_absolute, row_bytes_, row);
    } else {
      weigh_finely({taps_, count}, row);
    }
    return kOk;
  }

 private:
  // Up to which a bias times the divisor fits.
  static constexpr int32_t kMaxDivisor = 1 << 22;

  void weigh_finely(std::span<const Tap> taps, uint8_t* row) const {
    for (size_t i = 0; i < row_bytes_; ++i) {
      int32_t sum = 0;
      for (const Tap& tap : taps) sum += tap.coefficient * tap.at[i];
      if (kernel_.is_absolute) sum = std::abs(sum);
      row[i] = clamp_level(divide_rounded(sum, kernel_.divisor) + kernel_.bias);
    }
  }

  Kernel kernel_;
  Division division_ = {};
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  RowBand band_;
  Tap taps_[kMaxSize * kMaxSize + 1] = {};
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

// The pixel itself and its difference from its neighbours, over one divisor.
Status sharpen_bitmap(BitmapHandle& bitmap, int32_t strength) {
  if (strength < -1000 || strength > 1000) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (strength == 0) return kOk;
  const int32_t divisor = strength > 0 ? 1000 : 9000;
  Kernel kernel = {{}, 3, divisor, 0, false};
  std::fill_n(kernel.coefficients, 9, -strength);
  kernel.coefficients[4] = divisor + 8 * strength;
  Spatial spatial(kernel);
  return filter_bitmap(bitmap, spatial);
}

}  // namespace tavo::process
