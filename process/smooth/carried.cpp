#include "process/smooth/carried.h"

namespace tavo::process {

namespace {

// The sample in which the centre of a result lies.
int64_t center(int64_t result, const SmoothSide& side) {
  return (2 * result + 1) * side.samples / (2 * int64_t{side.results});
}

}  // namespace

Status CarriedBits::start(int32_t bits, const SmoothSide& across, const SmoothSide& down) {
  if (bits != 16 && bits != 32) return kOk;
  pixel_bytes_ = static_cast<uint32_t>(bits) / 8;
  mask_ = bits == 16 ? 0x80 : 0xFF;
  down_ = down;
  const auto width = static_cast<uint32_t>(across.results);
  TRY(columns_.allocate(width));
  for (uint32_t x = 0; x < width; ++x) {
    columns_[x] = static_cast<uint32_t>(center(x, across)) * pixel_bytes_ + pixel_bytes_ - 1;
  }
  return bytes_.allocate(uint64_t{width} * kRing);
}

// The stored number of the row for the stored result.
int64_t CarriedBits::source_row(int64_t result) const {
  if (!down_.is_mirrored) return center(result, down_);
  return down_.samples - 1 - center(down_.results - 1 - result, down_);
}

void CarriedBits::take(const uint8_t* row) {
  if (pixel_bytes_ == 0) return;
  const int64_t number = taken_++;
  if (next_ >= down_.results || source_row(next_) != number) return;
  uint8_t* const to = slot(kept_++);
  for (size_t x = 0; x < columns_.size(); ++x) to[x] = row[columns_[x]];
  while (next_ < down_.results && source_row(next_) == number) ++next_;
}

void CarriedBits::put(uint8_t* row) {
  if (pixel_bytes_ == 0) return;
  if (put_ > 0 && source_row(put_) != source_row(put_ - 1)) ++put_slot_;
  ++put_;
  const uint8_t* const from = slot(put_slot_);
  uint8_t* to = row + pixel_bytes_ - 1;
  for (size_t x = 0; x < columns_.size(); ++x, to += pixel_bytes_) {
    *to = static_cast<uint8_t>((*to & ~mask_) | (from[x] & mask_));
  }
}

}  // namespace tavo::process
