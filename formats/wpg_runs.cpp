#include "formats/wpg_runs.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "codec/byte_runs.h"

namespace tavo::wpg {

namespace {

// Version 1: 0 n repeats the row above n times, 1 to 0x7F begin as many literals, 0x80 n are n
// bytes of ones, above that the low bits count a byte that follows.
constexpr uint32_t kRepeat1 = 0x00;
constexpr uint32_t kOnes1 = 0x80;
// Counts are a byte behind code 0x80, and seven bits of any other.
constexpr size_t kMostOnes = 255;
constexpr size_t kMostInPacket = 127;

// Version 2 counts units of 1 to 8 bytes, less 1: up to 0x7C literals, from 0x80 a unit that
// follows; the others are these, each with a number behind it but kXor.
constexpr uint32_t kUnitSize = 0x7D, kXor = 0x7E, kZeros = 0x7F;
constexpr uint32_t kAgain = 0xFD, kRepeat2 = 0xFE, kOnes2 = 0xFF;

}  // namespace

Status RowDecoder::start(size_t row_bytes, uint8_t white) {
  white_ = white;
  TRY(above_.allocate(row_bytes));
  // Version 2 has differences, which in the first row are to zeros.
  if (coding_ == Coding::kRuns1) std::ranges::fill(above_.bytes(), white);
  return kOk;
}

Status RowDecoder::next(uint32_t& byte) {
  const int got = bytes_.get();
  byte = static_cast<uint32_t>(got);
  return got < 0 ? bytes_.shortage() : kOk;
}

Status RowDecoder::start_packet1() {
  uint32_t code = 0, count = 0;
  TRY(next(code));
  is_run_ = code >= kOnes1;
  unit_at_ = 0;
  if (code == kRepeat1 || code == kOnes1) TRY(next(count));
  if (code == kRepeat1) {
    ends_row_ = true;
    repeats_ = count;
    return kOk;
  }
  left_ = code == kOnes1 ? count : code & ~kOnes1;
  if (code == kOnes1) unit_[0] = 0xFF;
  return code > kOnes1 ? bytes_.read(std::span(unit_).first(1)) : kOk;
}

Status RowDecoder::start_packet2() {
  uint32_t code = 0, number = 0;
  TRY(next(code));
  if (code == kXor) {
    is_xor_ = !is_xor_;
    return kOk;
  }
  const bool has_number = code == kUnitSize || code == kZeros || code >= kAgain;
  if (has_number) TRY(next(number));
  if (code == kUnitSize) {
    unit_bytes_ = number;
    return number >= 1 && number <= unit_.size() ? kOk : kBadData;
  }
  // Kept: so many rows as the number says; ImageMagick takes one more.
  if (code == kRepeat2) {
    ends_row_ = true;
    repeats_ = number;
    return kOk;
  }
  is_run_ = code >= kZeros;
  unit_at_ = 0;
  left_ = ((has_number ? number : code & 0x7F) + size_t{1}) * unit_bytes_;
  if (code == kZeros) unit_.fill(0);
  if (code == kOnes2) unit_.fill(0xFF);
  // 0xFD repeats the unit of the last run, zeros and ones included.
  const bool brings_unit = is_run_ && !has_number;
  return brings_unit ? bytes_.read(std::span(unit_).first(unit_bytes_)) : kOk;
}

Status RowDecoder::put(std::span<uint8_t> part) {
  if (!is_run_) return bytes_.read(part);
  if (unit_bytes_ == 1) {
    std::memset(part.data(), unit_[0], part.size());
    return kOk;
  }
  for (uint8_t& byte : part) {
    byte = unit_[unit_at_];
    if (++unit_at_ == unit_bytes_) unit_at_ = 0;
  }
  return kOk;
}

Status RowDecoder::decode(std::span<uint8_t> row) {
  if (coding_ == Coding::kNone) return bytes_.read(row);
  size_t at = 0;
  bool is_difference = false;
  while (at < row.size() && repeats_ == 0) {
    if (left_ == 0) TRY(coding_ == Coding::kRuns1 ? start_packet1() : start_packet2());
    if (std::exchange(ends_row_, false)) {
      // Here the row above is repeated from this row on, if the number is not 0.
      if (at == 0) continue;
      std::ranges::fill(row.subspan(at), white_);
      at = row.size();
      break;
    }
    // Kept: 7E within a row counts from the next one on.
    if (at == 0) is_difference = is_xor_;
    const size_t part = std::min(left_, row.size() - at);
    TRY(put(row.subspan(at, part)));
    left_ -= part;
    at += part;
  }
  if (at == 0) {
    --repeats_;
    std::memcpy(row.data(), above_.data(), row.size());
    return kOk;
  }
  if (is_difference) {
    for (size_t i = 0; i < row.size(); ++i) row[i] ^= above_.data()[i];
  }
  std::memcpy(above_.data(), row.data(), row.size());
  return kOk;
}

namespace {

// Ones have a code of their own, whose count has twice the range.
struct Packets {
  uint8_t* to;

  void run(uint8_t value, size_t count) {
    const bool is_ones = value == 0xFF;
    for (; count > 0; to += 2) {
      const size_t part = std::min(count, is_ones ? kMostOnes : kMostInPacket);
      to[0] = static_cast<uint8_t>(is_ones ? kOnes1 : kOnes1 | part);
      to[1] = static_cast<uint8_t>(is_ones ? part : value);
      count -= part;
    }
  }
  void literals(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
      const size_t part = std::min(bytes.size(), kMostInPacket);
      *to++ = static_cast<uint8_t>(part);
      std::memcpy(to, bytes.data(), part);
      to += part;
      bytes = bytes.subspan(part);
    }
  }
};

}  // namespace

size_t encode_row(std::span<const uint8_t> row, uint8_t* out) {
  Packets packets{out};
  cut_runs<3>(row, packets);
  return static_cast<size_t>(packets.to - out);
}

}  // namespace tavo::wpg
