#include "process/filters/median_columns.h"

#include <algorithm>
#include <array>

namespace tavo::process {

namespace {

// Counts of what is up to each of sixteen halves of bytes.
using Counts = std::array<uint16_t, 16>;

void add_counts(Counts& counts, const uint8_t* column) {
  for (size_t i = 0; i < 16; ++i) counts[i] = static_cast<uint16_t>(counts[i] + column[i]);
}
void subtract_counts(Counts& counts, const uint8_t* column) {
  for (size_t i = 0; i < 16; ++i) counts[i] = static_cast<uint16_t>(counts[i] - column[i]);
}

// The first half that `rank` values do not exceed.
uint32_t find_rank(const Counts& counts, uint32_t rank) {
  uint32_t below = 0;
  for (size_t i = 0; i < 16; ++i) below += counts[i] < rank ? 1 : 0;
  return below;
}

// What one value of a half of a byte adds to counts.
constexpr std::array<std::array<uint8_t, 16>, 16> kFrom = [] {
  std::array<std::array<uint8_t, 16>, 16> from = {};
  for (size_t half = 0; half < 16; ++half) {
    for (size_t i = half; i < 16; ++i) from[half][i] = 1;
  }
  return from;
}();

template <int kChange>
void change_counts(uint8_t (&counts)[16], uint32_t half) {
  for (size_t i = 0; i < 16; ++i) {
    counts[i] = static_cast<uint8_t>(counts[i] + kChange * kFrom[half][i]);
  }
}

}  // namespace

Status MedianColumns::start(size_t count, size_t step, uint32_t size) {
  count_ = count;
  step_ = step;
  size_ = size;
  return columns_.allocate(count);
}

template <int kChange>
void MedianColumns::change(const uint8_t* row) {
  for (size_t i = 0; i < count_; ++i) {
    Column& column = columns_[i];
    const uint32_t upper = row[i] >> 4;
    change_counts<kChange>(column.upper, upper);
    change_counts<kChange>(column.lower[upper], row[i] & 15);
  }
}
template void MedianColumns::change<1>(const uint8_t* row);
template void MedianColumns::change<-1>(const uint8_t* row);

void MedianColumns::medians(uint8_t* out) const {
  for (size_t channel = 0; channel < step_; ++channel) medians_of_channel(channel, out);
}

void MedianColumns::medians_of_channel(size_t channel, uint8_t* out) const {
  const auto width = static_cast<int64_t>(count_ / step_);
  const int64_t radius = size_ / 2;
  const uint32_t rank = size_ * size_ / 2 + 1;
  // Beyond the edges columns are repeated.
  const auto column_at = [&](int64_t x) -> const Column& {
    return columns_[static_cast<size_t>(std::clamp<int64_t>(x, 0, width - 1)) * step_ + channel];
  };
  Counts upper = {};
  for (int64_t x = -radius; x < radius; ++x) add_counts(upper, column_at(x).upper);
  Counts lower[16] = {};
  int64_t up_to_date[16];  // the pixel that each is the square's of
  std::ranges::fill(up_to_date, -2 * radius - 1);
  for (int64_t x = 0; x < width; ++x) {
    add_counts(upper, column_at(x + radius).upper);
    const uint32_t half = find_rank(upper, rank);
    Counts& counts = lower[half];
    if (x - up_to_date[half] > 2 * radius) {
      counts = {};
      for (int64_t k = x - radius; k <= x + radius; ++k)
        add_counts(counts, column_at(k).lower[half]);
    } else {
      for (int64_t k = up_to_date[half] + 1; k <= x; ++k) {
        subtract_counts(counts, column_at(k - 1 - radius).lower[half]);
        add_counts(counts, column_at(k + radius).lower[half]);
      }
    }
    up_to_date[half] = x;
    const uint32_t before = half == 0 ? 0 : upper[half - 1];
    const uint32_t value = half << 4 | find_rank(counts, rank - before);
    out[static_cast<size_t>(x) * step_ + channel] = static_cast<uint8_t>(value);
    subtract_counts(upper, column_at(x - radius).upper);
  }
}

}  // namespace tavo::process
