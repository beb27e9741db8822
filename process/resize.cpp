#include "process/resize.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "base/stream_copy.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "core/progress.h"
#include "core/rows.h"
#include "platform/platform.h"

namespace tavo::process {

namespace {

// Bytes of result in one store.
constexpr uint32_t kLanes = 16;
constexpr uint32_t kWideLanes = 64;

// A pixel's value before it is written anywhere: a source pixel is read once.
template <int32_t kBits>
struct Pixel {
  static constexpr size_t kBytes = kBits / 8;
  std::array<uint8_t, kBytes> bytes;

  void read(const uint8_t* row, int64_t position) {
    std::memcpy(bytes.data(), row + static_cast<size_t>(position) * kBytes, kBytes);
  }
  void write(uint8_t* row, int64_t position, int64_t) const {
    std::memcpy(row + static_cast<size_t>(position) * kBytes, bytes.data(), kBytes);
  }
};

// Kept for 1 and 4 bits: a pixel is written to the byte of its position, but to the bits inside it
// that belong to the counter, which may name another place.
template <int32_t kBits>
requires(kBits < 8) struct Pixel<kBits> {
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
void shrink_plain(uint8_t* row, int32_t old_width, int32_t new_width, const ResizeRule& rule) {
  int64_t counter = 0;
  Pixel<kBits> pixel;
  for (int32_t i = 0; i < old_width && counter < new_width; ++i) {
    pixel.read(row, i);
    for (uint32_t n = rule.count(static_cast<uint32_t>(i)); n > 0 && counter < new_width; --n) {
      pixel.write(row, counter, counter);
      ++counter;
    }
  }
}

template <int32_t kBits>
void enlarge_plain(uint8_t* row, int32_t old_width, int32_t new_width, const ResizeRule& rule) {
  // The counter is that far behind the position, and the work ends where it would fall below 0.
  const auto behind = int64_t{rule.count(static_cast<uint32_t>(old_width - 1))} - 1;
  int64_t position = int64_t{new_width} - 1;
  Pixel<kBits> pixel;
  for (int32_t i = old_width - 1; i >= 0 && position >= behind; --i) {
    pixel.read(row, i);
    const int64_t end = std::max(position - rule.count(static_cast<uint32_t>(i)), behind - 1);
    for (; position > end; --position) pixel.write(row, position, position - behind);
  }
}

template <int32_t kBits>
void resize_plain(uint8_t* row, int32_t old_width, int32_t new_width, const ResizeRule& rule) {
  const auto resize = new_width <= old_width ? shrink_plain<kBits> : enlarge_plain<kBits>;
  resize(row, old_width, new_width, rule);
}

}  // namespace

void ResizeRule::set(int32_t old_size, int32_t new_size) {
  const int64_t old_wide = old_size;
  const int64_t ratio = int64_t{new_size} * 256 / old_wide;
  const int64_t reached = ratio * old_wide >> 8;
  const int64_t rest = reached % old_wide * 256;
  step = static_cast<int32_t>(reached / old_wide);
  const int64_t fraction = rest / old_wide + (rest % old_wide > old_wide / 2 ? 1 : 0);
  extra.fill(0);
  if (fraction == 0) return;
  // That many of the 256 positions, spread evenly.
  const int64_t distance = 65280 / fraction;
  for (int64_t k = 0; k < fraction; ++k) {
    const int64_t place = k * distance;
    extra[static_cast<size_t>((place >> 8) + ((place & 255) >= 128 ? 1 : 0))] = 1;
  }
}

uint64_t ResizeRule::total(uint32_t positions) const {
  const auto extras = [this](uint32_t first) {
    return static_cast<uint64_t>(std::count(extra.begin(), extra.begin() + first, 1));
  };
  return uint64_t{positions} * static_cast<uint32_t>(step) + positions / 256 * extras(256) +
         extras(positions % 256);
}

void resize_row_plain(uint8_t* row, int32_t bits, int32_t old_width, int32_t new_width,
                      const ResizeRule& rule) {
  const auto resize = bits == 1    ? resize_plain<1>
                      : bits == 2  ? resize_plain<2>
                      : bits == 4  ? resize_plain<4>
                      : bits == 8  ? resize_plain<8>
                      : bits == 16 ? resize_plain<16>
                      : bits == 24 ? resize_plain<24>
                                   : resize_plain<32>;
  resize(row, old_width, new_width, rule);
}

Status Resizer::start(int32_t old_width, int32_t old_height, int32_t new_width,
                      int32_t new_height) {
  if (old_width < 1 || old_height < 1 || new_width < 1 || new_height < 1) return kBadArgument;
  old_width_ = old_width;
  old_height_ = old_height;
  new_width_ = new_width;
  new_height_ = new_height;
  across_.set(old_width, new_width);
  down_.set(old_height, new_height);
  prepared_bits_ = 0;
  uint64_t most = static_cast<uint32_t>(new_width);
  if (new_width > old_width) most -= across_.count(static_cast<uint32_t>(old_width - 1)) - 1;
  reached_ = static_cast<uint32_t>(std::min(across_.total(static_cast<uint32_t>(old_width)), most));
  return kOk;
}

bool Resizer::is_equal() const { return new_width_ == old_width_ && new_height_ == old_height_; }

uint32_t Resizer::row_count(uint32_t number) const {
  return is_equal() ? 1 : down_.count(number & 255u);
}

// Which source bytes each store of result takes, from left to right. The next store may overwrite
// what lies behind the bytes that hold.
void Resizer::prepare_shrinking(uint32_t pixel_bytes) {
  const uint32_t old_bytes = static_cast<uint32_t>(old_width_) * pixel_bytes;
  const uint32_t new_bytes = static_cast<uint32_t>(new_width_) * pixel_bytes;
  lanes_ = platform::processor() == platform::Processor::kAvx512 && old_bytes >= 2 * kWideLanes
               ? kWideLanes
               : kLanes;
  const uint32_t window = 2 * lanes_;
  if (old_bytes < window) return;
  if (!allocate_steps(new_bytes / lanes_ + old_bytes / window + 2)) return;
  uint32_t pixels = 0;
  for (uint32_t i = 0; pixels < reached_; ++i) {
    // Shrinking, a pixel stays once or not at all.
    if (across_.count(i) == 0) continue;
    ++pixels;
    for (uint32_t byte = i * pixel_bytes; byte < (i + 1) * pixel_bytes; ++byte) {
      if (step_count_ == 0 || steps_[step_count_ - 1].count == lanes_ ||
          byte >= steps_[step_count_ - 1].offset + window) {
        steps_[step_count_++] = {std::min(byte, old_bytes - window), 0};
      }
      Step& step = steps_[step_count_ - 1];
      shuffles_[(step_count_ - 1) * lanes_ + step.count++] =
          static_cast<uint8_t>(byte - step.offset);
    }
  }
  // A step's store stays inside the result when as many bytes as it stores are still to come.
  uint32_t to_come = 0;
  for (last_steps_ = 0; last_steps_ < step_count_; ++last_steps_) {
    to_come += steps_[step_count_ - 1 - last_steps_].count;
    if (to_come >= lanes_) break;
  }
}

// Where each store of result comes from, from the right end to the left.
void Resizer::prepare_enlarging(uint32_t pixel_bytes) {
  const auto new_bytes = static_cast<uint32_t>(new_width_) * pixel_bytes;
  const auto old_bytes = static_cast<uint32_t>(old_width_) * pixel_bytes;
  if (old_bytes < kLanes) return;
  Array<uint32_t> sources;  // pixel by result position
  if (!sources.allocate(static_cast<uint64_t>(new_width_)).ok()) return;
  auto position = static_cast<uint32_t>(new_width_);
  const uint32_t first = position - reached_;
  for (auto i = static_cast<uint32_t>(old_width_); position > first;) {
    for (uint32_t n = across_.count(--i); n > 0 && position > first; --n) {
      // In place, a source pixel must not lie where results have been written before.
      if (i >= position) return;
      sources[--position] = i;
    }
  }
  const uint32_t first_byte = first * pixel_bytes;
  lanes_ = kLanes;
  if (!allocate_steps((new_bytes - first_byte + kLanes - 1) / kLanes)) return;
  for (uint32_t end = new_bytes; end > first_byte;) {
    const uint32_t count = std::min(kLanes, end - first_byte);
    const uint32_t begin = end - count;
    const auto source = [&](uint32_t at) {
      return sources[at / pixel_bytes] * pixel_bytes + at % pixel_bytes;
    };
    uint32_t lowest = source(begin);
    for (uint32_t at = begin; at < end; ++at) lowest = std::min(lowest, source(at));
    const uint32_t offset = std::min(lowest, old_bytes - kLanes);
    for (uint32_t at = begin; at < end; ++at) {
      shuffles_[step_count_ * kLanes + at - begin] = static_cast<uint8_t>(source(at) - offset);
    }
    steps_[step_count_++] = {offset, count};
    end = begin;
  }
}

bool Resizer::allocate_steps(uint32_t most) {
  return steps_.allocate(most).ok() && shuffles_.allocate(uint64_t{most} * lanes_).ok();
}

void Resizer::prepare(int32_t bits) {
  if (prepared_bits_ == bits) return;
  prepared_bits_ = bits;
  step_count_ = 0;
  steps_.release();
  shuffles_.release();
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  const int64_t longest = int64_t{std::max(old_width_, new_width_)} * pixel_bytes;
  if (bits < 8 || longest > INT32_MAX || platform::processor() < platform::Processor::kSsse3)
    return;
  if (new_width_ <= old_width_) {
    prepare_shrinking(pixel_bytes);
  } else {
    prepare_enlarging(pixel_bytes);
  }
}

namespace {

// Loops of their own, because vector code is not inlined into functions for lesser processors.

// Result from left to right. A store reaches no further than the source that has been read: in
// place, what it overwrites is not wanted any more. The last steps, whose stores would reach beyond
// the result, store no more than they hold.

// An index below sixteen means the first half of the window.
__attribute__((target("ssse3"))) void shrink_steps(const Resizer::Step* step, uint32_t steps,
                                                   uint32_t last, const uint8_t* shuffle,
                                                   const uint8_t* from, uint8_t* to) {
  const __m128i half = _mm_set1_epi8(kLanes);
  const __m128i clears_above = _mm_set1_epi8(0x80 - kLanes);
  for (; steps > last; --steps, ++step, shuffle += kLanes) {
    const auto* window = reinterpret_cast<const __m128i*>(from + step->offset);
    const __m128i index = _mm_loadu_si128(reinterpret_cast<const __m128i*>(shuffle));
    const __m128i low =
        _mm_shuffle_epi8(_mm_loadu_si128(window), _mm_add_epi8(index, clears_above));
    const __m128i high = _mm_shuffle_epi8(_mm_loadu_si128(window + 1), _mm_sub_epi8(index, half));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(low, high));
    to += step->count;
  }
  for (; steps > 0; --steps, ++step, shuffle += kLanes) {
    for (uint32_t b = 0; b < step->count; ++b) *to++ = from[step->offset + shuffle[b]];
  }
}

__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void shrink_steps_wide(
    const Resizer::Step* step, uint32_t steps, uint32_t last, const uint8_t* shuffle,
    const uint8_t* from, uint8_t* to) {
  for (; steps > 0; --steps, ++step, shuffle += kWideLanes) {
    const uint8_t* window = from + step->offset;
    const __m512i result =
        _mm512_permutex2var_epi8(_mm512_loadu_si512(window), _mm512_loadu_si512(shuffle),
                                 _mm512_loadu_si512(window + kWideLanes));
    if (steps > last) {
      _mm512_storeu_si512(to, result);
    } else {
      _mm512_mask_storeu_epi8(to, (uint64_t{1} << step->count) - 1, result);
    }
    to += step->count;
  }
}

// Result from right to left.
__attribute__((target("ssse3"))) void enlarge_steps(const Resizer::Step* step, uint32_t steps,
                                                    const uint8_t* shuffle, const uint8_t* from,
                                                    uint8_t* end) {
  for (; steps > 0; --steps, ++step, shuffle += kLanes) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + step->offset));
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(shuffle));
    end -= kLanes;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(end), _mm_shuffle_epi8(bytes, order));
  }
}

}  // namespace

