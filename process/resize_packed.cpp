#include "process/resize_packed.h"

#include <algorithm>

#include "color/index_rows.h"
#include "platform/platform.h"

namespace tavo::process {

namespace {

// Fewer are not worth unpacking a row.
constexpr uint32_t kFewestPositions = 64;

// A pixel's value before it is written anywhere: a source pixel is read once.
template <int32_t kBits>
struct PackedPixel {
  static constexpr uint32_t kPerByte = 8 / kBits;
  static constexpr uint32_t kMask = (1u << kBits) - 1;
  uint32_t everywhere;  // the value in all places of a byte

  static uint32_t shift(int64_t place) {
    return 8 - kBits - static_cast<uint32_t>(place) % kPerByte * kBits;
  }
  void read(const uint8_t* row, int64_t position) {
    everywhere = (row[static_cast<uint64_t>(position) / kPerByte] >> shift(position) & kMask) *
                 (0xFF / kMask);
  }
  void write(uint8_t* row, int64_t position, int64_t counter) const {
    uint8_t& byte = row[static_cast<uint64_t>(position) / kPerByte];
    const uint32_t mask = kMask << shift(kBits == 2 ? position : counter);
    byte = static_cast<uint8_t>((byte & ~mask) | (everywhere & mask));
  }
};

// Enlarging, how far the counter is behind the position.
uint32_t distance_behind(const ResizeRule& rule) {
  return rule.count(static_cast<uint32_t>(rule.old_size - 1)) - 1;
}

}  // namespace

void PackedResize::make(const ResizeRule& rule, int32_t bits) {
  bits_ = bits;
  first_ = end_ = 0;
  rest_ = {};
  ResizeSources sources;
  if (platform::processor() == platform::Processor::kPlain || !sources.find(rule)) return;
  rule.shrinks() ? plan_shrinking(sources) : plan_enlarging(rule, sources);
  if (end_ - first_ < kFewestPositions || !make_steps(sources)) {
    first_ = end_ = 0;
    rest_ = {};
  }
}

void PackedResize::plan_shrinking(ResizeSources& sources) {
  const uint32_t reached = sources.end;
  end_ = reached - reached % per_byte();
  if (end_ == 0) return;
  rest_ = {.position = end_, .source = sources.pixels[end_ - 1] + 1, .left = 0};
}

// From the left on, bytes go pixel by pixel until they and all behind them come from bytes further
// left: what is written there overwrites nothing that is still wanted.
void PackedResize::plan_enlarging(const ResizeRule& rule, ResizeSources& sources) {
  const uint32_t pixels = per_byte();
  end_ = first_ = sources.end - sources.end % pixels;
  while (first_ >= sources.first + pixels && sources.pixels[first_ - 1] < first_ - pixels) {
    first_ -= pixels;
  }
  if (first_ > sources.first) {
    rest_ = {.position = int64_t{first_} - 1, .source = sources.pixels[first_ - 1], .left = 0};
    for (uint32_t p = first_; p > sources.first && sources.pixels[p - 1] == rest_.source; --p) {
      ++rest_.left;
    }
  }
  const uint32_t behind = bits_ == 2 ? 0 : distance_behind(rule) % pixels;
  for (uint32_t byte = first_; byte < end_; byte += pixels) {
    std::rotate(&sources.pixels[byte], &sources.pixels[byte + behind],
                &sources.pixels[byte] + pixels);
  }
  sources.pattern *= pixels;  // bytes begin anew, too
  sources.pattern_sources *= pixels;
}

bool PackedResize::make_steps(ResizeSources& sources) {
  old_size_ = sources.old_size + (per_byte() - sources.old_size % per_byte()) % per_byte();
  sources.first = first_;
  sources.end = end_;
  if (!from_.allocate(old_size_).ok() || !to_.allocate(end_).ok()) return false;
  steps_.make(sources, 1);
  return !steps_.empty();
}

void PackedResize::run_bytes(uint8_t* row) {
  if (first_ == end_) return;
  color::unpack_indices(bits_, row, from_.bytes().first(old_size_));
  steps_.run(from_.data(), to_.data());
  color::pack_indices(bits_, to_.bytes().subspan(first_, end_ - first_),
                      row + color::packed_offset(bits_, first_));
}

template <int32_t kBits>
void PackedResize::shrink(uint8_t* row, const ResizeRule& rule) {
  run_bytes(row);
  int64_t position = rest_.position;
  PackedPixel<kBits> pixel;
  const auto old_size = static_cast<uint32_t>(rule.old_size);
  for (uint32_t i = rest_.source; i < old_size && position < rule.new_size; ++i) {
    if (rule.count(i) == 0) continue;
    pixel.read(row, i);
    pixel.write(row, position, position);
    ++position;
  }
}

// Writes the positions from `place` down to `end`, as far as there is source.
template <int32_t kBits>
void PackedResize::enlarge_part(uint8_t* row, const ResizeRule& rule, Place place, int64_t end) {
  const auto behind = int64_t{distance_behind(rule)};
  PackedPixel<kBits> pixel;
  while (place.left > 0 && place.position >= end) {
    pixel.read(row, place.source);
    for (; place.left > 0 && place.position >= end; --place.left, --place.position) {
      pixel.write(row, place.position, place.position - behind);
    }
    if (place.left == 0 && place.source > 0) place.left = rule.count(--place.source);
  }
}

template <int32_t kBits>
void PackedResize::enlarge(uint8_t* row, const ResizeRule& rule) {
  const auto last = static_cast<uint32_t>(rule.old_size - 1);
  const Place start = {.position = rule.new_size - 1, .source = last, .left = rule.count(last)};
  const auto least = int64_t{distance_behind(rule)};
  if (first_ == end_) return enlarge_part<kBits>(row, rule, start, least);
  enlarge_part<kBits>(row, rule, start, end_);
  run_bytes(row);
  enlarge_part<kBits>(row, rule, rest_, least);
}

template <int32_t kBits>
void PackedResize::resize(uint8_t* row, const ResizeRule& rule) {
  rule.shrinks() ? shrink<kBits>(row, rule) : enlarge<kBits>(row, rule);
}

void PackedResize::run(uint8_t* row, const ResizeRule& rule) {
  switch (bits_) {
    case 1:
      return resize<1>(row, rule);
    case 2:
      return resize<2>(row, rule);
    default:
      return resize<4>(row, rule);
  }
}

}  // namespace tavo::process
