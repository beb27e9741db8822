#include "process/resize_row.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace tavo::process {

namespace {

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
  prepared_bits_ = 0;
  return kOk;
}

void Resizer::prepare(int32_t bits) {
  if (prepared_bits_ == bits) return;
  prepared_bits_ = bits;
  if (bits < 8) return packed_.make(across_, bits);
  ResizeSources sources;
  steps_.forget();
  if (sources.find(across_)) steps_.make(sources, static_cast<uint32_t>(bits / 8));
}

void Resizer::resize_pixels(const uint8_t* from, uint8_t* to, uint32_t pixel_bytes, size_t ahead) {
  if (!steps_.empty()) return steps_.run(from, to, ahead);
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

void Resizer::resize_row(const uint8_t* from, uint8_t* to, int32_t bits, size_t ahead) {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  if (keeps_width()) {
    std::memcpy(to, from, static_cast<size_t>(across_.old_size) * pixel_bytes);
    return;
  }
  prepare(bits);
  resize_pixels(from, to, pixel_bytes, ahead);
  fill_unreached(from, to, pixel_bytes);
}

void Resizer::resize_row(const uint8_t* from, uint8_t* scratch, int32_t bits, ResizeSink sink) {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  const size_t bytes = static_cast<size_t>(across_.new_size) * pixel_bytes;
  prepare(bits);
  if (keeps_width() || across_.shrinks() || steps_.empty()) {
    resize_row(from, scratch, bits);
    return sink({scratch, bytes});
  }
  fill_unreached(from, scratch, pixel_bytes);
  sink({scratch, bytes - size_t{across_.reached} * pixel_bytes});
  steps_.run_pieces(from, scratch, sink);
}

void Resizer::resize_row(uint8_t* row, int32_t bits) {
  if (keeps_width()) return;
  prepare(bits);
  if (bits < 8) return packed_.run(row, across_);
  resize_pixels(row, row, static_cast<uint32_t>(bits / 8), 0);
}

}  // namespace tavo::process