void Resizer::shrink_row(const uint8_t* from, uint8_t* to) const {
  const auto shrink = lanes_ == kWideLanes ? shrink_steps_wide : shrink_steps;
  shrink(steps_.data(), step_count_, last_steps_, shuffles_.data(), from, to);
}

void Resizer::enlarge_row(const uint8_t* from, uint8_t* to, size_t new_bytes,
                          size_t first_byte) const {
  const auto whole = static_cast<uint32_t>((new_bytes - first_byte) / kLanes);
  enlarge_steps(steps_.data(), whole, shuffles_.data(), from, to + new_bytes);
  if (whole == step_count_) return;
  // The leftmost store, byte by byte from its end: results lie to the right of their source.
  const uint8_t* shuffle = shuffles_.data() + size_t{whole} * kLanes;
  for (uint32_t b = steps_[whole].count; b-- > 0;) {
    to[first_byte + b] = from[steps_[whole].offset + shuffle[b]];
  }
}

namespace {

template <size_t kBytes>
void resize_pixels(const uint8_t* from, uint8_t* to, const ResizeRule& rule, int32_t old_width,
                   int32_t new_width, uint32_t reached) {
  std::array<uint8_t, kBytes> pixel;
  if (new_width < old_width) {
    // Shrinking, a pixel that does not stay is overwritten by the next.
    uint32_t out = 0;
    for (uint32_t i = 0; out < reached; ++i) {
      std::memcpy(pixel.data(), from + size_t{i} * kBytes, kBytes);
      std::memcpy(to + size_t{out} * kBytes, pixel.data(), kBytes);
      out += rule.count(i);
    }
    return;
  }
  uint8_t* out = to + static_cast<size_t>(new_width) * kBytes;
  for (auto i = static_cast<uint32_t>(old_width); reached > 0;) {
    std::memcpy(pixel.data(), from + size_t{--i} * kBytes, kBytes);
    const uint32_t count = std::min(rule.count(i), reached);
    reached -= count;
    for (uint32_t n = 0; n < count; ++n) std::memcpy(out -= kBytes, pixel.data(), kBytes);
  }
}

}  // namespace

