#include "process/resize.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "core/bitmap.h"
#include "core/notice.h"
#include "core/progress.h"
#include "core/rows.h"
#include "platform/platform.h"

namespace tavo::process {

namespace {

constexpr uint32_t kBlock = 16;

// Copies one pixel of `bits` whose index and counter may name different places inside a byte: the
// byte is that of `position`, the bits inside it are those of `counter`.
void set_packed(uint8_t* row, int32_t bits, int64_t position, int64_t counter, uint32_t value) {
  if (bits == 1) {
    uint8_t& byte = row[position / 8];
    const uint32_t mask = 128u >> (counter & 7);
    byte = static_cast<uint8_t>(value != 0 ? byte | mask : byte & ~mask);
    return;
  }
  uint8_t& byte = row[position / 2];
  const bool low = (counter & 1) != 0;
  byte = static_cast<uint8_t>(low ? (byte & 0xF0u) | value : (byte & 0x0Fu) | value << 4);
}

uint32_t get_packed(const uint8_t* row, int32_t bits, int64_t position) {
  if (bits == 1) return row[position / 8] >> (7 - (position & 7)) & 1u;
  return (position & 1) != 0 ? row[position / 2] & 15u : row[position / 2] >> 4;
}

// A pixel's value before it is written anywhere: a source pixel is read once.
struct Pixel {
  uint32_t packed = 0;
  std::array<uint8_t, 4> bytes = {};

