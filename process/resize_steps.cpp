#include "process/resize_steps.h"

#include <algorithm>

#include "platform/platform.h"

namespace tavo::process {

void ResizeSteps::make(const ResizeRule& rule, uint32_t pixel_bytes) {
  pixel_bytes_ = pixel_bytes;
  shrinks_ = rule.shrinks();
  count_ = 0;
  last_ = 0;
  steps_.release();
  shuffles_.release();
  const int64_t longest = int64_t{std::max(rule.old_size, rule.new_size)} * pixel_bytes;
  if (longest > INT32_MAX || platform::processor() < platform::Processor::kSsse3) return;
  new_bytes_ = static_cast<uint32_t>(rule.new_size) * pixel_bytes;
  if (shrinks_) {
    make_shrinking(rule);
  } else {
    make_enlarging(rule);
  }
}

bool ResizeSteps::allocate(uint32_t most) {
  return steps_.allocate(most).ok() && shuffles_.allocate(uint64_t{most} * lanes_).ok();
}

// Which source bytes each store of result takes, from left to right. The next store may overwrite
// what lies behind the bytes that hold.
void ResizeSteps::make_shrinking(const ResizeRule& rule) {
  const uint32_t pixel_bytes = pixel_bytes_;
  const uint32_t old_bytes = static_cast<uint32_t>(rule.old_size) * pixel_bytes;
  const bool is_wide =
      platform::processor() == platform::Processor::kAvx512 && old_bytes >= 2 * kResizeLanesAvx512;
  const uint32_t lanes = is_wide ? kResizeLanesAvx512 : kResizeLanes;
  const uint32_t window = 2 * lanes;
  if (old_bytes < window) return;
  lanes_ = lanes;
  if (!allocate(new_bytes_ / lanes + old_bytes / window + 2)) return;
  ResizeStep* step = nullptr;
  uint8_t* shuffle = shuffles_.data();
  uint32_t pixels = 0;
  for (uint32_t i = 0; pixels < rule.reached; ++i) {
    // Shrinking, a pixel stays once or not at all.
    if (rule.count(i) == 0) continue;
    ++pixels;
    for (uint32_t byte = i * pixel_bytes; byte < (i + 1) * pixel_bytes; ++byte) {
      if (step == nullptr || step->count == lanes || byte >= step->offset + window) {
        step = &steps_[count_++];
        *step = {std::min(byte, old_bytes - window), 0};
        shuffle = &shuffles_[(count_ - 1) * lanes];
      }
      shuffle[step->count++] = static_cast<uint8_t>(byte - step->offset);
    }
  }
  // A step's store stays inside the result when as many bytes as it stores are still to come.
  uint32_t to_come = 0;
  for (; last_ < count_; ++last_) {
    to_come += steps_[count_ - 1 - last_].count;
    if (to_come >= lanes) break;
  }
}

// Finds the source pixel of each result pixel, the last one first.
void ResizeSteps::make_enlarging(const ResizeRule& rule) {
  const auto old_bytes = static_cast<uint32_t>(rule.old_size) * pixel_bytes_;
  if (old_bytes < kResizeLanes) return;
  Array<uint32_t> sources;
  if (!sources.allocate(static_cast<uint64_t>(rule.new_size)).ok()) return;
  auto position = static_cast<uint32_t>(rule.new_size);
  const uint32_t first = position - rule.reached;
  for (auto i = static_cast<uint32_t>(rule.old_size); position > first;) {
    for (uint32_t n = rule.count(--i); n > 0 && position > first; --n) {
      // In place, a source pixel must not lie where results have been written before.
      if (i >= position) return;
      sources[--position] = i;
    }
  }
  cut_enlarging(sources, first, old_bytes);
}

// Where each store of result comes from, from the right end to result pixel `first`.
void ResizeSteps::cut_enlarging(const Array<uint32_t>& sources, uint32_t first,
                                uint32_t old_bytes) {
  const uint32_t first_byte = first * pixel_bytes_;
  lanes_ = kResizeLanes;
  if (!allocate((new_bytes_ - first_byte + kResizeLanes - 1) / kResizeLanes)) return;
  const auto source = [&](uint32_t at) {
    return sources[at / pixel_bytes_] * pixel_bytes_ + at % pixel_bytes_;
  };
  for (uint32_t end = new_bytes_; end > first_byte;) {
    const uint32_t count = std::min(kResizeLanes, end - first_byte);
    const uint32_t begin = end - count;
    uint32_t lowest = source(begin);
    for (uint32_t at = begin; at < end; ++at) lowest = std::min(lowest, source(at));
    const uint32_t offset = std::min(lowest, old_bytes - kResizeLanes);
    for (uint32_t at = begin; at < end; ++at) {
      shuffles_[count_ * kResizeLanes + at - begin] = static_cast<uint8_t>(source(at) - offset);
    }
    steps_[count_++] = {offset, count};
    last_ = count < kResizeLanes ? 1 : 0;
    end = begin;
  }
}

void ResizeSteps::run(const uint8_t* from, uint8_t* to) const {
  const ResizeTable table{steps_.data(), shuffles_.data(), count_, last_};
  if (!shrinks_) return enlarge_ssse3(table, from, to + new_bytes_);
  return lanes_ == kResizeLanes ? shrink_ssse3(table, from, to) : shrink_avx512(table, from, to);
}

}  // namespace tavo::process