void Resizer::resize_row_slowly(const uint8_t* from, uint8_t* to, int32_t bits) const {
  const auto resize = bits == 8    ? resize_pixels<1>
                      : bits == 16 ? resize_pixels<2>
                      : bits == 24 ? resize_pixels<3>
                                   : resize_pixels<4>;
  resize(from, to, across_, old_width_, new_width_, reached_);
}

void Resizer::resize_row(const uint8_t* from, uint8_t* to, int32_t bits) {
  const auto pixel_bytes = static_cast<size_t>(bits / 8);
  const size_t old_bytes = static_cast<size_t>(old_width_) * pixel_bytes;
  const size_t new_bytes = static_cast<size_t>(new_width_) * pixel_bytes;
  if (keeps_width()) {
    if (from != to) std::memcpy(to, from, old_bytes);
    return;
  }
  prepare(bits);
  const size_t reached = reached_ * pixel_bytes;
  if (step_count_ == 0) {
    resize_row_slowly(from, to, bits);
  } else if (new_width_ < old_width_) {
    shrink_row(from, to);
  } else {
    enlarge_row(from, to, new_bytes, new_bytes - reached);
  }
  if (from == to) return;
  // What no source pixel reaches keeps the source as it stood.
  if (new_width_ < old_width_) {
    std::memcpy(to + reached, from + reached, new_bytes - reached);
  } else {
    const size_t left = new_bytes - reached;
    const size_t there = std::min(left, old_bytes);
    std::memcpy(to, from, there);
    std::memset(to + there, 0, left - there);
  }
}