  void read(const uint8_t* row, int32_t bits, int64_t position) {
    if (bits < 8) {
      packed = get_packed(row, bits, position);
    } else {
      const auto size = static_cast<size_t>(bits / 8);
      std::memcpy(bytes.data(), row + static_cast<size_t>(position) * size, size);
    }
  }
  void write(uint8_t* row, int32_t bits, int64_t position, int64_t counter) const {
    if (bits < 8) {
      set_packed(row, bits, position, counter, packed);
    } else {
      const auto size = static_cast<size_t>(bits / 8);
      std::memcpy(row + static_cast<size_t>(position) * size, bytes.data(), size);
    }
  }
};

void shrink_plain(uint8_t* row, int32_t bits, int32_t old_width, int32_t new_width,
                  const ResizeRule& rule) {
  int64_t counter = 0;
  Pixel pixel;
  for (int32_t i = 0; i < old_width && counter < new_width; ++i) {
    pixel.read(row, bits, i);
    for (uint32_t n = rule.count(static_cast<uint32_t>(i)); n > 0 && counter < new_width; --n) {
      pixel.write(row, bits, counter, counter);
      ++counter;
    }
  }
}

void enlarge_plain(uint8_t* row, int32_t bits, int32_t old_width, int32_t new_width,
                   const ResizeRule& rule) {
  int64_t position = int64_t{new_width} - 1;
  int64_t counter = int64_t{new_width} - rule.count(static_cast<uint32_t>(old_width - 1));
  Pixel pixel;
  for (int32_t i = old_width - 1; i >= 0 && counter >= 0; --i) {
    pixel.read(row, bits, i);
    for (uint32_t n = rule.count(static_cast<uint32_t>(i)); n > 0 && counter >= 0; --n) {
      pixel.write(row, bits, position, counter);
      --position;
      --counter;
    }
  }
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

void resize_row_plain(uint8_t* row, int32_t bits, int32_t old_width, int32_t new_width,
                      const ResizeRule& rule) {
  if (new_width <= old_width) {
    shrink_plain(row, bits, old_width, new_width, rule);
  } else {
    enlarge_plain(row, bits, old_width, new_width, rule);
  }
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
  return kOk;
}

bool Resizer::is_equal() const { return new_width_ == old_width_ && new_height_ == old_height_; }

uint32_t Resizer::row_count(uint32_t number) const {
  return is_equal() ? 1 : down_.count(number & 255u);
}

void Resizer::prepare_masks(uint32_t pixel_bytes) {
  masks_ = {};
  mask_count_ = 4 * pixel_bytes;
  for (uint32_t byte = 0; byte < 256 * pixel_bytes; ++byte) {
    masks_[byte / 64] |= uint64_t{across_.count(byte / pixel_bytes)} << (byte % 64);
  }
  uint32_t kept = 0;
  for (uint32_t i = 0; i < static_cast<uint32_t>(old_width_); ++i) kept += across_.count(i);
  written_bytes_ = std::min(kept, static_cast<uint32_t>(new_width_)) * pixel_bytes;
}

// Which source bytes each sixteen bytes of source leave behind.
void Resizer::prepare_shrinking(uint32_t pixel_bytes) {
  const uint32_t pixels_per_block = kBlock / pixel_bytes;
  const auto old_width = static_cast<uint32_t>(old_width_);
  const auto new_width = static_cast<uint32_t>(new_width_);
  block_bytes_ = pixels_per_block * pixel_bytes;
  if (!blocks_.allocate((old_width + pixels_per_block - 1) / pixels_per_block).ok()) return;
  uint32_t written = 0;
  for (uint32_t first = 0; first < old_width && written < new_width; first += pixels_per_block) {
    Block& block = blocks_[block_count_];
    block = {first * pixel_bytes, 0, {}};
    block.shuffle.fill(0x80);
    const uint32_t end = std::min(first + pixels_per_block, old_width);
    for (uint32_t i = first; i < end; ++i) {
      // Shrinking, a pixel stays once or not at all.
      if (across_.count(i) == 0 || written == new_width) continue;
      for (uint32_t b = 0; b < pixel_bytes; ++b) {
        block.shuffle[block.count++] = static_cast<uint8_t>((i - first) * pixel_bytes + b);
      }
      ++written;
    }
    ++block_count_;
  }
  written_bytes_ = written * pixel_bytes;
  identity_blocks_ = 0;
  while (identity_blocks_ < block_count_ && blocks_[identity_blocks_].count == block_bytes_) {
    ++identity_blocks_;
  }
  const uint32_t old_bytes = old_width * pixel_bytes;
  safe_blocks_ = 0;
  for (uint32_t out = 0; safe_blocks_ < block_count_; ++safe_blocks_) {
    const Block& block = blocks_[safe_blocks_];
    if (block.offset + kBlock > old_bytes || out + kBlock > written_bytes_) break;
    out += block.count;
  }
}

// Where each sixteen bytes of result come from, from the right end to the left.
void Resizer::prepare_enlarging(uint32_t pixel_bytes) {
  const auto new_bytes = static_cast<uint32_t>(new_width_) * pixel_bytes;
  const auto old_bytes = static_cast<uint32_t>(old_width_) * pixel_bytes;
  if (old_bytes < kBlock) return;
  Array<uint32_t> sources;  // pixel by result position
  if (!sources.allocate(static_cast<uint64_t>(new_width_)).ok()) return;
  int64_t position = int64_t{new_width_} - 1;
  int64_t counter = int64_t{new_width_} - across_.count(static_cast<uint32_t>(old_width_ - 1));
  for (int32_t i = old_width_ - 1; i >= 0 && counter >= 0; --i) {
    for (uint32_t n = across_.count(static_cast<uint32_t>(i)); n > 0 && counter >= 0; --n) {
      // In place, a source pixel must not lie where results have been written before.
      if (i > position) return;
      sources[static_cast<size_t>(position)] = static_cast<uint32_t>(i);
      --position;
      --counter;
    }
  }
  first_written_ = static_cast<uint32_t>(position + 1);
  const uint32_t first_byte = first_written_ * pixel_bytes;
  if (!blocks_.allocate((new_bytes - first_byte + kBlock - 1) / kBlock).ok()) return;
  for (uint32_t end = new_bytes; end > first_byte;) {
    Block& block = blocks_[block_count_++];
    block.count = std::min(kBlock, end - first_byte);
    const uint32_t begin = end - block.count;
    uint32_t lowest = UINT32_MAX;
    std::array<uint32_t, kBlock> bytes = {};
    for (uint32_t b = 0; b < block.count; ++b) {
      const uint32_t at = begin + b;
      bytes[b] = sources[at / pixel_bytes] * pixel_bytes + at % pixel_bytes;
      lowest = std::min(lowest, bytes[b]);
    }
    block.offset = std::min(lowest, old_bytes - kBlock);
    for (uint32_t b = 0; b < block.count; ++b) {
      block.shuffle[b] = static_cast<uint8_t>(bytes[b] - block.offset);
    }
    end = begin;
  }
}

void Resizer::prepare(int32_t bits) {
  if (prepared_bits_ == bits) return;
  prepared_bits_ = bits;
  block_count_ = 0;
  mask_count_ = 0;
  blocks_.release();
  if (new_width_ < old_width_ && bits >= 8 && platform::processor().avx512_vbmi2) {
    prepare_masks(static_cast<uint32_t>(bits / 8));
    return;
  }
  if (bits < 8 || !platform::processor().ssse3) return;
  if (new_width_ <= old_width_) {
    prepare_shrinking(static_cast<uint32_t>(bits / 8));
  } else {
    prepare_enlarging(static_cast<uint32_t>(bits / 8));
  }
}

namespace {

// Loops of their own, because vector code is not inlined into functions for lesser processors.

// Blocks of source from left to right; returns where the next result byte goes.
__attribute__((target("ssse3"))) uint32_t shrink_blocks(const Resizer::Block* block, uint32_t count,
                                                        const uint8_t* from, uint8_t* to,
                                                        uint32_t out) {
  for (; count > 0; --count, ++block) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + block->offset));
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block->shuffle.data()));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + out), _mm_shuffle_epi8(bytes, order));
    out += block->count;
  }
  return out;
}

