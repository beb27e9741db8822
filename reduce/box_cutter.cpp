#include "reduce/box_cutter.h"

#include <algorithm>
#include <array>
#include <bit>

#include "base/buffer.h"

namespace tavo::color {

namespace {

// A point, its weight being about in proportion to its pixels.
struct Weighted {
  uint32_t color;
  uint32_t weight;
};

// All weights together stay below 2^23, so that sums fit 32 bits and the squares of three of them
// 64 together.
constexpr int kWeightBits = 22;

struct Sums {
  uint32_t weight = 0;
  uint32_t channel[3] = {};

  void add(const Weighted& point) {
    weight += point.weight;
    for (uint32_t c = 0; c < 3; ++c) channel[c] += component(point.color, c) * point.weight;
  }
  Sums& operator+=(const Sums& other) {
    weight += other.weight;
    for (uint32_t c = 0; c < 3; ++c) channel[c] += other.channel[c];
    return *this;
  }
  Sums operator-(const Sums& part) const {
    Sums rest = *this;
    rest.weight -= part.weight;
    for (uint32_t c = 0; c < 3; ++c) rest.channel[c] -= part.channel[c];
    return rest;
  }
  // The weighted square of the mean. What a cut gains is how much this grows by it.
  uint64_t square() const {
    uint64_t sum = 0;
    for (const uint32_t each : channel) sum += uint64_t{each} * each;
    return sum / weight;
  }
  uint32_t mean() const {
    uint32_t color = 0;
    for (uint32_t c = 0; c < 3; ++c) {
      color |= static_cast<uint32_t>((uint64_t{channel[c]} + weight / 2) / weight) << (8 * c);
    }
    return color;
  }
};

struct Box {
  uint32_t first = 0;
  uint32_t count = 0;
  Sums sums;
  uint64_t gain = 0;  // of the best cut, 0 when there is none
  uint32_t axis = 0;
  uint32_t last = 0;  // the greatest component below the cut
};

class Cutter {
 public:
  Status start(const ColorPoints& points, uint32_t wanted);
  void cut(uint32_t wanted);
  std::span<const Box> boxes() const { return boxes_.items().first(box_count_); }

 private:
  void measure(Box& box);
  void find_cut(Box& box, uint32_t axis);
  void halve(Box& box, Box& added);

  Array<Weighted> points_;
  Array<Box> boxes_;
  uint32_t box_count_ = 0;
  std::array<std::array<Sums, 256>, 3> slices_ = {};  // by axis and component; else zero
  std::array<uint32_t, 3> least_ = {};
  std::array<uint32_t, 3> greatest_ = {};
};

Status Cutter::start(const ColorPoints& points, uint32_t wanted) {
  TRY(points_.allocate(points.size()));
  TRY(boxes_.allocate(wanted));
  uint64_t pixels = 0;
  for (size_t i = 0; i < points.size(); ++i) pixels += points.pixels(i);
  const int shift = static_cast<int>(std::bit_width(pixels)) - kWeightBits;
  for (size_t i = 0; i < points.size(); ++i) {
    const uint64_t weight =
        shift < 0 ? uint64_t{points.pixels(i)} << -shift : uint64_t{points.pixels(i)} >> shift;
    points_[i] = {points.colors()[i], static_cast<uint32_t>(std::max<uint64_t>(weight, 1))};
  }
  boxes_[0].count = static_cast<uint32_t>(points.size());
  measure(boxes_[0]);
  box_count_ = 1;
  return kOk;
}

void Cutter::measure(Box& box) {
  least_ = {255, 255, 255};
  greatest_ = {};
  box.sums = {};
  for (const Weighted& point : points_.items().subspan(box.first, box.count)) {
    Sums sums;
    sums.add(point);
    for (uint32_t c = 0; c < 3; ++c) {
      const uint32_t at = component(point.color, c);
      slices_[c][at] += sums;
      least_[c] = std::min(least_[c], at);
      greatest_[c] = std::max(greatest_[c], at);
    }
    box.sums += sums;
  }
  box.gain = 0;
  for (uint32_t c = 0; c < 3; ++c) find_cut(box, c);
}

void Cutter::find_cut(Box& box, uint32_t axis) {
  const uint64_t whole = box.sums.square();
  Sums below;
  for (uint32_t at = least_[axis]; at < greatest_[axis]; ++at) {
    Sums& slice = slices_[axis][at];
    if (slice.weight == 0) continue;
    below += slice;
    slice = {};
    const uint64_t parts = below.square() + (box.sums - below).square();
    if (parts <= whole || parts - whole <= box.gain) continue;
    box.gain = parts - whole;
    box.axis = axis;
    box.last = at;
  }
  slices_[axis][greatest_[axis]] = {};
}

void Cutter::halve(Box& box, Box& added) {
  const auto points = points_.items().subspan(box.first, box.count);
  const auto upper = std::partition(points.begin(), points.end(), [&](const Weighted& point) {
    return component(point.color, box.axis) <= box.last;
  });
  const auto kept = static_cast<uint32_t>(upper - points.begin());
  added.first = box.first + kept;
  added.count = box.count - kept;
  box.count = kept;
  measure(box);
  measure(added);
}

void Cutter::cut(uint32_t wanted) {
  for (; box_count_ < wanted; ++box_count_) {
    Box& best = *std::ranges::max_element(boxes_.items().first(box_count_), {}, &Box::gain);
    if (best.gain == 0) return;
    halve(best, boxes_[box_count_]);
  }
}

}  // namespace

Status cut_boxes(const ColorPoints& points, std::span<uint32_t> palette, uint32_t& count) {
  const auto wanted = static_cast<uint32_t>(palette.size());
  Cutter cutter;
  TRY(cutter.start(points, wanted));
  cutter.cut(wanted);
  std::ranges::transform(cutter.boxes(), palette.begin(),
                         [](const Box& box) { return box.sums.mean(); });
  count = static_cast<uint32_t>(cutter.boxes().size());
  return kOk;
}

}  // namespace tavo::color
