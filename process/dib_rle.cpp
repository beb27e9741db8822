#include "process/dib_rle.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace tavo::dib {

namespace {

// Second byte of an escape, whose first byte is 0; 3 and more count the pixels of an absolute run.
constexpr uint32_t kEndOfLine = 0;
constexpr uint32_t kEndOfBitmap = 1;
constexpr uint32_t kDelta = 2;

// Bytes that an escape with its absolute run, and the copy of that, may read.
constexpr size_t kWindow = 2 + 255 + 1 + kOverrun;

// Sets 4-bit pixels `first` to `first + count - 1` to the nibbles of `pair` in turn.
void put_nibbles(uint8_t* row, uint32_t first, uint32_t count, uint8_t pair) {
  uint32_t i = 0;
  if (count != 0 && first % 2 != 0) {
    row[first / 2] = static_cast<uint8_t>((row[first / 2] & 0xF0u) | pair >> 4);
    pair = static_cast<uint8_t>(pair << 4 | pair >> 4);
    i = 1;
  }
  const uint32_t whole = (count - i) / 2;
  std::memset(row + (first + i) / 2, pair, whole);
  i += whole * 2;
  if (i < count) row[(first + i) / 2] = pair & 0xF0u;
}

void put_nibble(uint8_t* row, uint32_t x, uint32_t value) {
  uint8_t& byte = row[x / 2];
  byte = static_cast<uint8_t>(x % 2 == 0 ? value << 4 : (byte & 0xF0u) | value);
}

}  // namespace

// Of two pixels in a byte, those of a last half byte count.
size_t RleDecoder::bytes_before(uint32_t x) const {
  if (coding_ == Coding::kRle4) return (size_t{x} + 1) / 2;
  return coding_ == Coding::kRle8 ? x : size_t{3} * x;
}

// What is skipped is colour 0: GDI leaves there what the destination had. Behind pixel `x_` a last
// half byte is zero.
void RleDecoder::skip_to(uint8_t* row, uint32_t x) {
  if (x > x_) std::fill(row + bytes_before(x_), row + bytes_before(x), uint8_t{0});
  x_ = std::max(x_, x);
}

// RLE8's runs of both modes that fit into the row, as long as kWindow bytes are at hand. In bounds
// because of the slack behind the row.
void RleDecoder::decode_bytes(uint8_t* row) {
  // What there is before a failed read counts: decode_pairs() meets the failure behind it.
  if (bytes_.window().size() < kWindow) (void)bytes_.refill().ok();
  if (bytes_.window().size() < kWindow) return;
  const uint8_t* const window = bytes_.window().data();
  const uint8_t* const last = window + bytes_.window().size() - kWindow;
  const uint8_t* in = window;
  uint8_t* out = row + x_;
  uint8_t* const end = row + width_;
  while (in <= last) {
    const bool is_literal = in[0] == 0;
    const size_t count = is_literal ? in[1] : in[0];
    if (count > static_cast<size_t>(end - out) || (is_literal && count <= kDelta)) break;
    if (is_literal) {
      copy_over(out, in + 2, count);
      in += count + count % 2;
    } else {
      fill_over(out, in[1], count);
    }
    in += 2;
    out += count;
  }
  x_ = static_cast<uint32_t>(out - row);
  bytes_.consume(static_cast<size_t>(in - window));
}

// Encoded mode: RLE4 has two pixels in the value, which alternate; RLE24 has a pixel of three
// bytes.
void RleDecoder::put_run(uint8_t* row, uint32_t count, const uint8_t* value) {
  count = std::min(count, width_ - x_);
  if (coding_ == Coding::kRle8) {
    std::memset(row + x_, *value, count);
  } else if (coding_ == Coding::kRle4) {
    put_nibbles(row, x_, count, *value);
  } else {
    for (uint32_t i = 0; i < count; ++i) std::memcpy(row + size_t{3} * (x_ + i), value, 3);
  }
  x_ += count;
}

// Absolute mode. Runs are aligned to 16 bits.
Status RleDecoder::put_literal(uint8_t* row, uint32_t count) {
  std::array<uint8_t, 3 * 255 + 1> data;
  const uint32_t size = coding_ == Coding::kRle8   ? count
                        : coding_ == Coding::kRle4 ? (count + 1) / 2
                                                   : count * 3;
  // A missing last pad byte does no harm.
  size_t got = 0;
  TRY(bytes_.read_some({data.data(), size + size % 2}, got));
  if (got < size) return kReadError;
  count = std::min(count, width_ - x_);
  if (coding_ == Coding::kRle4) {
    for (uint32_t i = 0; i < count; ++i) {
      put_nibble(row, x_ + i, i % 2 == 0 ? data[i / 2] >> 4 : data[i / 2] & 0x0Fu);
    }
  } else {
    const size_t pixel_bytes = coding_ == Coding::kRle8 ? 1 : 3;
    std::memcpy(row + x_ * pixel_bytes, data.data(), count * pixel_bytes);
  }
  x_ += count;
  return kOk;
}

// Two bytes follow the escape: how many pixels to the right and rows on. The rows between have
// nothing; the one that is reached goes on at the new column.
Status RleDecoder::move_by_delta(uint8_t* row, bool& row_done) {
  const int dx = bytes_.get();
  const int dy = bytes_.get();
  if (dy < 0) return bytes_.shortage();
  const uint32_t x = std::min(x_ + static_cast<uint32_t>(dx), width_);
  if (dy > 0) {
    first_x_ = x;
    blank_rows_ = static_cast<uint32_t>(dy) - 1;
    row_done = true;
  } else {
    skip_to(row, x);
  }
  return kOk;
}

// The end of bitmap may come early: what follows is blank.
Status RleDecoder::escape(uint32_t code, uint8_t* row, bool& row_done) {
  switch (code) {
    case kEndOfLine:
      row_done = true;
      return kOk;
    case kEndOfBitmap:
      at_end_ = true;
      row_done = true;
      return kOk;
    case kDelta:
      return move_by_delta(row, row_done);
    default:
      return put_literal(row, code);
  }
}

// Pairs until the row ends by a mark. A full row waits for its mark, too: most writers give one,
// and some pictures carry on without it, which shows by pixels beyond the width.
Status RleDecoder::decode_pairs(uint8_t* row) {
  bool row_done = false;
  while (!row_done) {
    if (coding_ == Coding::kRle8) decode_bytes(row);
    const int count = bytes_.get();
    // The last row may lack its mark; further ones would begin here.
    if (count < 0) return x_ == width_ ? kOk : bytes_.shortage();
    if (count > 0) {
      const int first = bytes_.get();
      if (first < 0) return bytes_.shortage();
      std::array<uint8_t, 3> value = {static_cast<uint8_t>(first)};
      if (coding_ == Coding::kRle24) TRY(bytes_.read({&value[1], 2}));
      put_run(row, static_cast<uint32_t>(count), value.data());
      continue;
    }
    const int code = bytes_.get();
    if (code < 0) return bytes_.shortage();
    TRY(escape(static_cast<uint32_t>(code), row, row_done));
  }
  return kOk;
}

Status RleDecoder::decode_row(std::span<uint8_t> row) {
  x_ = 0;
  Status status = kOk;
  if (blank_rows_ > 0) {
    --blank_rows_;
  } else if (!at_end_) {
    skip_to(row.data(), std::exchange(first_x_, 0));
    status = decode_pairs(row.data());
  }
  std::fill(row.begin() + static_cast<ptrdiff_t>(bytes_before(x_)), row.end(), uint8_t{0});
  return status;
}

}  // namespace tavo::dib
