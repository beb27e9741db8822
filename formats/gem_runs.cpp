#include "formats/gem_runs.h"

#include <algorithm>
#include <cstring>

#include "codec/byte_runs.h"

namespace tavo::gem {

namespace {

// A code of 0 begins a pattern ("pattern run") or, with another 0, a row's count ("vertical
// replication"), 0x80 begins literals ("bit string"); any other is a run of as many bytes as its
// low bits say, all ones where the top bit is set ("solid run").
constexpr uint32_t kZero = 0;
constexpr uint32_t kLiterals = 0x80;
constexpr uint32_t kRepeatMark = 0xFF;
constexpr uint32_t kSolidCount = 0x7F;
constexpr size_t kMostSolid = 127;
constexpr size_t kMostCounted = 255;

}  // namespace

Status RunDecoder::next(uint32_t& byte) {
  const int got = bytes_.get();
  byte = static_cast<uint32_t>(got);
  return got < 0 ? bytes_.shortage() : kOk;
}

Status RunDecoder::decode(std::span<uint8_t> row, uint32_t* repeats) {
  const size_t whole = row.size();
  while (!row.empty()) {
    uint32_t code = 0;
    TRY(next(code));
    if (code == kZero) {
      TRY(decode_zero(row, row.size() == whole ? repeats : nullptr));
    } else if (code == kLiterals) {
      TRY(decode_literals(row));
    } else {
      const size_t part = std::min<size_t>(code & kSolidCount, row.size());
      std::memset(row.data(), code > kSolidCount ? 0xFF : 0, part);
      row = row.subspan(part);
    }
  }
  return kOk;
}

// A row's count that does not stand at its begin means nothing.
Status RunDecoder::decode_zero(std::span<uint8_t>& row, uint32_t* repeats) {
  uint32_t count = 0;
  TRY(next(count));
  if (count == 0) {
    uint32_t mark = 0;
    TRY(next(mark));
    TRY(next(count));
    // Kept: a count of 0 is one row; with another mark than 0xFF it means nothing.
    if (repeats != nullptr && mark == kRepeatMark) *repeats = std::max(count, 1u);
    return kOk;
  }
  // As long as the header says, 8 at most (parse_header).
  std::array<uint8_t, 8> pattern;
  TRY(bytes_.read(std::span(pattern).first(pattern_bytes_)));
  const size_t part = std::min(size_t{count} * pattern_bytes_, row.size());
  if (pattern_bytes_ == 1) {
    std::memset(row.data(), pattern[0], part);
  } else {
    for (size_t i = 0, from = 0; i < part; ++i) {
      row[i] = pattern[from];
      if (++from == pattern_bytes_) from = 0;
    }
  }
  row = row.subspan(part);
  return kOk;
}

Status RunDecoder::decode_literals(std::span<uint8_t>& row) {
  uint32_t count = 0;
  TRY(next(count));
  // 0x80 0 is nothing, not 256; what goes beyond the row is passed over.
  const size_t part = std::min<size_t>(count, row.size());
  TRY(bytes_.read(row.first(part)));
  row = row.subspan(part);
  return bytes_.skip(count - part);
}

namespace {

// Gathers literals, and with them runs that take less so, until one comes that pays.
struct Codes {
  uint8_t* to;
  const uint8_t* literals_at;
  size_t literals_count = 0;

  // A pattern takes three bytes, and two more for the literals behind it.
  void run(uint8_t value, size_t count) {
    constexpr size_t kLeastPattern = 5;
    const bool is_solid = value == 0 || value == 0xFF;
    if (!is_solid && count < kLeastPattern) {
      literals_count += count;
      return;
    }
    flush();
    literals_at += count;
    while (count > 0) {
      const size_t part = std::min(count, is_solid ? kMostSolid : kMostCounted);
      if (!is_solid) {
        *to++ = kZero;
        *to++ = static_cast<uint8_t>(part);
      }
      *to++ = is_solid ? static_cast<uint8_t>((value & 0x80) | part) : value;
      count -= part;
    }
  }
  void literals(std::span<const uint8_t> bytes) { literals_count += bytes.size(); }

  void flush() {
    while (literals_count > 0) {
      const size_t part = std::min(literals_count, kMostCounted);
      *to++ = kLiterals;
      *to++ = static_cast<uint8_t>(part);
      std::memcpy(to, literals_at, part);
      to += part;
      literals_at += part;
      literals_count -= part;
    }
  }
};

}  // namespace

size_t encode(std::span<const uint8_t> row, uint8_t* out) {
  Codes codes{out, row.data()};
  cut_runs<3>(row, codes);
  codes.flush();
  return static_cast<size_t>(codes.to - out);
}

}  // namespace tavo::gem
