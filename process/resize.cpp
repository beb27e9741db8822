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

__attribute__((target("ssse3"))) void shuffle_block(const uint8_t* from, uint8_t* to,
                                                    const uint8_t* shuffle) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(shuffle));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, order));
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
  blocks_.release();
  if (bits < 8 || !platform::processor().ssse3) return;
  if (new_width_ <= old_width_) {
    prepare_shrinking(static_cast<uint32_t>(bits / 8));
  } else {
    prepare_enlarging(static_cast<uint32_t>(bits / 8));
  }
}

namespace {

// A block that may not be stored whole: byte by byte, the last one first, since results lie to
// the right of what they come from.
void copy_bytes_down(const uint8_t* from, uint8_t* to, const uint8_t* shuffle, uint32_t count) {
  for (uint32_t b = count; b-- > 0;) to[b] = from[shuffle[b]];
}

void copy_bytes_up(const uint8_t* from, uint8_t* to, const uint8_t* shuffle, uint32_t count) {
  for (uint32_t b = 0; b < count; ++b) to[b] = from[shuffle[b]];
}

}  // namespace

void Resizer::resize_row(const uint8_t* from, uint8_t* to, int32_t bits) {
  const auto pixel_bytes = static_cast<uint32_t>(bits / 8);
  const uint32_t old_bytes = static_cast<uint32_t>(old_width_) * pixel_bytes;
  const uint32_t new_bytes = static_cast<uint32_t>(new_width_) * pixel_bytes;
  if (keeps_width()) {
    if (from != to) std::memcpy(to, from, old_bytes);
    return;
  }
  prepare(bits);
  if (block_count_ == 0) {
    if (from != to) std::memcpy(to, from, std::min(old_bytes, new_bytes));
    if (from == to || new_width_ > old_width_) {
      resize_row_plain(to, bits, old_width_, new_width_, across_);
      return;
    }
    // Shrinking reads beyond the result.
    uint32_t written = 0;
    for (int32_t i = 0; i < old_width_ && written < static_cast<uint32_t>(new_width_); ++i) {
      if (across_.count(static_cast<uint32_t>(i)) == 0) continue;
      std::memcpy(to + written++ * pixel_bytes, from + static_cast<uint32_t>(i) * pixel_bytes,
                  pixel_bytes);
    }
    return;
  }
  const Block* block = blocks_.data();
  const Block* const end = block + block_count_;
  if (new_width_ < old_width_) {
    if (from != to) std::memcpy(to, from, new_bytes);
    uint32_t total = 0;
    for (const Block* b = block; b != end; ++b) total += b->count;
    uint32_t out = 0;
    for (; block != end; ++block) {
      const bool whole = block->offset + kBlock <= old_bytes && out + kBlock <= total;
      if (whole && (from != to || out < block->offset)) {
        shuffle_block(from + block->offset, to + out, block->shuffle.data());
      } else {
        copy_bytes_up(from + block->offset, to + out, block->shuffle.data(), block->count);
      }
      out += block->count;
    }
    return;
  }
  if (from != to) std::memcpy(to, from, std::min(first_written_ * pixel_bytes, old_bytes));
  uint32_t out = new_bytes;
  for (; block != end; ++block) {
    out -= block->count;
    if (block->count == kBlock) {
      shuffle_block(from + block->offset, to + out, block->shuffle.data());
    } else {
      copy_bytes_down(from + block->offset, to + out, block->shuffle.data(), block->count);
    }
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

// Takes rows of a bitmap where they lie when it is in memory, else through a buffer.
Status resize_rows(BitmapHandle& source, BitmapHandle& destination, Resizer& resizer) {
  const int32_t bits = source.BitsPerPixel;
  const core::AccessScope accessed_source(source);
  const core::AccessScope accessed_destination(destination);
  Buffer row;
  TRY(row.allocate(std::max(source.BytesPerLine, destination.BytesPerLine)));
  core::Progress progress;
  TRY(progress.start());
  const auto new_height = static_cast<uint32_t>(destination.Height);
  uint32_t out = 0;
  for (uint32_t y = 0; y < static_cast<uint32_t>(source.Height) && out < new_height; ++y) {
    uint32_t repeats = std::min(resizer.row_count(y), new_height - out);
    if (repeats == 0) continue;
    TRY(core::get_row(source, y, row.bytes().first(source.BytesPerLine)));
    resizer.resize_row(row.data(), bits);
    const std::span<uint8_t> line = row.bytes().first(destination.BytesPerLine);
    core::clear_padding(line, destination.Width, bits);
    for (; repeats > 0; --repeats) TRY(core::put_row(destination, out++, line));
    TRY(progress.at(y, static_cast<uint32_t>(source.Height)));
  }
  // What no source row reaches is zero.
  std::fill(row.bytes().begin(), row.bytes().end(), uint8_t{0});
  while (out < new_height) {
    TRY(core::put_row(destination, out++, row.bytes().first(destination.BytesPerLine)));
  }
  return progress.finish();
}

}  // namespace

Status resize_bitmap(BitmapHandle& source, BitmapHandle& destination) {
  if (source.BitsPerPixel != destination.BitsPerPixel) return kBadArgument;
  Resizer resizer;
  TRY(resizer.start(source.Width, source.Height, destination.Width, destination.Height));
  return resize_rows(source, destination, resizer);
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
