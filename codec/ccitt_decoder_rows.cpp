// Framing: where rows begin and end, and how decoding goes on behind damage.
//
// The codings differ in it alone. Runs (TIFF 6.0, section 10) have none: rows begin on bytes, and
// the width ends them. Group 3 (T.4, 4.1.2 and 4.2.2) puts an end-of-line code between rows, by
// which a reader finds its way back after damage. Group 4 (T.6) has no such code, as the link that
// carries it corrects errors: what is behind damage is lost.
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
  reader_.refill(reader_.bits);
  if (status == kBadData && !reader_.has(reader_.bits, kLongestCode)) status = kReadError;
  if (!source_->failure().ok()) status = source_->failure();
  failure_ = status;
  return status;
}

Status Decoder::stop(Outcome outcome) {
  if (outcome == Outcome::kNoMemory) return stop(kNoMemory);
  return stop(outcome == Outcome::kUncompressed ? kSubtype : kBadData);
}

// kept: a row that is too long is damage, not an error, as in Group 3.
Status Decoder::decode_row_of_runs() {
  align(coding_ == Coding::kRuns16 ? 2 : 1);
  const Outcome outcome = decode_1d();
  if (outcome == Outcome::kNoMemory || outcome == Outcome::kBadCode || ran_out()) {
    return stop(outcome);
  }
  if (outcome == Outcome::kTooLong) ++damaged_rows_;
  return kOk;
}

// T.6 ends a page with two end-of-line codes (EOFB), of which the first says all; not all
// files have both. Where there is none the caller's count of rows ends the page.
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

// Eleven zeros begin no other code (T.4, 4.1.2).
bool Decoder::is_end_of_line_next() {
  reader_.refill(reader_.bits);
  return reader_.bits.peek(kEndOfLineZeros) == 0;
}

// Takes an end-of-line code, with any number of zeros before it, when that is what comes next. Fill
// (T.4, 4.1.3) slowed a sender down to the paper; in files it puts the codes on byte boundaries
// (T4Options bit 2 of TIFF 6.0, pbmtog3 -align8 and -align16).
bool Decoder::take_end_of_line() {
  if (!is_end_of_line_next()) return false;
  while (reader_.bits.peek(kEndOfLineZeros) == 0) {
    reader_.bits.drop(kEndOfLineZeros);
    reader_.refill(reader_.bits);
    if (ran_out()) return false;
  }
  reader_.bits.drop(static_cast<uint32_t>(std::countl_zero(reader_.bits.held)) + 1);
  return !ran_out();
}

// Drops bits until an end-of-line code has been taken; false when there is none. What is not eleven
// zeros has a one among them; the next code cannot begin before it.
bool Decoder::find_end_of_line() {
  while (!take_end_of_line()) {
    if (ran_out()) return false;
    reader_.bits.drop(static_cast<uint32_t>(std::countl_zero(reader_.bits.held)) + 1);
  }
  return true;
}

// Takes the tag bit behind an end-of-line code: 1 for a one-dimensional row (T.4, 4.2.2).
void Decoder::take_tag() {
  saw_end_of_line_ = true;
  if (coding_ != Coding::kGroup3TwoD) return;
  reader_.refill(reader_.bits);
  is_1d_ = reader_.bits.take(1) != 0;
}

// Goes behind the end-of-line code before the next row of a Group 3 stream, if there is one. T.4
// has one before the first row and between rows. Files are laxer: some writers put it behind rows
// only, some leave all of them out, as one-dimensional rows can be told apart by the width.
Status Decoder::find_row() {
  is_unframed_ = false;
  const bool has_tags = coding_ == Coding::kGroup3TwoD;
  if (is_at_row_) {
    is_at_row_ = false;
    return kOk;
  }
  is_1d_ = true;
  // A two-dimensional row without a tag bit before it says nothing; only the first one, which
  // is always one-dimensional, may lack its end-of-line code.
  if (needs_sync_ || (has_tags && !is_first_row_)) {
    if (!find_end_of_line()) return stop(kBadData);
    needs_sync_ = false;
    take_tag();
  } else if (take_end_of_line()) {
    take_tag();
  } else {
    is_unframed_ = saw_end_of_line_;
  }
  return ran_out() ? stop(kBadData) : kOk;
}

// Whether the row is empty: one end-of-line code behind the other. Six of them end the page (RTC:
// T.4, 4.1.4), and so do fewer where the data end. libtiff writes none, pbmtog3
// does.
bool Decoder::is_row_empty() {
  if (!saw_end_of_line_ || !take_end_of_line()) {
    empty_rows_ = 0;
    return false;
  }
  take_tag();
  is_at_row_ = true;
  ++empty_rows_;
  reader_.refill(reader_.bits);
  is_ended_ = empty_rows_ + 1 >= kReturnToControl || ran_out() ||
              (reader_.missing() > 0 && reader_.bits.held == 0);
  return true;
}

// kept: damaged rows are counted, not reported. A row whose codes break off keeps what was read of
// it, a two-dimensional one repeats the row above, and as all that follow refer to it they are
// passed until one stands for itself (T.4, 4.2.1.1: that is what K bounds).
Status Decoder::decode_row_group3() {
  TRY(find_row());
  is_first_row_ = false;
  if (is_row_empty()) {
    make_white();
    return kOk;
  }
  if (waits_for_1d_ && !is_1d_) {
    ++damaged_rows_;
    needs_sync_ = true;
    return kOk;
  }
  waits_for_1d_ = false;
  Outcome outcome = is_1d_ ? decode_1d() : decode_2d();
  if (is_unframed_ && !(outcome == Outcome::kRow && is_end_of_line_next())) {
    // Not a row whose end-of-line code is missing, but what is too much of the one before.
    if (!find_end_of_line()) return stop(kBadData);
    take_tag();
    outcome = decode_1d();
  }
  if (!is_1d_ && outcome != Outcome::kRow) repaint();
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
