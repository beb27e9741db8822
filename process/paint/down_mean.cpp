#include "process/paint/down_mean.h"

#include <algorithm>
#include <cstring>

#include "base/vector_sse2.h"

namespace tavo::process {

namespace {

using namespace sse2;

constexpr uint64_t kMostShort = 257;  // rows whose sums fit 16 bits
constexpr size_t kVector = 16;        // rows end with whole vectors

template <class Sum>
void add_row(const uint8_t* row, size_t count, Sum* sums) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

// Weights have 14 bits and a half at most, so that they are positive as signed numbers, too.
struct RowWeights {
  V lead_and_tail;
  V whole;
  explicit RowWeights(const CellWeights& w)
      : lead_and_tail(splat_pairs16(static_cast<int>(w.lead), static_cast<int>(w.tail))),
        whole(splat16(static_cast<int>(w.whole))) {}
};

// Four or eight results of 32 bits, from 16-bit sums and edge samples.
struct Weighted {
  V low, high;
  Weighted(const RowWeights& w, V sums, V lead, V tail) {
    const V product_low = multiply16(sums, w.whole);
    const V product_high = multiply_high16_unsigned(sums, w.whole);
    low = add32(unpack_low16(product_low, product_high),
                multiply_add16(unpack_low16(lead, tail), w.lead_and_tail));
    high = add32(unpack_high16(product_low, product_high),
                 multiply_add16(unpack_high16(lead, tail), w.lead_and_tail));
  }
};

// Two vectors of 32-bit numbers below 65536 to one of 16 bits. SSE2 packs signed numbers alone.
V pack_words(V low, V high) {
  const V bias = splat32(32768);
  return add16(pack32(sub32(low, bias), sub32(high, bias)), splat16(-32768));
}

// In whole vectors: all rows have as much room.
void weigh_short(const CellWeights& weights, const uint16_t* sums, const uint8_t* lead,
                 const uint8_t* tail, size_t count, uint16_t* out) {
  const RowWeights w(weights);
  const auto shift = static_cast<int>(weights.shift - 8);
  const V half = splat32(1 << (shift - 1));
  const V count_of_shift = single32(static_cast<uint32_t>(shift));
  for (size_t i = 0; i < count; i += 8) {
    const Weighted sum(w, load(sums + i), load_widened8(lead + i), load_widened8(tail + i));
    store(out + i, pack_words(_mm_srl_epi32(add32(sum.low, half), count_of_shift),
                              _mm_srl_epi32(add32(sum.high, half), count_of_shift)));
  }
}

void weigh_long(const CellWeights& w, const uint64_t* sums, const uint8_t* lead,
                const uint8_t* tail, size_t count, uint16_t* out) {
  const uint32_t shift = w.shift - 8;
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
  std::ranges::fill(sums_.items(), uint16_t{0});
  std::ranges::fill(long_sums_.items(), uint64_t{0});
}

void DownMean::add_whole(const uint8_t* row) {
  if (long_sums_.size() != 0) return add_row(row, samples_, long_sums_.data());
  add_row(row, samples_, sums_.data());
}

void DownMean::add_lead(const uint8_t* row) {
  std::memcpy(lead_.data(), row, samples_);
  has_lead_ = true;
}

void DownMean::finish(const CellWeights& weights, const uint8_t* tail) {
  const uint8_t* const lead = has_lead_ ? lead_.data() : none_.data();
  if (long_sums_.size() != 0) {
    return weigh_long(weights, long_sums_.data(), lead, tail != nullptr ? tail : none_.data(),
                      samples_, result_.data());
  }
  // Rows of the caller's have no room behind them for whole vectors.
  const size_t whole = samples_ / 8 * 8;
  const uint8_t* const from = tail != nullptr ? tail : none_.data();
  weigh_short(weights, sums_.data(), lead, from, whole, result_.data());
  uint8_t rest[8] = {};
  std::memcpy(rest, from + whole, samples_ - whole);
  if (whole != samples_) {
    weigh_short(weights, sums_.data() + whole, lead + whole, rest, 8, result_.data() + whole);
  }
}

void DownMean::take(const uint8_t* row) {
  for (size_t i = 0; i < samples_; ++i) result_[i] = static_cast<uint16_t>(row[i] << 8);
}

}  // namespace tavo::process
