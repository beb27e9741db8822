#include "process/smooth/weights.h"

#include <algorithm>
#include <cstdlib>

#include "base/trigonometry.h"
#include "process/rounding.h"

namespace tavo::process {

namespace {

constexpr int64_t kOne = 65536;              // of distances and weights
constexpr int64_t kUnit = int64_t{1} << 31;  // of sines

constexpr int64_t floor_divide(int64_t a, int64_t b) {
  return a / b - (a % b != 0 && (a < 0) != (b < 0));
}
int64_t radius(SmoothFilter filter) {
  if (filter == SmoothFilter::kTriangle) return 1;
  return filter == SmoothFilter::kLanczos ? 3 : 2;
}

// Catmull and Rom's cubic.
int64_t cubic(int64_t t) {
  const int64_t square = t * t, cube = square * t;
  const int64_t p = t < kOne
                        ? 3 * cube - 5 * kOne * square + 2 * kOne * kOne * kOne
                        : -cube + 5 * kOne * square - 8 * kOne * kOne * t + 4 * kOne * kOne * kOne;
  return divide_rounded(p, int64_t{1} << 33);
}

// Mitchell and Netravali's, B = C = 1/3.
int64_t mitchell(int64_t t) {
  const int64_t square = t * t, cube = square * t;
  const int64_t p =
      t < kOne ? 21 * cube - 36 * kOne * square + 16 * kOne * kOne * kOne
               : -7 * cube + 36 * kOne * square - 60 * kOne * kOne * t + 32 * kOne * kOne * kOne;
  return divide_rounded(p, 18 * (int64_t{1} << 32));
}

// t as an angle, kUnit standing for 1: a third of half a turn for every kOne.
int64_t angle(int64_t t) { return (t * kRadiansOf45Degrees + 24576) / 49152; }

// The sine of that angle, t from 0 to 3 kOne.
int64_t sine(int64_t t) {
  constexpr int64_t kHalfTurn = 3 * kOne;
  const int64_t a = std::min(t, kHalfTurn - t);
  if (a <= kHalfTurn / 4) return sine_cosine_of_radians(angle(a)).sine;
  return sine_cosine_of_radians(angle(kHalfTurn / 2 - a)).cosine;
}

// sin(pi x) / (pi x) times the same of x / 3. With s = sin(pi x / 3), sin(pi x) is 3 s - 4 s^3.
int64_t lanczos(int64_t t) {
  if (t == 0) return kOne;
  const int64_t s = sine(t);
  const int64_t quotient = (s << 30) / angle(t);
  const int64_t rest = (kUnit >> 1) - 4 * (s * s >> 32) / 3;
  return ((quotient * quotient >> 30) * rest + (int64_t{1} << 43)) >> 44;
}

int64_t kernel(SmoothFilter filter, int64_t t) {
  switch (filter) {
    case SmoothFilter::kTriangle:
      return kOne - t;
    case SmoothFilter::kCubic:
      return cubic(t);
    case SmoothFilter::kMitchell:
      return mitchell(t);
    default:
      return lanczos(t);
  }
}

}  // namespace

Status SmoothWeights::start(SmoothFilter filter, const SmoothSide& side) {
  filter_ = filter;
  side_ = side;
  results_ = int64_t{side.results} * side.scale;
  const bool is_box = filter == SmoothFilter::kBox;
  support_ = is_box ? side.extent : 2 * radius(filter) * std::max<int64_t>(side.extent, results_);
  // The samples in an open interval, or the cells that a closed one touches.
  const int64_t most = (support_ + results_ - 1) / results_ + (is_box ? 1 : 0);
  return parts_.allocate(static_cast<uint64_t>(std::min<int64_t>(most, side.samples)));
}

// The weight of the sample `offset` behind the base.
int64_t SmoothWeights::weight(int64_t offset) const {
  const int64_t begin = offset * results_;
  if (filter_ == SmoothFilter::kBox) {
    const int64_t overlap =
        std::min(begin + results_, rest_ + side_.extent) - std::max(begin, rest_);
    return std::max<int64_t>(overlap, 0);
  }
  const int64_t distance = std::abs(2 * begin + results_ - rest_);
  if (distance >= support_) return 0;
  const int64_t reach = radius(filter_);
  const int64_t t = divide_rounded(kOne * distance, support_ / reach);
  return t < kOne * reach ? kernel(filter_, t) : 0;
}

void SmoothWeights::set_center(int64_t result) {
  const int64_t extent = side_.extent;
  const bool is_box = filter_ == SmoothFilter::kBox;
  // The begin of what a result covers, or its centre in half units.
  const int64_t at = is_box ? result * extent : (2 * result + 1) * extent;
  const int64_t unit = is_box ? results_ : 2 * results_;
  base_ = at / unit;
  rest_ = at % unit;
}

// What lies outside is the nearest sample of the edge.
void SmoothWeights::add_part(int64_t sample, int32_t part) {
  const int64_t inside = std::clamp<int64_t>(sample, 0, side_.samples - 1);
  int16_t& sum = parts_[static_cast<size_t>(inside - first_)];
  sum = static_cast<int16_t>(sum + part);
}

SmoothWindow SmoothWeights::window(uint32_t result) {
  const auto counted = [this](int64_t n, int32_t of) { return side_.is_mirrored ? of - 1 - n : n; };
  set_center(counted(result, side_.results));
  int64_t begin = 0, end = 0;  // offsets from the base
  if (filter_ == SmoothFilter::kBox) {
    end = (rest_ + side_.extent + results_ - 1) / results_;
  } else {
    begin = floor_divide(rest_ - support_ - results_, 2 * results_) + 1;
    end = floor_divide(rest_ + support_ - results_ - 1, 2 * results_) + 1;
  }
  int64_t total = 0;
  for (int64_t i = begin; i < end; ++i) total += weight(i);

  const int64_t last = side_.samples - 1;
  first_ = std::clamp<int64_t>(base_ + begin, 0, last);
  const auto count =
      static_cast<size_t>(std::clamp<int64_t>(base_ + end - 1, 0, last) - first_ + 1);
  std::fill_n(parts_.data(), count, int16_t{0});
  // Differences of rounded running sums: their sum is kWhole, whatever the number of parts.
  int64_t sum = 0, before = 0;
  for (int64_t i = begin; i < end; ++i) {
    sum += weight(i);
    const int64_t rounded = divide_rounded(kWhole * sum, total);
    add_part(base_ + i, static_cast<int32_t>(rounded - before));
    before = rounded;
  }
  if (side_.is_mirrored) {
    std::reverse(parts_.data(), parts_.data() + count);
    first_ = last - (first_ + static_cast<int64_t>(count) - 1);
  }
  return {static_cast<uint32_t>(first_), parts_.items().first(count)};
}

}  // namespace tavo::process
