#include "process/resize_moves.h"

#include <algorithm>
#include <cstring>

#include "platform/platform.h"

namespace tavo::process {

namespace {

template <size_t kBytes>
void move_pixel(uint8_t* to, const uint8_t* from) {
  uint8_t pixel[kBytes];
  std::memcpy(pixel, from, kBytes);
  std::memcpy(to, pixel, kBytes);
}

}  // namespace

void ResizeMoves::make(const ResizeSources& sources, uint32_t pixel_bytes) {
  forget();
  if (platform::processor() == platform::Processor::kPlain) return;
  const uint32_t positions = sources.end - sources.first;
  cycle_ = static_cast<uint32_t>(std::min<uint64_t>(positions, sources.pattern));
  if (!distances_.allocate(cycle_).ok()) return;
  pixel_bytes_ = pixel_bytes;
  shrinks_ = sources.shrinks;
  const uint32_t last = sources.old_size - 1;
  for (uint32_t k = 0; k < cycle_; ++k) {
    const uint32_t pixel =
        shrinks_ ? sources.pixels[k] : last - sources.pixels[sources.end - 1 - k];
    distances_[k] = pixel * pixel_bytes;
  }
  cycle_bytes_ = sources.pattern_sources * pixel_bytes;
  start_ = last * pixel_bytes;
  end_ = sources.end * pixel_bytes;
  moves_ = positions;
  exact_ = pixel_bytes == 3 ? count_exact(sources) : 0;
}

// Three bytes are moved with one behind them (shrinking) or before them (enlarging). That must be
// there, in the result must not be another's for good, and, in place, not wanted any more.
uint32_t ResizeMoves::count_exact(const ResizeSources& sources) {
  if (shrinks_) return 1;
  uint32_t position = sources.end - 1;
  while (position > sources.first && sources.pixels[position] != 0 &&
         sources.pixels[position - 1] < position - 1) {
    --position;
  }
  return position - sources.first + 1;
}

// Works on moves `first` to `end` by calling move(distance from where the work begins).
template <class Move>
void ResizeMoves::each(uint32_t first, uint32_t end, Move move) const {
  uint32_t moved = first / cycle_ * cycle_bytes_;
  for (uint32_t k = first % cycle_; first < end; k = 0, moved += cycle_bytes_) {
    const uint32_t count = std::min(end - first, cycle_ - k);
    first += count;
    for (const uint32_t distance : distances_.items().subspan(k, count)) move(moved + distance);
  }
}

template <size_t kBytes>
void ResizeMoves::shrink(const uint8_t* from, uint8_t* to) const {
  each(0, moves_ - exact_, [&](uint32_t distance) {
    move_pixel<kBytes == 3 ? 4 : kBytes>(to, from + distance);
    to += kBytes;
  });
  each(moves_ - exact_, moves_, [&](uint32_t distance) {
    move_pixel<kBytes>(to, from + distance);
    to += kBytes;
  });
}

template <size_t kBytes>
void ResizeMoves::enlarge(const uint8_t* from, uint8_t* to) const {
  constexpr size_t kBefore = kBytes == 3 ? 1 : 0;
  from += start_;
  to += end_;
  each(0, moves_ - exact_, [&](uint32_t distance) {
    to -= kBytes;
    move_pixel<kBytes + kBefore>(to - kBefore, from - distance - kBefore);
  });
  each(moves_ - exact_, moves_,
       [&](uint32_t distance) { move_pixel<kBytes>(to -= kBytes, from - distance); });
}

void ResizeMoves::run(const uint8_t* from, uint8_t* to) const {
  switch (pixel_bytes_) {
    case 1:
      return shrinks_ ? shrink<1>(from, to) : enlarge<1>(from, to);
    case 2:
      return shrinks_ ? shrink<2>(from, to) : enlarge<2>(from, to);
    case 3:
      return shrinks_ ? shrink<3>(from, to) : enlarge<3>(from, to);
    default:
      return shrinks_ ? shrink<4>(from, to) : enlarge<4>(from, to);
  }
}

}  // namespace tavo::process