void Resizer::resize_row(uint8_t* row, int32_t bits) {
  if (keeps_width()) return;
  if (bits < 8) {
    resize_row_plain(row, bits, old_width_, new_width_, across_);
  } else {
    resize_row(row, row, bits);
  }
}

namespace {

// One bitmap to another. Rows of whole bytes go straight from memory to memory.
class BitmapResize {
 public:
  BitmapResize(BitmapHandle& source, BitmapHandle& destination, Resizer& resizer)
      : source_(source), destination_(destination), resizer_(resizer) {}

  Status run() {
    const core::AccessScope accessed_source(source_);
    const core::AccessScope accessed_destination(destination_);
    direct_ = source_.BitsPerPixel >= 8 && core::has_flag(source_, T_FLAG_LOCKED) &&
              core::has_flag(destination_, T_FLAG_LOCKED);
    TRY(row_.allocate(std::max(source_.BytesPerLine, destination_.BytesPerLine)));
    core::Progress progress;
    TRY(progress.start());
    const auto old_height = static_cast<uint32_t>(source_.Height);
    const auto new_height = static_cast<uint32_t>(destination_.Height);
    for (uint32_t y = 0; y < old_height && out_ < new_height; ++y) {
      const uint32_t repeats = std::min(resizer_.row_count(y), new_height - out_);
      if (repeats != 0) TRY(direct_ ? move_row(y, repeats) : copy_row(y, repeats));
      TRY(progress.at(y, old_height));
    }
    // What no source row reaches is zero.
    std::fill(row_.bytes().begin(), row_.bytes().end(), uint8_t{0});
    while (out_ < new_height) TRY(core::put_row(destination_, out_++, line()));
    return progress.finish();
  }

