#include "codec/jpeg/scan.h"

namespace tavo::jpeg {

// The interval is the one in force at the scan's header (B.2.4.4).
void ScanReader::begin(ByteSource& source, uint32_t restart_interval, bool is_arithmetic) {
  source_ = &source;
  is_arithmetic_ = is_arithmetic;
  interval_ = left_ = restart_interval;
  expected_ = 0;
  takes_any_number_ = false;
  lost_ = 0;
  is_dead_ = is_ahead_ = false;
  outcome_ = kOk;
  begin_segment();
}

// Predictions are 0 at the start of a scan and behind each restart (F.1.1.5.1); so is the run of
// ends of bands (G.1.2.2).
void ScanReader::begin_segment() {
  dc.fill(0);
  end_of_band_run = 0;
  bits.begin(*source_);
  if (is_arithmetic_) arithmetic.begin(bits);
}

// Counts down to where is_ahead_ data belong.
bool ScanReader::pass_lost() {
  if (lost_ != 0) --lost_;
  return false;
}

// What follows is lost up to the next restart, where predictions begin anew, if nothing can be
// decoded on. kept: data that were cut read as zeros up to the end of an MCU, which is shown: only
// then the cut is told.
bool ScanReader::leave_damaged() {
  if (!is_exhausted() && !is_arithmetic_) {
    note(kBadData);
    return true;
  }
  end_of_band_run = 0;
  const bool is_cut = is_exhausted() && bits.skip_to_marker() == kEndOfData;
  note(is_cut ? source_->shortage() : kBadData);
  if (interval_ == 0) {
    is_dead_ = true;
  } else {
    lost_ = left_;
  }
  return !is_arithmetic_;
}

// E.2.4: what is left of the interval is skipped, RSTm is taken, predictions start again.
void ScanReader::restart() {
  left_ = interval_;
  if (is_dead_ || lost_ >= interval_) return;  // whole intervals are lost
  if (is_ahead_) {
    is_ahead_ = false;  // the marker was found before those that are missing
    return;
  }
  if (!find_restart()) {
    is_dead_ = true;
    return;
  }
  begin_segment();
}

// Finds the marker of the interval that begins now: RST0 to RST7 in turn (B.2.1). One that is one
// or two numbers ahead means that as many intervals are missing; one or two behind is a leftover,
// and what comes with it is dropped. Any other is taken as it is: the numbers cannot tell more, as
// they come round after eight. A reserved code (02 to BF of table B.1) is a byte gone wrong, and
// passed; any other marker ends the scan. False when none comes.
bool ScanReader::find_restart() {
  for (;;) {
    const int code = bits.skip_to_marker();
    const bool is_restart = code >= marker::kRst0 && code <= marker::kRst7;
    const bool is_reserved = code >= 0 && code < marker::kSof0;
    if (!is_restart) note(code == kEndOfData ? source_->shortage() : kBadData);
    if (!is_restart && !is_reserved) return false;
    source_->consume(2);
    if (is_reserved) {
      bits.begin(*source_);
      continue;
    }
    if (takes_any_number_) expected_ = static_cast<uint32_t>(code - marker::kRst0);
    takes_any_number_ = false;
    const auto ahead = (static_cast<uint32_t>(code - marker::kRst0) - expected_) & 7;
    if (ahead != 0) note(kBadData);
    if (ahead >= 6) {
      bits.begin(*source_);
      continue;
    }
    if (ahead <= 2) {
      lost_ = uint64_t{ahead} * interval_;
      is_ahead_ = ahead != 0;
      expected_ += ahead;
    }
    expected_ = (expected_ + 1) & 7;
    return true;
  }
}

}  // namespace tavo::jpeg
