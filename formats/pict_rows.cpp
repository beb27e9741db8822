#include "formats/pict_rows.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "codec/packbits.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "formats/byte_planes.h"
#include "formats/plausible.h"
#include "formats/white_byte.h"

namespace tavo::pict {

namespace {

// Longer rows have their packed bytes counted by a word, shorter ones by a byte. ImageMagick,
// GraphicsMagick and netpbm draw the line at 200, and the first two have counted three bytes for
// a column of 24 bits, where the documents count four: rows between are looked at.
constexpr uint32_t kLongestByteCounted = 250;
constexpr uint32_t kLeastDoubted = 201, kMostDoubted = 333;

constexpr uint32_t kNoPacket = 128;  // a head byte that stands alone

// PackBits: a head of 0 to 127 has one literal more behind it, 129 to 255 repeats the next byte 257
// less the head times. What the packets of a row make; SIZE_MAX when the last one is not whole.
size_t unpacked_bytes(std::span<const uint8_t> packed) {
  size_t total = 0;
  while (!packed.empty()) {
    const uint32_t head = packed[0];
    const bool is_run = head > kNoPacket;
    const size_t count = head == kNoPacket ? 0 : is_run ? 257 - head : head + 1;
    const size_t bytes = 1 + (is_run ? 1 : count);
    if (packed.size() < bytes) return SIZE_MAX;
    packed = packed.subspan(bytes);
    total += count;
  }
  return total;
}

void unpack_bytes(std::span<const uint8_t> packed, std::span<uint8_t> row, uint8_t white) {
  ByteSource bytes(packed);
  size_t got = 0;
  if (packbits::Decoder(bytes).decode(row, got).ok()) return;
  std::ranges::fill(row.subspan(got), white);
}

// The same where packets count words (pack type 3).
void unpack_words(std::span<const uint8_t> packed, std::span<uint8_t> row) {
  while (packed.size() > 2 && !row.empty()) {
    const uint32_t head = packed[0];
    packed = packed.subspan(1);
    if (head == kNoPacket) continue;
    const bool is_run = head > kNoPacket;
    const size_t bytes = std::min<size_t>(2 * (is_run ? 257 - head : head + 1), row.size());
    const size_t taken = is_run ? 2 : std::min(bytes, packed.size());
    for (size_t i = 0; i < bytes; i += taken) {
      std::memcpy(&row[i], packed.data(), std::min(taken, bytes - i));
      if (!is_run) break;
    }
    row = row.subspan(is_run ? bytes : taken);
    packed = packed.subspan(taken);
  }
  std::ranges::fill(row, uint8_t{0xFF});
}

}  // namespace

void move_pixels(const uint8_t* from, uint32_t from_x, uint8_t* to, uint32_t to_x, uint32_t count,
                 uint32_t bits) {
  const uint64_t from_bit = uint64_t{from_x} * bits, to_bit = uint64_t{to_x} * bits;
  uint64_t moved = 0;  // bits
  const uint64_t all = uint64_t{count} * bits;
  if (from_bit % 8 == 0 && to_bit % 8 == 0) {
    std::memcpy(to + to_bit / 8, from + from_bit / 8, static_cast<size_t>(all / 8));
    moved = all / 8 * 8;
  }
  const uint32_t mask = (1u << std::min(bits, 8u)) - 1;
  for (; moved < all; moved += bits) {
    const uint64_t in = from_bit + moved, out = to_bit + moved;
    const uint32_t pixel = from[in / 8] >> (8 - bits - in % 8) & mask;
    const auto shift = static_cast<uint32_t>(8 - bits - out % 8);
    to[out / 8] = static_cast<uint8_t>((to[out / 8] & ~(mask << shift)) | pixel << shift);
  }
}

Status RowReader::Part::read_some(std::span<uint8_t> into, size_t& got) {
  const auto part = static_cast<size_t>(std::min<uint64_t>(into.size(), left));
  TRY(stream.read_some(into.first(part), got));
  left -= got;
  return kOk;
}

Status RowReader::Part::take(size_t count, std::span<const uint8_t>& bytes) {
  if (is_all) return stream.take(count, bytes);
  if (left < count) return kReadError;
  left -= count;
  return stream.take(count, bytes);
}

void RowReader::start(const Bitmap& bitmap) {
  bitmap_ = &bitmap;
  part_.is_all = true;
  row_ = 0;
  rows_ = static_cast<uint32_t>(bitmap.bounds.height());
  line_.release();
  decoder_.reset();
  packing_ = bitmap.packing;
  is_word_counted_ = bitmap.row_bytes > kLongestByteCounted;
  if (packing_ == Packing::kBytesOrPlain) {
    packing_ = Packing::kBytes;
    choose_counts();
    if (fit(is_word_counted_) == Fit::kNo) packing_ = Packing::kPlain;
  } else if (has_counts()) {
    choose_counts();
  }
}

// Only rows that certainly do not fit the documents' rule are tried by the other one, and only
// those that certainly fit that are read so: of a file that is cut the rule holds.
void RowReader::choose_counts() {
  const bool is_doubted = packing_ != Packing::kWords && bitmap_->row_bytes >= kLeastDoubted &&
                          bitmap_->row_bytes <= kMostDoubted;
  if (!is_doubted || fit(is_word_counted_) != Fit::kNo) return;
  if (fit(!is_word_counted_) == Fit::kYes) is_word_counted_ = !is_word_counted_;
}

void RowReader::start(const Bitmap& bitmap, uint64_t bytes) {
  start(bitmap);
  part_.is_all = false;
  part_.left = bytes;
}

Status RowReader::start_jpeg(uint64_t bytes, uint64_t file_bytes, Bitmap& bitmap) {
  start(bitmap, bytes);
  source_.reset();
  TRY(source_.start());
  decoder_.emplace();
  TRY(decoder_->read_header(source_, {}));
  const jpeg::Frame& frame = decoder_->frame();
  TRY(formats::check_plausible(formats::Density::kJpeg, frame.width, frame.height, file_bytes));
  bitmap.packing = packing_ = Packing::kJpeg;
  bitmap.bounds = {0, 0, static_cast<int32_t>(frame.height), static_cast<int32_t>(frame.width)};
  rows_ = frame.height;
  bitmap.bits = frame.count < 3 ? 8 : 24;
  bitmap.has_palette = bitmap.is_indexed();
  color::fill_gray_ramp(bitmap.palette);
  return kOk;
}

bool RowReader::has_counts() const {
  return packing_ == Packing::kBytes || packing_ == Packing::kWords || packing_ == Packing::kPlanes;
}

// Whether rows unpack to what they should, by those that are at hand.
RowReader::Fit RowReader::fit(bool is_word_counted) {
  const size_t count_bytes = is_word_counted ? 2 : 1;
  std::span<const uint8_t> rest = stream_.peek(Stream::kMost);
  Fit fit = Fit::kUnknown;
  for (uint32_t y = 0; y < rows_ && rest.size() >= count_bytes; ++y) {
    const size_t count = is_word_counted ? load_be16(rest.data()) : rest[0];
    if (count > 2 * line_bytes()) return Fit::kNo;  // a packet for every byte
    rest = rest.subspan(count_bytes);
    if (rest.size() < count) break;
    if (unpacked_bytes(rest.first(count)) != line_bytes()) return Fit::kNo;
    rest = rest.subspan(count);
    fit = Fit::kYes;
  }
  return fit;
}

// Of a row that is not packed, in the file.
size_t RowReader::stored_bytes() const {
  return packing_ == Packing::kTriples ? size_t{3} * static_cast<uint32_t>(bitmap_->bounds.width())
                                       : bitmap_->row_bytes;
}

// Of a row that is.
size_t RowReader::line_bytes() const {
  const auto width = static_cast<size_t>(bitmap_->bounds.width());
  switch (packing_) {
    case Packing::kWords:
      return 2 * width;
    case Packing::kPlanes:
      return bitmap_->components * width;
    case Packing::kJpeg:
      return bitmap_->bits / 8 * width;
    default:
      return bitmap_->row_bytes;
  }
}

Status RowReader::take_packed(std::span<const uint8_t>& bytes) {
  TRY(part_.take(is_word_counted_ ? 2 : 1, bytes));
  return part_.take(is_word_counted_ ? load_be16(bytes.data()) : bytes[0], bytes);
}

Status RowReader::next_jpeg() {
  if (row_ == 0) {
    TRY(decoder_->start(bitmap_->bits == 8 ? jpeg::PixelLayout::kGray8
                                           : jpeg::PixelLayout::kRgb24));
  }
  uint32_t got = 0;
  TRY(decoder_->next_rows(line_.bytes(), line_.size(), 1, got));
  return got == 1 ? kOk : kReadError;
}

Status RowReader::take_line(const uint8_t*& line) {
  const bool is_decoded = has_counts() || packing_ == Packing::kJpeg;
  if (is_decoded && line_.size() == 0) TRY(line_.allocate(line_bytes() + kSlack));
  std::span<const uint8_t> bytes;
  line = line_.data();
  if (packing_ == Packing::kJpeg) {
    TRY(next_jpeg());
  } else if (!has_counts()) {
    TRY(part_.take(stored_bytes(), bytes));
    line = bytes.data();
  } else {
    TRY(take_packed(bytes));
    const auto row = line_.bytes().first(line_bytes());
    if (packing_ == Packing::kWords) {
      unpack_words(bytes, row);
    } else {
      const bool is_indexed = bitmap_->is_indexed() && bitmap_->has_palette;
      unpack_bytes(bytes, row,
                   is_indexed           ? formats::white_byte(bitmap_->palette, bitmap_->bits)
                   : bitmap_->bits == 1 ? 0
                                        : 0xFF);
    }
  }
  ++row_;
  return kOk;
}

void RowReader::show(const uint8_t* line, std::span<uint8_t> row) const {
  const auto first = static_cast<uint32_t>(bitmap_->source.left - bitmap_->bounds.left);
  const auto width = static_cast<uint32_t>(bitmap_->source.width());
  const auto stride = static_cast<uint32_t>(bitmap_->bounds.width());
  if (packing_ == Packing::kPlanes) {
    const uint32_t unused = bitmap_->components == 4 ? stride : 0;
    return formats::interleave_bytes(line + unused + first, stride, width, row.data());
  }
  if (bitmap_->bits == 16) {
    for (uint32_t x = 0; x < width; ++x) {
      const uint32_t pixel = load_be16(line + size_t{2} * (first + x));
      store_le16(&row[size_t{2} * x], static_cast<uint16_t>(pixel & 0x7FFF));
    }
    return;
  }
  if (bitmap_->bits == 24 && packing_ == Packing::kPlain) {
    for (uint32_t x = 0; x < width; ++x) {
      std::memcpy(&row[size_t{3} * x], line + size_t{4} * (first + x) + 1, 3);
    }
    return;
  }
  move_pixels(line, first, row.data(), 0, width, bitmap_->bits);
  core::clear_padding(row, bitmap_->source.width(), static_cast<int32_t>(bitmap_->bits));
  if (bitmap_->bits == 2) color::widen_2_to_4(row.data(), bitmap_->source.width());
}

Status RowReader::next(std::span<uint8_t> row) {
  TRY(skip(0));
  const uint8_t* line = nullptr;
  TRY(take_line(line));
  show(line, row);
  return kOk;
}

uint32_t RowReader::first() const {
  return static_cast<uint32_t>(bitmap_->source.top - bitmap_->bounds.top);
}

// Plain rows are stepped over at once, packed ones by their counts without unpacking; rows of a
// JPEG stream have to be decoded.
Status RowReader::skip(uint32_t count) {
  const uint32_t to = std::min(std::max(row_, first()) + count, rows_);
  if (packing_ == Packing::kPlain || packing_ == Packing::kTriples) {
    const uint64_t bytes = uint64_t{to - row_} * stored_bytes();
    row_ = to;
    if (part_.is_all) return stream_.skip(bytes);
    if (part_.left < bytes) return kReadError;
    part_.left -= bytes;
    return stream_.skip(bytes);
  }
  std::span<const uint8_t> bytes;
  const uint8_t* line = nullptr;
  while (row_ < to) {
    if (packing_ == Packing::kJpeg) {
      TRY(take_line(line));
    } else {
      TRY(take_packed(bytes));
      ++row_;
    }
  }
  return kOk;
}

Status RowReader::finish() {
  if (part_.is_all) return skip(rows_);
  decoder_.reset();
  line_.release();
  return stream_.skip(part_.left);
}

}  // namespace tavo::pict
