#include "process/resize_row.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace tavo::process {

namespace {

// A pixel's value before it is written anywhere: a source pixel is read once.
//
// Kept for 1 and 4 bits: it is written to the byte of its position, but to the bits inside it that
// belong to the counter, which may name another place.
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
    if constexpr (kBits == 4) {  // nibbles take turns, which branches foresee
      const bool is_low = (counter & 1) != 0;
      byte = static_cast<uint8_t>(is_low ? (byte & 0xF0u) | (everywhere & 0x0Fu)
                                         : (byte & 0x0Fu) | (everywhere & 0xF0u));
      return;
    }
    const uint32_t mask = kMask << shift(kBits == 2 ? position : counter);
    byte = static_cast<uint8_t>((byte & ~mask) | (everywhere & mask));
  }
};

template <int32_t kBits>
void shrink_packed(uint8_t* row, const ResizeRule& rule) {
  const int32_t old_width = rule.old_size;
  const int32_t new_width = rule.new_size;
  int64_t counter = 0;
  PackedPixel<kBits> pixel;
  for (int32_t i = 0; i < old_width && counter < new_width; ++i) {
    pixel.read(row, i);
    for (uint32_t n = rule.count(static_cast<uint32_t>(i)); n > 0 && counter < new_width; --n) {
      pixel.write(row, counter, counter);
      ++counter;
    }
  }
}

template <int32_t kBits>
void enlarge_packed(uint8_t* row, const ResizeRule& rule) {
  // The counter is that far behind the position, and the work ends where it would fall below 0.
  const auto behind = int64_t{rule.count(static_cast<uint32_t>(rule.old_size - 1))} - 1;
  int64_t position = int64_t{rule.new_size} - 1;
  PackedPixel<kBits> pixel;
  for (int32_t i = rule.old_size - 1; i >= 0 && position >= behind; --i) {
    pixel.read(row, i);
    const int64_t end = std::max(position - rule.count(static_cast<uint32_t>(i)), behind - 1);
    for (; position > end; --position) pixel.write(row, position, position - behind);
  }
}

template <int32_t kBits>
void resize_packed(uint8_t* row, const ResizeRule& rule) {
  rule.shrinks() ? shrink_packed<kBits>(row, rule) : enlarge_packed<kBits>(row, rule);
}

// What ResizeSteps does, for every row and processor.
template <size_t kBytes>
void resize_plain(const uint8_t* from, uint8_t* to, const ResizeRule& rule) {
  std::array<uint8_t, kBytes> pixel;
  uint32_t left = rule.reached;
  if (rule.shrinks()) {
    // A pixel that does not stay is overwritten by the next.
    uint32_t out = 0;
    for (uint32_t i = 0; out < left; ++i) {
      std::memcpy(pixel.data(), from + size_t{i} * kBytes, kBytes);
      std::memcpy(to + size_t{out} * kBytes, pixel.data(), kBytes);
      out += rule.count(i);
    }
    return;
  }
  uint8_t* out = to + static_cast<size_t>(rule.new_size) * kBytes;
  for (auto i = static_cast<uint32_t>(rule.old_size); left > 0;) {
    std::memcpy(pixel.data(), from + size_t{--i} * kBytes, kBytes);
    const uint32_t count = std::min(rule.count(i), left);
    left -= count;
    for (uint32_t n = 0; n < count; ++n) std::memcpy(out -= kBytes, pixel.data(), kBytes);
  }
}

}  // namespace

Status Resizer::start(int32_t old_width, int32_t old_height, int32_t new_width,
                      int32_t new_height) {
  if (old_width < 1 || old_height < 1 || new_width < 1 || new_height < 1) return kBadArgument;
  across_.set(old_width, new_width);
  down_.set(old_height, new_height);
  steps_.forget();
  return kOk;
}

void Resizer::resize_pixels(const uint8_t* from, uint8_t* to, uint32_t pixel_bytes) {
  if (!steps_.are_for(pixel_bytes)) steps_.make(across_, pixel_bytes);
  if (!steps_.empty()) return steps_.run(from, to);
  const auto resize = pixel_bytes == 1   ? resize_plain<1>
                      : pixel_bytes == 2 ? resize_plain<2>
                      : pixel_bytes == 3 ? resize_plain<3>
                                         : resize_plain<4>;
  resize(from, to, across_);
}

// What no source pixel reaches keeps the source as it stood.
void Resizer::fill_unreached(const uint8_t* from, uint8_t* to, size_t pixel_bytes) const {
  const size_t reached = across_.reached * pixel_bytes;
  const size_t left = static_cast<size_t>(across_.new_size) * pixel_bytes - reached;
  if (across_.shrinks()) {
    std::memcpy(to + reached, from + reached, left);
    return;
  }
  const size_t there = std::min(left, static_cast<size_t>(across_.old_size) * pixel_bytes);
  std::memcpy(to, from, there);
  std::memset(to + there, 0, left - there);
}

void Resizer::resize_row(const uint8_t* from, uint8_t* to, int32_t bits) {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  if (keeps_width()) {
    std::memcpy(to, from, static_cast<size_t>(across_.old_size) * pixel_bytes);
    return;
  }
  resize_pixels(from, to, pixel_bytes);
  fill_unreached(from, to, pixel_bytes);
}

void Resizer::resize_row(uint8_t* row, int32_t bits) {
  if (keeps_width()) return;
  switch (bits) {
    case 1:
      return resize_packed<1>(row, across_);
    case 2:
      return resize_packed<2>(row, across_);
    case 4:
      return resize_packed<4>(row, across_);
    default:
      return resize_pixels(row, row, static_cast<uint32_t>(bits / 8));
  }
}

}  // namespace tavo::process
