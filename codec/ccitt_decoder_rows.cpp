// Framing: where rows begin and end, and how decoding goes on behind damage.
#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "codec/ccitt_codes.h"
#include "codec/ccitt_decoder.h"

namespace tavo::ccitt {
namespace {

// End-of-line codes in a row that end a page (T.4, 4.1.4).
constexpr int kReturnToControl = 6;

}  // namespace

Status Decoder::decode_row(std::span<uint8_t> row) {
  assert(row.size() >= row_bytes_);
  Status status = failure_;
  if (status.ok() && !is_ended_) {
    switch (coding_) {
      case Coding::kRuns:
      case Coding::kRuns16:
        status = decode_row_of_runs();
        break;
      case Coding::kGroup3:
      case Coding::kGroup3TwoD:
        status = decode_row_group3();
        break;
      case Coding::kGroup4:
        status = decode_row_group4();
        break;
    }
  }
  std::memcpy(row.data(), row_.data(), row_bytes_);
  return status;
}

// Ends the stream with `status`, or with what is behind it: a failed read, the end of the data (a
// code that is not there may be the beginning of one that was cut).
Status Decoder::stop(Status status) {
  constexpr uint32_t kLongestCode = 13;
  if (status == kBadData && missing_ + kLongestCode > bits_.count) status = kReadError;
  if (!source_->failure().ok()) status = source_->failure();
  failure_ = status;
  return status;
}

Status Decoder::stop(Outcome outcome) {
  if (outcome == Outcome::kNoMemory) return stop(kNoMemory);
  return stop(outcome == Outcome::kUncompressed ? kSubtype : kBadData);
}

Status Decoder::decode_row_of_runs() {
  align(coding_ == Coding::kRuns16 ? 2 : 1);
  const Outcome outcome = decode_1d();
  if (outcome == Outcome::kNoMemory || outcome == Outcome::kBadCode || ran_out()) {
    return stop(outcome);
  }
  if (outcome == Outcome::kTooLong) ++damaged_rows_;
  return kOk;
}

Status Decoder::decode_row_group4() {
  const Outcome outcome = decode_2d();
  if (outcome == Outcome::kRow) return ran_out() ? stop(kBadData) : kOk;
  repaint();
  if (outcome == Outcome::kBadCode && take_end_of_line()) {
    is_ended_ = true;
    make_white();
    return kOk;
  }
  return stop(outcome);
}

// Takes an end-of-line code, with any number of zeros before it, when that is what comes next.
bool Decoder::take_end_of_line() {
  refill(bits_);
  if (bits_.word >> (64 - kEndOfLineZeros) != 0) return false;
  while (bits_.word >> (64 - kEndOfLineZeros) == 0) {
    bits_.drop(kEndOfLineZeros);
    refill(bits_);
    if (ran_out()) return false;
  }
  bits_.drop(static_cast<uint32_t>(std::countl_zero(bits_.word)) + 1);
  return !ran_out();
}

// Drops bits until an end-of-line code has been taken; false when there is none.
bool Decoder::find_end_of_line() {
  while (!take_end_of_line()) {
    if (ran_out()) return false;
    bits_.drop(static_cast<uint32_t>(std::countl_zero(bits_.word)) + 1);
  }
  return true;
}

// Goes to the codes of the next row of a Group 3 stream. `is_lost`: the row is there, but cannot
// be decoded.
Status Decoder::next_group3_row(bool& is_1d, bool& is_lost) {
  const bool has_tags = coding_ == Coding::kGroup3TwoD;
  is_1d = true;
  is_lost = false;
  int found = 0;
  // A two-dimensional row without a tag bit before it says nothing; only the first one, which
  // is always one-dimensional, may lack its end-of-line code.
  if (needs_sync_ || (has_tags && !is_first_row_)) {
    if (!find_end_of_line()) return stop(kBadData);
    found = 1;
    needs_sync_ = false;
  } else if (take_end_of_line()) {
    found = 1;
  }
  if (found == 0) return ran_out() ? stop(kBadData) : kOk;
  do {
    saw_end_of_line_ = true;
    if (has_tags) {
      refill(bits_);
      is_1d = bits_.word >> 63 != 0;
      bits_.drop(1);
    }
    if (found == kReturnToControl) {
      is_ended_ = true;
      return kOk;
    }
    ++found;
  } while (take_end_of_line());
  // Pages that end with fewer codes than they should.
  if (ran_out() && found > 2) is_ended_ = true;
  is_lost = waits_for_1d_ && !is_1d;
  return kOk;
}

Status Decoder::decode_row_group3() {
  bool is_1d = true;
  bool is_lost = false;
  TRY(next_group3_row(is_1d, is_lost));
  is_first_row_ = false;
  if (is_ended_) {
    make_white();
    return kOk;
  }
  if (is_lost) {
    ++damaged_rows_;
    needs_sync_ = true;
    return kOk;
  }
  waits_for_1d_ = false;
  const Outcome outcome = is_1d ? decode_1d() : decode_2d();
  if (!is_1d && outcome != Outcome::kRow) repaint();
  if (outcome == Outcome::kNoMemory) return stop(outcome);
  if (ran_out()) return stop(kBadData);
  if (outcome == Outcome::kRow) return kOk;
  if (!saw_end_of_line_ && outcome != Outcome::kTooLong) return stop(outcome);
  ++damaged_rows_;
  needs_sync_ = saw_end_of_line_;
  waits_for_1d_ = coding_ == Coding::kGroup3TwoD;
  return kOk;
}

}  // namespace tavo::ccitt
