#include "process/paint/effect_steps.h"

#include <algorithm>

namespace tavo::process {

namespace {

constexpr int64_t kDissolveSteps = 64;

// A permutation of the numbers below 4^half_bits: four rounds of a network that adds to one half
// what has been stirred of the other.
uint64_t stirred(uint64_t number, int half_bits) {
  const uint64_t mask = (uint64_t{1} << half_bits) - 1;
  uint64_t high = number >> half_bits, low = number & mask;
  for (uint64_t round = 1; round <= 4; ++round) {
    const uint64_t mixed = ((low + round) * 0x9E3779B97F4A7C15u) >> 32;
    const uint64_t next = (high ^ mixed) & mask;
    high = low, low = next;
  }
  return high << half_bits | low;
}

// The same of the numbers below `count`: what falls outside goes round once more.
uint64_t shuffled(uint64_t number, uint64_t count) {
  int half_bits = 1;
  while ((uint64_t{1} << (2 * half_bits)) < count) ++half_bits;
  do {
    number = stirred(number, half_bits);
  } while (number >= count);
  return number;
}

}  // namespace

EffectSteps::EffectSteps(Effect effect, int32_t width, int32_t height, int32_t block)
    : effect_(effect), width_(width), height_(height), block_(block), count_(steps()) {}

int64_t EffectSteps::steps() const {
  const auto halves = [this](int64_t extent) { return ((extent + 1) / 2 + block_ - 1) / block_; };
  switch (effect_) {
    case Effect::kWipeRight:
    case Effect::kWipeLeft:
      return squares_across();
    case Effect::kWipeDown:
    case Effect::kWipeUp:
      return squares_down();
    case Effect::kBoxOut:
    case Effect::kBoxIn:
      return halves(std::min(width_, height_));
    case Effect::kBlindsVertical:
      return std::min(block_, width_);
    case Effect::kBlindsHorizontal:
      return std::min(block_, height_);
    case Effect::kCheckerboard:
      return 2;
    case Effect::kDissolve:
      return std::min(squares(), kDissolveSteps);
    case Effect::kSplitVertical:
      return halves(width_);
    case Effect::kSplitHorizontal:
      return halves(height_);
    case Effect::kDiagonal:
      return squares_across() + squares_down() - 1;
    case Effect::kSpiral:
      return squares();
    default:
      return 1;
  }
}

Status EffectSteps::put(int64_t left, int64_t top, int64_t right, int64_t bottom, Draw draw) const {
  const PixelRect rect = {static_cast<int32_t>(std::max<int64_t>(left, 0)),
                          static_cast<int32_t>(std::max<int64_t>(top, 0)),
                          static_cast<int32_t>(std::min(right, width_)),
                          static_cast<int32_t>(std::min(bottom, height_))};
  return rect.is_empty() ? kOk : draw(rect);
}

Status EffectSteps::columns(int64_t first, int64_t end, Draw draw) const {
  return put(first, 0, end, height_, draw);
}

Status EffectSteps::rows(int64_t first, int64_t end, Draw draw) const {
  return put(0, first, width_, end, draw);
}

Status EffectSteps::square(int64_t column, int64_t row, Draw draw) const {
  return put(column * block_, row * block_, (column + 1) * block_, (row + 1) * block_, draw);
}

// What is `inset` pixels or more from all edges, and less than a block further.
Status EffectSteps::frame(int64_t inset, Draw draw) const {
  const int64_t inner = std::min({inset + block_, (width_ + 1) / 2, (height_ + 1) / 2});
  const int64_t right = width_ - inset, bottom = height_ - inset;
  // Where nothing is left inside, the upper half has the middle row.
  const int64_t lower = std::max(inner, height_ - inner);
  TRY(put(inset, inset, right, inner, draw));
  TRY(put(inset, inner, inner, lower, draw));
  TRY(put(std::max(inner, width_ - inner), inner, right, lower, draw));
  return put(inset, lower, right, bottom, draw);
}

Status EffectSteps::blinds(int64_t number, bool is_vertical, Draw draw) const {
  for (int64_t at = number; at < (is_vertical ? width_ : height_); at += block_) {
    TRY(is_vertical ? columns(at, at + 1, draw) : rows(at, at + 1, draw));
  }
  return kOk;
}

Status EffectSteps::split(int64_t number, bool is_vertical, Draw draw) const {
  const int64_t middle = (is_vertical ? width_ : height_) / 2;
  const int64_t inner = number * block_, outer = inner + block_;
  TRY(is_vertical ? columns(middle - outer, middle - inner, draw)
                  : rows(middle - outer, middle - inner, draw));
  return is_vertical ? columns(middle + inner, middle + outer, draw)
                     : rows(middle + inner, middle + outer, draw);
}

Status EffectSteps::checkerboard(int64_t parity, Draw draw) const {
  for (int64_t row = 0; row < squares_down(); ++row) {
    for (int64_t column = (row + parity) % 2; column < squares_across(); column += 2) {
      TRY(square(column, row, draw));
    }
  }
  return kOk;
}

Status EffectSteps::dissolve(int64_t number, Draw draw) const {
  const int64_t end = (number + 1) * squares() / count_;
  for (int64_t i = number * squares() / count_; i < end; ++i) {
    const auto at =
        static_cast<int64_t>(shuffled(static_cast<uint64_t>(i), static_cast<uint64_t>(squares())));
    TRY(square(at % squares_across(), at / squares_across(), draw));
  }
  return kOk;
}

Status EffectSteps::diagonal(int64_t number, Draw draw) const {
  const int64_t first = std::max<int64_t>(number - squares_across() + 1, 0);
  for (int64_t row = first; row <= std::min(number, squares_down() - 1); ++row) {
    TRY(square(number - row, row, draw));
  }
  return kOk;
}

// Clockwise from the top left, ring by ring.
Status EffectSteps::spiral(int64_t number, Draw draw) const {
  int64_t ring = 0, across = squares_across(), down = squares_down();
  const auto length = [&] {
    return across == 1 || down == 1 ? across * down : 2 * (across + down) - 4;
  };
  for (; number >= length(); across -= 2, down -= 2, ++ring) number -= length();
  if (number < across) return square(ring + number, ring, draw);
  number -= across - 1;
  if (number < down) return square(ring + across - 1, ring + number, draw);
  number -= down - 1;
  if (number < across) return square(ring + across - 1 - number, ring + down - 1, draw);
  return square(ring, ring + down - 1 - (number - (across - 1)), draw);
}

Status EffectSteps::step(int64_t number, Draw draw) const {
  const int64_t at = number * block_;
  switch (effect_) {
    case Effect::kWipeRight:
      return columns(at, at + block_, draw);
    case Effect::kWipeLeft:
      return columns(width_ - at - block_, width_ - at, draw);
    case Effect::kWipeDown:
      return rows(at, at + block_, draw);
    case Effect::kWipeUp:
      return rows(height_ - at - block_, height_ - at, draw);
    case Effect::kBoxOut:
      return frame((count_ - 1 - number) * block_, draw);
    case Effect::kBoxIn:
      return frame(at, draw);
    case Effect::kBlindsVertical:
    case Effect::kBlindsHorizontal:
      return blinds(number, effect_ == Effect::kBlindsVertical, draw);
    case Effect::kCheckerboard:
      return checkerboard(number, draw);
    case Effect::kDissolve:
      return dissolve(number, draw);
    case Effect::kSplitVertical:
    case Effect::kSplitHorizontal:
      return split(number, effect_ == Effect::kSplitVertical, draw);
    case Effect::kDiagonal:
      return diagonal(number, draw);
    case Effect::kSpiral:
      return spiral(number, draw);
    default:
      return put(0, 0, width_, height_, draw);
  }
}

}  // namespace tavo::process
