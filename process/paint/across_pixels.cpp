#include "process/paint/across_pixels.h"

#include <algorithm>
#include <cstring>

#include "base/vector_sse2.h"
#include "process/paint/down_mean.h"

namespace tavo::process {

namespace {

using namespace sse2;

// Columns of up to so many pixels have weights that are parts of 1 << kShortShift. Those of their
// sums that are below that fit 31 bits, and are exact to an eighth of a level.
constexpr int32_t kLongestShort = 32;
constexpr uint32_t kShortShift = 15;
constexpr uint32_t kMostWeight = 32767;  // of signed factors

// Two pixels of four samples each, weighted.
V weighted(const uint16_t* one, const uint16_t* two, V weights) {
  return multiply_add16(unpack_low16(load_low64(one), load_low64(two)), weights);
}

}  // namespace

Status AcrossPixels::start(const Axis& axis, int32_t left, int32_t right, int64_t from,
                           uint32_t pixel_bytes) {
  takes_means_ = axis.takes_means;
  is_plain_ = axis.is_plain();
  is_long_ = axis.samples / axis.results > kLongestShort;
  pixel_bytes_ = pixel_bytes;
  TRY(columns_.allocate(static_cast<uint64_t>(int64_t{right} - left)));
  int64_t result = left;
  for (Column& column : columns_.items()) {
    if (!takes_means_) {
      column.first = static_cast<uint32_t>(axis.center(result++) - from);
      continue;
    }
    // Means are of two pixels or more.
    const AxisCell cell = axis.cell(result++);
    const CellWeights weights(cell, axis.results, is_long_ ? 0 : kShortShift);
    inner_weight_ = is_long_ ? weights.whole : std::min(weights.whole, kMostWeight);
    shift_ = weights.shift;  // both are those of all columns
    const uint32_t ends = (cell.lead != 0) + (cell.tail != 0);
    column = {static_cast<uint32_t>(cell.first - from), cell.whole + ends - 2,
              static_cast<uint16_t>(cell.lead != 0 ? weights.lead : inner_weight_),
              static_cast<uint16_t>(cell.tail != 0 ? weights.tail : inner_weight_)};
  }
  return kOk;
}

template <size_t kBytes>
void AcrossPixels::pick_bytes(const uint8_t* row, uint8_t* out) const {
  for (const Column& column : columns_.items()) {
    std::memcpy(out, row + size_t{column.first} * kBytes, kBytes);
    out += kBytes;
  }
}

void AcrossPixels::pick(const uint8_t* row, uint8_t* out) const {
  if (columns_.size() == 0) return;
  if (is_plain_) {
    std::memcpy(out, row + size_t{columns_[0].first} * pixel_bytes_,
                columns_.size() * pixel_bytes_);
    return;
  }
  switch (pixel_bytes_) {
    case 1:
      return pick_bytes<1>(row, out);
    case 2:
      return pick_bytes<2>(row, out);
    case 3:
      return pick_bytes<3>(row, out);
    default:
      return pick_bytes<4>(row, out);
  }
}

void AcrossPixels::round_picked(const uint16_t* row, uint8_t* out) const {
  const auto rounded = [](uint16_t sample) {
    return static_cast<uint8_t>((sample + (1 << (kMeanBits - 1))) >> kMeanBits);
  };
  if (is_plain_ && columns_.size() != 0) {
    const uint16_t* const samples = row + size_t{columns_[0].first} * pixel_bytes_;
    std::transform(samples, samples + columns_.size() * pixel_bytes_, out, rounded);
    return;
  }
  for (const Column& column : columns_.items()) {
    const uint16_t* const pixel = row + size_t{column.first} * pixel_bytes_;
    out = std::transform(pixel, pixel + pixel_bytes_, out, rounded);
  }
}

// Four channels at a time, of which those beyond the pixel's own are not kept.
template <size_t kBytes>
void AcrossPixels::average(const uint16_t* row, uint8_t* out) const {
  constexpr int kShift = kShortShift + kMeanBits;
  const V inner = splat16(static_cast<int>(inner_weight_));
  const V single = splat_pairs16(static_cast<int>(inner_weight_), 0);
  for (const Column& column : columns_.items()) {
    const uint16_t* pixel = row + size_t{column.first} * kBytes;
    const uint16_t* const last = pixel + size_t{column.inner + 1} * kBytes;
    V sum = weighted(pixel, last, splat_pairs16(column.lead, column.tail));
    pixel += kBytes;
    for (; pixel + kBytes < last; pixel += 2 * kBytes) {
      sum = add32(sum, weighted(pixel, pixel + kBytes, inner));
    }
    if (pixel < last) sum = add32(sum, weighted(pixel, pixel, single));
    const V levels = shift_right32<kShift>(add32(sum, splat32(1u << (kShift - 1))));
    store_low32(out, pack16_unsigned(pack32(levels, V{}), V{}));
    out += kBytes;
  }
}

void AcrossPixels::average_long(const uint16_t* row, uint8_t* out) const {
  const uint32_t shift = shift_ + kMeanBits;
  for (const Column& column : columns_.items()) {
    for (uint32_t c = 0; c < pixel_bytes_; ++c) {
      const uint16_t* sample = row + size_t{column.first} * pixel_bytes_ + c;
      uint64_t sum = uint64_t{column.lead} * *sample, inner = 0;
      for (uint32_t i = 0; i < column.inner; ++i) inner += *(sample += pixel_bytes_);
      sum += inner * inner_weight_ + uint64_t{column.tail} * sample[pixel_bytes_];
      *out++ = static_cast<uint8_t>((sum + (uint64_t{1} << (shift - 1))) >> shift);
    }
  }
}

void AcrossPixels::shrink(const uint16_t* row, uint8_t* out) const {
  if (!takes_means_) return round_picked(row, out);
  if (is_long_) return average_long(row, out);
  if (pixel_bytes_ == 1) return average<1>(row, out);
  pixel_bytes_ == 3 ? average<3>(row, out) : average<4>(row, out);
}

}  // namespace tavo::process
