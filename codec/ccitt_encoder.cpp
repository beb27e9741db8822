#include "codec/ccitt_encoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>
#include <utility>

#include "base/endian.h"

namespace tavo::ccitt {
namespace {

constexpr size_t kOutBytes = 32768;  // halved while memory is refused
constexpr size_t kMinOutBytes = 1024;
// More than one step between two make_room() writes: put_ones() 4 bytes, a pair of runs 3 + 2 * 25
// bits, and the 8 bytes that each put() touches.
constexpr size_t kStepBytes = 64;
constexpr size_t kFirstEntries = 65536;
constexpr size_t kWordEntries = 64;

// Runs that need one make-up code at most, which stands in front of the terminating code:
// both together above 5 bits of their length (at most 25).
constexpr uint32_t kLongRun = kMaxMakeUp + 64;
using RunCodes = std::array<uint32_t, kLongRun>;
// Runs below this are none of the long ones. A power of two, so that one comparison serves two.
constexpr uint32_t kShortRuns = 2048;
static_assert(kShortRuns <= kLongRun);

// T.4, 4.1.1: a make-up code for the multiple of 64, a terminating code for the rest, if need be of
// 0.
constexpr RunCodes run_codes(bool is_black) {
  RunCodes codes{};
  for (uint32_t run = 0; run < kLongRun; ++run) {
    const Code tail = terminating_code(run % 64, is_black);
    uint32_t bits = tail.bits;
    uint32_t length = tail.length;
    if (run >= 64) {
      const Code head = make_up_code(run & ~63u, is_black);
      bits |= static_cast<uint32_t>(head.bits) << length;
      length += head.length;
    }
    codes[run] = bits << 5 | length;
  }
  return codes;
}

constexpr RunCodes kRunCodes[2] = {run_codes(false), run_codes(true)};

}  // namespace

// `code` has no bits above `length`, which is not 0, and which with the bits that wait (under 8)
// fits the register: 56 at most. Writes the whole register, of which the next call writes over what
// is no byte yet.
inline void Encoder::Bits::put(uint64_t code, uint32_t length) {
  held = held << length | code;
  count += length;
  store_be64(next, held << (64 - count));
  next += count >> 3;
  count &= 7;
}

// Fill (T.4, 4.1.3): zeros until `used_bits` and what is held make whole bytes.
void Encoder::Bits::pad(uint32_t used_bits) {
  const uint32_t zeros = (0u - count - used_bits) & 7;
  if (zeros != 0) put(0, zeros);
}

Status Encoder::start(const EncoderOptions& options, uint32_t width) {
  if (width == 0 || width > INT32_MAX) return kBadSize;
  options_ = options;
  options_.rows_per_1d = std::max(options.rows_per_1d, 1u);
  width_ = width;
  row_bytes_ = (width + 7) / 8;
  const size_t entries = std::min<size_t>(width, kFirstEntries) + 2 * kWordEntries;
  for (ChangeList& list : lists_) TRY(list.allocate(entries));
  TRY(row_above_.allocate(row_bytes_));
  size_t out_bytes = kOutBytes;
  while (!out_.allocate(out_bytes).ok()) {
    out_bytes /= 2;
    if (out_bytes < kMinOutBytes) return kNoMemory;
  }
  failure_ = kOk;
  begin();
  return kOk;
}

void Encoder::begin() {
  bits_ = {0, 0, out_.data()};
  flushed_ = 0;
  rows_to_1d_ = 0;
  above_count_ = 0;
  above_->close(0, width_);
  std::memset(row_above_.data(), 0, row_bytes_);
}

// ---- Output ----

// Gives the whole bytes to the sink; only here, so that a stream is mirrored (FillOrder 2) in one
// place.
Status Encoder::flush() {
  const size_t bytes = static_cast<size_t>(bits_.next - out_.data());
  if (options_.is_reversed) mirror_bits(out_.bytes().first(bytes));
  flushed_ += bytes;
  bits_.next = out_.data();
  if (bytes != 0 && failure_.ok()) failure_ = write_(context_, {out_.data(), bytes});
  return failure_;
}

// At least kStepBytes may be put after this.
inline Status Encoder::make_room() {
  if (out_.data() + out_.size() - bits_.next < static_cast<ptrdiff_t>(kStepBytes)) return flush();
  return kOk;
}

// Puts the part of `run` that is beyond the codes of kRunCodes: 2560 as often as it fits
// (T.4, 4.1.1).
Status Encoder::put_long_run(uint32_t& run) {
  constexpr Code kLongest = make_up_code(kMaxMakeUp, false);
  for (; run >= kLongRun; run -= kMaxMakeUp) {
    TRY(make_room());
    bits_.put(kLongest.bits, kLongest.length);
  }
  return make_room();
}

// V0 is a single one.
Status Encoder::put_ones(uint64_t count) {
  while (count > 0) {
    TRY(make_room());
    const uint32_t part = static_cast<uint32_t>(std::min<uint64_t>(count, 32));
    bits_.put((uint64_t{1} << part) - 1, part);
    count -= part;
  }
  return kOk;
}

// T.4, 4.1.2, and 4.2.2 for the tag bit. With fill the code ends on a byte, and the tag begins the
// next one (T4Options bit 2 of TIFF 6.0, as libtiff takes it).
void Encoder::put_end_of_line(bool is_1d) {
  if (options_.aligns_end_of_line) bits_.pad(kEndOfLine.length);
  bits_.put(kEndOfLine.bits, kEndOfLine.length);
  if (options_.coding == Coding::kGroup3TwoD) bits_.put(is_1d, 1);
}

// Pads with zeros to a multiple of 1 or 2 bytes from the start of the stream (TIFF 6.0, section
// 10).
void Encoder::align(uint32_t bytes) {
  bits_.pad(0);
  const uint64_t position = flushed_ + static_cast<uint64_t>(bits_.next - out_.data());
  if (bytes == 2 && position % 2 != 0) bits_.put(0, 8);
}

// ---- Rows ----

// Lists the colour changes of `row` in current_: a pixel differs from the one before it where the
// row and the row shifted by one pixel differ. The pixel before the first one is white (T.4,
// 4.2.1.3.4). Changes among the unused bits of the last byte are dropped.
Status Encoder::find_changes(const uint8_t* row) {
  uint32_t* changes = current_->data();
  size_t limit = current_->capacity();
  size_t count = 0;
  uint64_t before = 0;  // the pixel before the word, in the lowest bit
  for (size_t at = 0; at < row_bytes_; at += 8) {
    uint64_t word = 0;
    if (row_bytes_ - at >= 8) [[likely]] {
      word = load_be64(row + at);
    } else {
      std::memcpy(&word, row + at, row_bytes_ - at);
      word = __builtin_bswap64(word);
    }
    uint64_t edges = word ^ (word >> 1 | before << 63);
    before = word & 1;
    if (edges == 0) continue;
    if (count + kWordEntries > limit) [[unlikely]] {
      TRY(current_->grow());
      changes = current_->data();
      limit = current_->capacity();
    }
    const uint32_t first = static_cast<uint32_t>(at * 8);
    do {
      const uint32_t bit = static_cast<uint32_t>(std::countl_zero(edges));
      changes[count++] = first + bit;
      edges ^= uint64_t{1} << 63 >> bit;
    } while (edges != 0);
  }
  while (count > 0 && changes[count - 1] >= width_) --count;
  current_->close(count, width_);
  count_ = count;
  return kOk;
}

// A run of T.4, 4.1.1.
inline Status Encoder::put_run(uint32_t run, bool is_black) {
  if (run >= kShortRuns) TRY(put_long_run(run));
  const uint32_t code = kRunCodes[is_black][run];
  bits_.put(code >> 5, code & 31);
  return kOk;
}

// `mode` and two runs of different colours, in one piece but for long runs.
inline Status Encoder::put_pair(Code mode, uint32_t first, uint32_t second, bool is_black) {
  if ((first | second) >= kShortRuns) [[unlikely]] {
    if (mode.length != 0) bits_.put(mode.bits, mode.length);
    TRY(put_run(first, is_black));
    return put_run(second, !is_black);
  }
  const uint32_t one = kRunCodes[is_black][first];
  const uint32_t two = kRunCodes[!is_black][second];
  const uint64_t bits = (uint64_t{mode.bits} << (one & 31) | one >> 5) << (two & 31) | two >> 5;
  bits_.put(bits, mode.length + (one & 31) + (two & 31));
  return kOk;
}

// T.4, 4.1.1: white and black runs in turn, a white one first, if need be of no pixels. The last
// run may have either colour.
Status Encoder::encode_1d() {
  const uint32_t* changes = current_->data();
  uint32_t a0 = 0;
  for (size_t i = 0; a0 < width_; i += 2) {
    const uint32_t a1 = changes[i];
    const uint32_t a2 = changes[i + 1];
    TRY(make_room());
    if (a1 >= width_) return put_run(a1 - a0, false);
    TRY(put_pair({0, 0}, a1 - a0, a2 - a1, false));
    a0 = a2;
  }
  return kOk;
}

// The procedure of T.4, 4.2.1.3.3 (T.6, 2.2), which leaves no choice: pass when b2 lies left of a1,
// else vertical when a1 is at most three pixels beside b1, else horizontal.
//
// In bounds: both lists end with kBack entries of the width. i stays below count_ + 2, as a row
// ends with the mode that reaches the width; b goes on from entries below the width alone, two at
// a time, or by one with i.
Status Encoder::encode_2d() {
  const uint32_t* changes = current_->data();
  const uint32_t* above = above_->data();
  uint32_t a0 = 0;
  size_t i = 0;  // of a1
  size_t b = 0;  // of b1; of the same parity as i
  for (;;) {
    TRY(make_room());
    size_t same = 0;
    while (changes[i + same] == above[b + same] && i + same < count_) ++same;
    if (same != 0) {
      TRY(put_ones(same));
      i += same;
      b += same;
      a0 = changes[i - 1];
    }
    const uint32_t a1 = changes[i];
    if (above[b + 1] < a1) {
      bits_.put(kPass.bits, kPass.length);
      a0 = above[b + 1];
      b += 2;
      continue;
    }
    const uint32_t apart = a1 - above[b] + 3;
    if (apart <= 6) {
      bits_.put(kVertical[apart].bits, kVertical[apart].length);
      if (i >= count_) return kOk;
      ++i;
      a0 = a1;
      above[static_cast<ptrdiff_t>(b) - 1] > a1 ? --b : ++b;
    } else {
      TRY(put_pair(kHorizontal, a1 - a0, changes[i + 1] - a1, (i & 1) != 0));
      a0 = changes[i + 1];
      i += 2;
      if (a0 >= width_) return kOk;
    }
    while (above[b] <= a0) b += 2;
  }
}

// A row like the one above is V0 for each change and one for the end: there is nothing to look for,
// and blank and ruled paper has many of them.
Status Encoder::encode_row(std::span<const uint8_t> row) {
  assert(row.size() >= row_bytes_);
  TRY(failure_);
  TRY(make_room());
  const bool is_group3 = options_.coding == Coding::kGroup3TwoD;
  const bool is_2d = options_.coding == Coding::kGroup4 || (is_group3 && rows_to_1d_ > 0);
  if (is_group3 || options_.coding == Coding::kGroup3) put_end_of_line(!is_2d);
  rows_to_1d_ = is_2d ? rows_to_1d_ - 1 : options_.rows_per_1d - 1;

  if (is_2d && std::memcmp(row.data(), row_above_.data(), row_bytes_) == 0) {
    return put_ones(above_count_ + 1);
  }
  TRY(find_changes(row.data()));
  TRY(is_2d ? encode_2d() : encode_1d());
  if (options_.coding == Coding::kRuns) align(1);
  if (options_.coding == Coding::kRuns16) align(2);
  if (is_group3 || is_2d) {
    std::memcpy(row_above_.data(), row.data(), row_bytes_);
    std::swap(above_, current_);
    above_count_ = count_;
  }
  return kOk;
}

// EOFB of T.6: two end-of-line codes, then zeros up to a byte. Group 3 has six of them by
// T.4, 4.1.4; kept: they are left out, as libtiff does; the count of rows ends a page.
Status Encoder::finish() {
  TRY(failure_);
  TRY(make_room());
  if (options_.coding == Coding::kGroup4) {
    bits_.put(kEndOfLine.bits, kEndOfLine.length);
    bits_.put(kEndOfLine.bits, kEndOfLine.length);
  }
  bits_.pad(0);
  TRY(flush());
  begin();
  return kOk;
}

}  // namespace tavo::ccitt
