#include "reduce/clusters.h"

#include <algorithm>

#include "reduce/box_cutter.h"

namespace tavo::color {

namespace {

// Moves come to rest when they take less than one part in so many.
constexpr uint32_t kRoughly = 512;
constexpr uint32_t kFinely = 4096;
constexpr uint32_t kMostSteps = 16;
constexpr uint32_t kStepsAfterExchange = 3;
constexpr uint32_t kMostExchanges = 12;

uint32_t squared_distance(uint32_t a, uint32_t b) {
  uint32_t sum = 0;
  for (uint32_t c = 0; c < 3; ++c) {
    const auto d = static_cast<int32_t>(component(a, c)) - static_cast<int32_t>(component(b, c));
    sum += static_cast<uint32_t>(d * d);
  }
  return sum;
}

}  // namespace

uint32_t Clusters::Cluster::mean() const {
  uint32_t color = 0;
  for (uint32_t c = 0; c < 3; ++c) {
    color |= static_cast<uint32_t>((sum[c] + pixels / 2) / pixels) << (8 * c);
  }
  return color;
}

Status Clusters::start(uint32_t wanted) {
  TRY(indices_.allocate(points_.size()));
  count_ = wanted;
  uint32_t boxes = 0;
  TRY(cut_boxes(points_, std::span(colors_).first(wanted), boxes));
  std::fill(colors_.begin() + boxes, colors_.end(), colors_[0]);
  return kOk;
}

// Sorts the points to the colours; returns the sum of their squared distances.
uint64_t Clusters::assign() {
  T_PaletteEntry entries[256];
  std::ranges::transform(colors_, entries, entry_of);
  nearest_.start(std::span<const T_PaletteEntry>(entries).first(count_));
  nearest_.find_all(points_.colors(), indices_.items());
  clusters_ = {};
  uint64_t distances = 0;
  for (size_t i = 0; i < points_.size(); ++i) {
    const uint32_t index = indices_[i];
    const uint64_t pixels = points_.pixels(i);
    Cluster& cluster = clusters_[index];
    cluster.pixels += pixels;
    for (uint32_t c = 0; c < 3; ++c) {
      const auto d = static_cast<int32_t>(component(points_.colors()[i], c)) -
                     static_cast<int32_t>(component(colors_[index], c));
      cluster.sum[c] += points_.sum(i, c);
      cluster.spread[c] += pixels * static_cast<uint32_t>(d * d);
      distances += pixels * static_cast<uint32_t>(d * d);
    }
  }
  return distances;
}

void Clusters::move() {
  for (uint32_t i = 0; i < count_; ++i) {
    if (clusters_[i].pixels != 0) colors_[i] = clusters_[i].mean();
  }
}

// Leaves the points assigned; returns the sum of their squared distances.
uint64_t Clusters::settle(uint32_t steps, uint32_t least_part) {
  uint64_t distances = assign();
  for (uint32_t i = 0; i < steps; ++i) {
    const Colors before = colors_;
    move();
    const uint64_t now = assign();
    if (now >= distances) {
      colors_ = before;
      return assign();
    }
    const bool rests = distances - now < distances / least_part;
    distances = now;
    if (rests) break;
  }
  return distances;
}

// What the sum grows by when the points of a colour go to the nearest other one: by their joint
// mean's distances. An unused colour costs nothing.
Clusters::Merger Clusters::find_merger(uint32_t color) const {
  const uint64_t pixels = clusters_[color].pixels;
  if (pixels == 0) return {0, color, color};
  uint32_t least = UINT32_MAX;
  uint32_t other = color;
  for (uint32_t i = 0; i < count_; ++i) {
    if (i == color || clusters_[i].pixels == 0) continue;
    const uint32_t distance = squared_distance(colors_[color], colors_[i]);
    if (distance >= least) continue;
    least = distance;
    other = i;
  }
  if (other == color) return {UINT64_MAX, color, color};
  const uint64_t fewer = std::min(pixels, clusters_[other].pixels);
  const uint64_t more = std::max(pixels, clusters_[other].pixels);
  // fewer * more / (fewer + more), in 64 bits for counts of up to 2^32.
  return {fewer * more / (fewer + more) * least, color, other};
}

// What the sum becomes less by when a colour is divided: five eighths of the spread along one
// component, between what a normal and an even distribution give.
Clusters::Division Clusters::find_division(uint32_t color) const {
  const auto& spread = clusters_[color].spread;
  const auto axis = static_cast<uint32_t>(std::ranges::max_element(spread) - spread);
  return {spread[axis] / 8 * 5, color, axis};
}

// Divides colours at their component's value: what is above goes to a vacant one.
void Clusters::divide(std::span<const Division> divisions, std::span<const uint32_t> vacant) {
  std::array<uint32_t, 256> places;  // in `divisions`
  places.fill(UINT32_MAX);
  for (uint32_t i = 0; i < divisions.size(); ++i) {
    places[divisions[i].color] = i;
    clusters_[vacant[i]] = {};
  }
  for (size_t i = 0; i < points_.size(); ++i) {
    const uint32_t index = indices_[i];
    if (places[index] == UINT32_MAX) continue;
    const Division& division = divisions[places[index]];
    const uint32_t value = component(points_.colors()[i], division.axis);
    if (value <= component(colors_[index], division.axis)) continue;
    Cluster& from = clusters_[index];
    Cluster& to = clusters_[vacant[places[index]]];
    from.pixels -= points_.pixels(i);
    to.pixels += points_.pixels(i);
    for (uint32_t c = 0; c < 3; ++c) {
      from.sum[c] -= points_.sum(i, c);
      to.sum[c] += points_.sum(i, c);
    }
  }
  move();
}

// Merges up to `most` colours with others and divides as many where more is gained; unused colours
// do not count. False when there is nothing to gain.
bool Clusters::exchange(uint32_t most) {
  std::array<Merger, 256> mergers;
  std::array<Division, 256> divisions;
  for (uint32_t i = 0; i < count_; ++i) {
    mergers[i] = find_merger(i);
    divisions[i] = find_division(i);
  }
  const auto by_cost = std::span(mergers).first(count_);
  const auto by_gain = std::span(divisions).first(count_);
  std::ranges::sort(by_cost, [](const Merger& a, const Merger& b) {
    return a.cost != b.cost ? a.cost < b.cost : a.color < b.color;
  });
  std::ranges::sort(by_gain, [](const Division& a, const Division& b) {
    return a.gain != b.gain ? a.gain > b.gain : a.color < b.color;
  });
  std::array<bool, 256> is_touched = {};
  std::array<uint32_t, 256> vacant;
  uint32_t count = 0;
  size_t next = 0;
  for (const Merger& merger : by_cost) {
    if (merger.cost != 0 && most == 0) break;
    if (is_touched[merger.color] || is_touched[merger.other]) continue;
    is_touched[merger.color] = is_touched[merger.other] = true;
    while (next < count_ && is_touched[by_gain[next].color]) ++next;
    if (next == count_ || by_gain[next].gain <= merger.cost) break;
    is_touched[by_gain[next].color] = true;
    if (merger.cost != 0) {
      Cluster& other = clusters_[merger.other];
      other.pixels += clusters_[merger.color].pixels;
      for (uint32_t c = 0; c < 3; ++c) other.sum[c] += clusters_[merger.color].sum[c];
      --most;
    }
    vacant[count] = merger.color;
    divisions[count++] = by_gain[next++];  // count <= next: what is overwritten has been used
  }
  if (count == 0) return false;
  divide(std::span(divisions).first(count), std::span(vacant).first(count));
  return true;
}

Status Clusters::refine(core::Progress& progress, uint32_t percent_done, uint32_t percent_share) {
  uint64_t least = settle(kMostSteps, kRoughly);
  uint32_t most = std::max(count_ / 8, 1u);
  for (uint32_t i = 0; i < kMostExchanges && most != 0; ++i) {
    const uint64_t share = uint64_t{i} * percent_share;
    TRY(progress.at(uint64_t{kMostExchanges} * percent_done + share, kMostExchanges * 100));
    const Colors before = colors_;
    if (!exchange(most)) break;
    const uint64_t now = settle(kStepsAfterExchange, kRoughly);
    if (now < least) {
      least = now;
    } else {
      colors_ = before;
      assign();
      most /= 2;
    }
  }
  settle(kMostSteps, kFinely);
  return kOk;
}

uint32_t Clusters::take_colors(std::span<uint32_t, 256> colors) const {
  uint32_t count = 0;
  for (uint32_t i = 0; i < count_; ++i) {
    if (clusters_[i].pixels != 0) colors[count++] = colors_[i];
  }
  return count;
}

}  // namespace tavo::color