// The first `most` of the bytes of `from` that the masks keep, one behind the other. Nothing is
// written beyond them.
__attribute__((target("avx512f,avx512bw,avx512vbmi2,bmi,bmi2,popcnt"))) void compress_bytes(
    const uint8_t* from, uint32_t bytes, const uint64_t* masks, uint32_t mask_count, uint8_t* to,
    uint32_t most) {
  uint32_t out = 0;
  uint32_t in = 0;
  uint32_t m = 0;
  // Whole vectors: a store reaches no further than the source that has been read.
  for (; in + 64 <= bytes && out + 64 <= most; in += 64) {
    const __m512i source = _mm512_loadu_si512(from + in);
    _mm512_storeu_si512(to + out, _mm512_maskz_compress_epi8(masks[m], source));
    out += static_cast<uint32_t>(__builtin_popcountll(masks[m]));
    if (++m == mask_count) m = 0;
  }
  for (; in < bytes && out < most; in += 64) {
    const uint32_t left = bytes - in;
    const uint64_t there = left >= 64 ? ~uint64_t{0} : (uint64_t{1} << left) - 1;
    const uint64_t kept = masks[m] & there;
    const auto count = static_cast<uint32_t>(__builtin_popcountll(kept));
    const uint32_t room = most - out;
    const uint32_t stored = count < room ? count : room;
    const uint64_t store = stored >= 64 ? ~uint64_t{0} : (uint64_t{1} << stored) - 1;
    const __m512i source = _mm512_maskz_loadu_epi8(there, from + in);
    _mm512_mask_storeu_epi8(to + out, store, _mm512_maskz_compress_epi8(kept, source));
    out += stored;
    if (++m == mask_count) m = 0;
  }
}

// Blocks of result from right to left.
__attribute__((target("ssse3"))) void enlarge_blocks(const Resizer::Block* block, uint32_t count,
                                                     const uint8_t* from, uint8_t* end) {
  for (; count > 0; --count, ++block) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + block->offset));
    const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block->shuffle.data()));
    end -= kBlock;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(end), _mm_shuffle_epi8(bytes, order));
  }
}

}  // namespace

// Blocks whose stores reach beyond what is written, or over source that is yet to be read, go
// byte by byte. In place that is the first block that loses pixels: it still lies on its source,
// as those before it do, which stay where they are.
void Resizer::shrink_row(const uint8_t* from, uint8_t* to, uint32_t new_bytes) const {
  const Block* block = blocks_.data();
  uint32_t done = 0;
  uint32_t out = 0;
  const auto move_block = [&](const Block& one) {
    for (uint32_t b = 0; b < one.count; ++b) to[out++] = from[one.offset + one.shuffle[b]];
  };
  if (from == to) {
    done = identity_blocks_;
    out = identity_blocks_ * block_bytes_;
    if (done < block_count_) move_block(block[done++]);
  } else if (written_bytes_ < new_bytes) {
    std::memcpy(to + written_bytes_, from + written_bytes_, new_bytes - written_bytes_);
  }
  if (safe_blocks_ > done) {
    out = shrink_blocks(block + done, safe_blocks_ - done, from, to, out);
    done = safe_blocks_;
  }
  for (; done < block_count_; ++done) move_block(block[done]);
}

