#include "process/paint/down_mean.h"

#include <cstring>

#include "base/vector_sse2.h"

namespace tavo::process {

namespace {

using namespace sse2;

constexpr uint64_t kMostShort = 257;  // rows whose sums fit 16 bits
constexpr size_t kVector = 16;        // rows end with whole vectors

// The first row is not added to anything.
template <class Sum>
void add_row(const uint8_t* row, size_t count, bool is_first, Sum* sums) {
  if (is_first) {
    for (size_t i = 0; i < count; ++i) sums[i] = row[i];
  } else {
    for (size_t i = 0; i < count; ++i) sums[i] = static_cast<Sum>(sums[i] + row[i]);
  }
}

// Means of whole rows alone: their sums, shifted until they fill 16 bits, take one product.
void weigh_whole(uint32_t rows, const uint16_t* sums, size_t count, uint16_t* out) {
  int shift = 0;
  while (rows << (shift + 1) <= 257) ++shift;
  const uint32_t divisor = rows << shift;
  const V factor = splat16(static_cast<int>(((65536u << kMeanBits) + divisor / 2) / divisor));
  for (size_t i = 0; i < count; i += 8) {
    store(out + i, multiply_high16_unsigned(shift_left16(load(sums + i), shift), factor));
  }
}

// In whole vectors: all rows have as much room.
void weigh_short(const CellWeights& w, const uint16_t* sums, const uint8_t* lead,
                 const uint8_t* tail, size_t count, uint16_t* out) {
  const V edges = splat_pairs16(static_cast<int>(w.lead), static_cast<int>(w.tail));
  const V whole = splat16(static_cast<int>(w.whole));
  const auto shift = static_cast<int>(w.shift - kMeanBits);
  const V half = splat32(1u << (shift - 1));
  for (size_t i = 0; i < count; i += 8) {
    const V sum = load(sums + i);
    const V low = multiply16(sum, whole), high = multiply_high16_unsigned(sum, whole);
    const V first = load_widened8(lead + i), last = load_widened8(tail + i);
    const V sums_low =
        add32(unpack_low16(low, high), multiply_add16(unpack_low16(first, last), edges));
    const V sums_high =
        add32(unpack_high16(low, high), multiply_add16(unpack_high16(first, last), edges));
    store(out + i, pack32(shift_right32(add32(sums_low, half), shift),
                          shift_right32(add32(sums_high, half), shift)));
  }
}

void weigh_long(const CellWeights& w, const uint64_t* sums, const uint8_t* lead,
                const uint8_t* tail, size_t count, uint16_t* out) {
  const uint32_t shift = w.shift - kMeanBits;
  for (size_t i = 0; i < count; ++i) {
    const uint64_t sum =
        w.whole * sums[i] + uint64_t{w.lead} * lead[i] + uint64_t{w.tail} * tail[i];
    out[i] = static_cast<uint16_t>((sum + (uint64_t{1} << (shift - 1))) >> shift);
  }
}

}  // namespace

Status DownMean::start(size_t samples, uint64_t most) {
  samples_ = samples;
  const uint64_t room = uint64_t{samples} + kVector + kSlack;
  TRY(most > kMostShort ? long_sums_.allocate(room) : sums_.allocate(room));
  TRY(lead_.allocate(room));
  TRY(none_.allocate(room));
  return result_.allocate(room);
}

void DownMean::begin() {
  has_lead_ = false;
  added_ = 0;
}

void DownMean::add_whole(const uint8_t* row) {
  const bool is_first = added_++ == 0;
  if (is_long()) return add_row(row, samples_, is_first, long_sums_.data());
  add_row(row, samples_, is_first, sums_.data());
}

void DownMean::add_lead(const uint8_t* row) {
  std::memcpy(lead_.data(), row, samples_);
  has_lead_ = true;
}

void DownMean::finish(const CellWeights& weights, const uint8_t* tail) {
  if (added_ == 0) add_whole(none_.data());
  const uint8_t* const lead = has_lead_ ? lead_.data() : none_.data();
  const uint8_t* const last = tail != nullptr ? tail : none_.data();
  uint16_t* const out = result_.data();
  if (is_long()) return weigh_long(weights, long_sums_.data(), lead, last, samples_, out);
  if (!has_lead_ && tail == nullptr) return weigh_whole(added_, sums_.data(), samples_, out);
  // Rows of the caller's have no room behind them for whole vectors.
  const size_t whole = samples_ / 8 * 8;
  weigh_short(weights, sums_.data(), lead, last, whole, out);
  uint8_t rest[8] = {};
  std::memcpy(rest, last + whole, samples_ - whole);
  weigh_short(weights, sums_.data() + whole, lead + whole, rest, samples_ - whole, out + whole);
}

void DownMean::take(const uint8_t* row) {
  for (size_t i = 0; i < samples_; ++i) result_[i] = static_cast<uint16_t>(row[i] << kMeanBits);
}

}  // namespace tavo::process
