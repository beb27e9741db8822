// One scan: where it restarts, what of it is lost, and why.
// Facts: ISO/IEC 10918-1, E.1.4 and E.2.4.
#pragma once

#include <array>
#include <cstdint>

#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/arithmetic.h"
#include "codec/jpeg/bits.h"
#include "codec/jpeg/markers.h"

namespace tavo::jpeg {

// Hands out the MCUs of a scan in turn. Behind a code that does not exist decoding goes on with the
// next block: Huffman codes fall into step again, so that what follows is displaced at worst. Data
// that end, and damage of arithmetic codes, take with them what follows up to the next restart
// marker, or to the end of the scan when it has none.
//
//   if (scan.enter()) { decode from scan.bits.at; scan.leave(good) } else { the MCU is lost }
class ScanReader {
 public:
  // `mcu_bytes` bounds what an MCU may use.
  Status start(size_t mcu_bytes) { return bits.start(mcu_bytes); }
  void begin(ByteSource& source, uint32_t restart_interval, bool is_arithmetic = false);
  // The first restart marker to come says where the numbers begin: for strips of old TIFF files,
  // which are cut out of one stream.
  void take_any_number() { takes_any_number_ = true; }

  // False when the next MCU is lost.
  bool enter() {
    if (interval_ != 0 && left_ == 0) restart();
    --left_;
    if (lost_ != 0 || is_dead_) return pass_lost();
    bits.ensure();
    return true;
  }
  // True when there is something to show of the MCU just decoded.
  bool leave(bool is_good) { return is_good && !is_exhausted() ? true : leave_damaged(); }

  // How many MCUs after the present one come before the next restart, and passing them unread.
  uint32_t until_restart() const { return interval_ == 0 ? UINT32_MAX : left_; }
  void pass(uint32_t count) { left_ -= count; }

  // Nothing more comes.
  bool is_dead() const { return is_dead_; }
  // kOk, kReadError when the data end too early, kBadData when they are damaged otherwise.
  Status outcome() const { return outcome_; }

  // Reset by restarts.
  std::array<int, kMaxComponents> dc = {};
  uint32_t end_of_band_run = 0;

  EntropyReader bits;
  ArithmeticDecoder arithmetic;  // in the place of `bits`, in scans that are coded so

 private:
  // An arithmetic encoder leaves out the zeros at the end of a segment (D.1.8). This many are more
  // than the even end of a picture makes, and what follows is lost.
  static constexpr uint32_t kMostLeftOut = 256;

  bool is_exhausted() const { return bits.is_exhausted() || bits.bytes_beyond() > kMostLeftOut; }
  void begin_segment();
  void restart();
  bool find_restart();
  bool pass_lost();
  bool leave_damaged();
  void note(Status status) {
    if (outcome_.ok()) outcome_ = status;
  }

  ByteSource* source_ = nullptr;
  bool is_arithmetic_ = false;
  uint32_t interval_ = 0;
  uint32_t left_ = 0;      // MCUs to the next restart
  uint32_t expected_ = 0;  // number of the next restart marker
  bool takes_any_number_ = false;
  uint64_t lost_ = 0;      // MCUs to pass
  bool is_ahead_ = false;  // the data at hand belong behind the lost MCUs
  bool is_dead_ = false;
  Status outcome_ = kOk;
};

}  // namespace tavo::jpeg
