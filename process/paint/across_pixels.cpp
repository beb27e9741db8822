#include "process/paint/across_pixels.h"

#include <cstring>

#include "base/vector_sse2.h"

namespace tavo::process {

namespace {

using namespace sse2;

// Products of four 16-bit numbers.
V multiply_four(V values, uint32_t weight) {
  const V factor = splat16(static_cast<int>(weight));
  return unpack_low16(multiply16(values, factor), multiply_high16_unsigned(values, factor));
}

// (sums * weight + edges + half) >> shift: `sums` and `edges` are 32 bits wide, what is between
// is not.
V weigh(V sums, V edges, V weight, V half, V shift) {
  const auto each = [&](V sum, V edge) {
    return _mm_srl_epi64(_mm_add_epi64(_mm_add_epi64(_mm_mul_epu32(sum, weight), edge), half),
                         shift);
  };
  const V low_halves = _mm_set_epi32(0, -1, 0, -1);
  const V even = each(sums, edges & low_halves);
  const V odd = each(shift_right64<32>(sums), shift_right64<32>(edges));
  return even | shift_left64<32>(odd);
}

}  // namespace

Status AcrossPixels::start(const Axis& axis, int32_t left, int32_t right, int64_t from,
                           uint32_t pixel_bytes) {
  takes_means_ = axis.takes_means;
  is_plain_ = axis.is_plain();
  pixel_bytes_ = pixel_bytes;
  TRY(columns_.allocate(static_cast<uint64_t>(int64_t{right} - left)));
  int64_t result = left;
  for (Column& column : columns_.items()) {
    if (!takes_means_) {
      column.first = static_cast<uint32_t>(axis.center(result++) - from);
      continue;
    }
    const AxisCell cell = axis.cell(result++);
    const CellWeights weights(cell, axis.results);
    column = {static_cast<uint32_t>(cell.first - from), cell.whole,
              static_cast<uint16_t>(weights.lead), static_cast<uint16_t>(weights.tail)};
    whole_weight_ = weights.whole, shift_ = weights.shift;  // those of all
    is_long_ |= cell.whole > 65536;
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
  for (const Column& column : columns_.items()) {
    const uint16_t* const pixel = row + size_t{column.first} * pixel_bytes_;
    for (uint32_t c = 0; c < pixel_bytes_; ++c)
      *out++ = static_cast<uint8_t>((pixel[c] + 128) >> 8);
  }
}

// Four channels at a time, of which those beyond the pixel's own are not kept.
template <size_t kBytes>
void AcrossPixels::average(const uint16_t* row, uint8_t* out) const {
  const V weight = splat32(whole_weight_);
  const V shift = single32(shift_ + 8);
  const V half = _mm_set1_epi64x(int64_t{1} << (shift_ + 7));
  for (const Column& column : columns_.items()) {
    const uint16_t* pixel = row + size_t{column.first} * kBytes;
    V edges = {}, sums = {};
    if (column.lead != 0) {
      edges = multiply_four(load_low64(pixel), column.lead);
      pixel += kBytes;
    }
    for (uint32_t i = 0; i < column.whole; ++i, pixel += kBytes) {
      sums = add32(sums, unpack_low16(load_low64(pixel), V{}));
    }
    if (column.tail != 0) edges = add32(edges, multiply_four(load_low64(pixel), column.tail));
    const V levels = weigh(sums, edges, weight, half, shift);
    store_low32(out, pack16_unsigned(pack32(levels, V{}), V{}));
    out += kBytes;
  }
}

void AcrossPixels::average_long(const uint16_t* row, uint8_t* out) const {
  const uint64_t half = uint64_t{1} << (shift_ + 7);
  for (const Column& column : columns_.items()) {
    for (uint32_t c = 0; c < pixel_bytes_; ++c) {
      const uint16_t* sample = row + size_t{column.first} * pixel_bytes_ + c;
      uint64_t sum = half, whole = 0;
      if (column.lead != 0) {
        sum += uint64_t{column.lead} * *sample;
        sample += pixel_bytes_;
      }
      for (uint32_t i = 0; i < column.whole; ++i, sample += pixel_bytes_) whole += *sample;
      if (column.tail != 0) sum += uint64_t{column.tail} * *sample;
      *out++ = static_cast<uint8_t>((sum + whole * whole_weight_) >> (shift_ + 8));
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