 private:
  std::span<uint8_t> line() { return row_.bytes().first(destination_.BytesPerLine); }

  Status move_row(uint32_t y, uint32_t repeats) {
    const size_t new_line = destination_.BytesPerLine;
    uint8_t* to = static_cast<uint8_t*>(destination_.Data) + new_line * out_;
    out_ += repeats;
    const bool streams = destination_.Size >= kStreamedBytes;
    uint8_t* const row = streams ? row_.data() : to;
    resizer_.resize_row(
        static_cast<const uint8_t*>(source_.Data) + size_t{source_.BytesPerLine} * y, row,
        source_.BitsPerPixel);
    core::clear_padding({row, new_line}, destination_.Width, destination_.BitsPerPixel);
    if (streams) {
      for (; repeats > 0; --repeats, to += new_line) stream_copy(to, row, new_line);
      stream_fence();
    } else {
      for (; repeats > 1; --repeats) std::memcpy(to += new_line, row, new_line);
    }
    return kOk;
  }

  Status copy_row(uint32_t y, uint32_t repeats) {
    TRY(core::get_row(source_, y, row_.bytes().first(source_.BytesPerLine)));
    // Nothing of the row before shows where this one is not reached.
    core::clear_padding(row_.bytes(), source_.Width, source_.BitsPerPixel);
    resizer_.resize_row(row_.data(), source_.BitsPerPixel);
    core::clear_padding(line(), destination_.Width, destination_.BitsPerPixel);
    for (; repeats > 0; --repeats) TRY(core::put_row(destination_, out_++, line()));
    return kOk;
  }

  BitmapHandle& source_;
  BitmapHandle& destination_;
  Resizer& resizer_;
  bool direct_ = false;
  Buffer row_;
  uint32_t out_ = 0;  // rows of the result that are there
};

}  // namespace

Status resize_bitmap(BitmapHandle& source, BitmapHandle& destination) {
  if (source.BitsPerPixel != destination.BitsPerPixel) return kBadArgument;
  // As its rows would answer, of which a small result may need none.
  if (!core::has_storage(source) || !core::has_storage(destination)) return kNoMemory;
  Resizer resizer;
  TRY(resizer.start(source.Width, source.Height, destination.Width, destination.Height));
  return BitmapResize(source, destination, resizer).run();
}

Status size_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height) {
  TRY(core::check_notice());
  if (bitmap.Width == width && bitmap.Height == height) return kOk;
  if (width < 1 || height < 1) return kBadArgument;
  core::OwnedBitmap sized;
  TRY(core::init_bitmap(*sized, width, height, bitmap.BitsPerPixel));
  TRY(core::allocate_quietly(*sized));
  TRY(core::copy_description_resized(*sized, bitmap));
  TRY(resize_bitmap(bitmap, *sized));
  core::take_place(bitmap, *sized);
  return kOk;
}

}  // namespace tavo::process