void Resizer::enlarge_row(const uint8_t* from, uint8_t* to, uint32_t old_bytes, uint32_t new_bytes,
                          uint32_t pixel_bytes) const {
  const uint32_t first_byte = first_written_ * pixel_bytes;
  if (from != to) {
    std::memcpy(to, from, std::min(first_byte, old_bytes));
    if (first_byte > old_bytes) std::memset(to + old_bytes, 0, first_byte - old_bytes);
  }
  const uint32_t whole = (new_bytes - first_byte) / kBlock;
  enlarge_blocks(blocks_.data(), whole, from, to + new_bytes);
  if (whole == block_count_) return;
  // The leftmost block, byte by byte from its end: results lie to the right of their source.
  const Block& last = blocks_[whole];
  for (uint32_t b = last.count; b-- > 0;) {
    to[first_byte + b] = from[last.offset + last.shuffle[b]];
  }
}

void Resizer::resize_row_slowly(const uint8_t* from, uint8_t* to, int32_t bits) const {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  const bool shrinks = new_width_ < old_width_;
  if (from != to) {
    const auto common = static_cast<uint32_t>(std::min(old_width_, new_width_));
    std::memcpy(to, from, common * pixel_bytes);
    std::memset(to + common * pixel_bytes, 0,
                (static_cast<uint32_t>(new_width_) - common) * pixel_bytes);
  }
  if (from == to || !shrinks) {
    resize_row_plain(to, bits, old_width_, new_width_, across_);
    return;
  }
  // The result has no room for the source behind it.
  uint32_t written = 0;
  for (uint32_t i = 0; i < static_cast<uint32_t>(old_width_); ++i) {
    if (across_.count(i) == 0 || written == static_cast<uint32_t>(new_width_)) continue;
    std::memcpy(to + written++ * pixel_bytes, from + i * pixel_bytes, pixel_bytes);
  }
}

void Resizer::resize_row(const uint8_t* from, uint8_t* to, int32_t bits) {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  const uint32_t old_bytes = static_cast<uint32_t>(old_width_) * pixel_bytes;
  const uint32_t new_bytes = static_cast<uint32_t>(new_width_) * pixel_bytes;
  if (keeps_width()) {
    if (from != to) std::memcpy(to, from, old_bytes);
    return;
  }
  prepare(bits);
  if (mask_count_ != 0) {
    compress_bytes(from, old_bytes, masks_.data(), mask_count_, to, written_bytes_);
    if (from != to) {
      std::memcpy(to + written_bytes_, from + written_bytes_, new_bytes - written_bytes_);
    }
  } else if (block_count_ == 0) {
    resize_row_slowly(from, to, bits);
  } else if (new_width_ < old_width_) {
    shrink_row(from, to, new_bytes);
  } else {
    enlarge_row(from, to, old_bytes, new_bytes, pixel_bytes);
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
    uint8_t* const to = static_cast<uint8_t*>(destination_.Data) + new_line * out_;
    resizer_.resize_row(
        static_cast<const uint8_t*>(source_.Data) + size_t{source_.BytesPerLine} * y, to,
        source_.BitsPerPixel);
    core::clear_padding({to, new_line}, destination_.Width, destination_.BitsPerPixel);
    for (uint32_t n = 1; n < repeats; ++n) std::memcpy(to + new_line * n, to, new_line);
    out_ += repeats;
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
  TRY(core::allocate_bitmap(*sized, 1));
  TRY(core::copy_description(*sized, bitmap));
  sized->XResolution = bitmap.XResolution;
  sized->YResolution = bitmap.YResolution;
  sized->XOrigin = bitmap.XOrigin;
  sized->YOrigin = bitmap.YOrigin;
  TRY(resize_bitmap(bitmap, *sized));
  // The new record takes the old one's place, and its storage with it.
  const bool was_accessed = core::has_flag(bitmap, T_FLAG_LOCKED);
  core::free_bitmap(bitmap);
  bitmap = *sized;
  sized->Flags = 0;
  sized->GdiObjectA = sized->GdiObjectB = 0;
  if (was_accessed) core::access_bitmap(bitmap);
  return kOk;
}

}  // namespace tavo::process
