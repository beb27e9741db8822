// The run-length codings of WordPerfect Graphics, version 1 and 2, one row after the other.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::wpg {

// Plain rows are version 2's alone; either version has one coding.
enum class Coding : uint8_t { kNone, kRuns1, kRuns2 };

// Runs and literals may go on in the next row. A code that repeats the row above ends the row in
// which it stands.
// start() once, then decode() for each row from the top. `bytes` end where the record does.
class RowDecoder {
 public:
  RowDecoder(ByteSource& bytes, Coding coding) : bytes_(bytes), coding_(coding) {}

  // `white`: a byte of white pixels, for what is left of a row and what is above the first one.
  Status start(size_t row_bytes, uint8_t white);

  // The next row, `row_bytes` long. kReadError where the data end early, kBadData for units that
  // there are not.
  Status decode(std::span<uint8_t> row);

 private:
  Status start_packet1();
  Status start_packet2();
  Status next(uint32_t& byte);
  Status put(std::span<uint8_t> part);

  ByteSource& bytes_;
  Coding coding_;
  uint8_t white_ = 0;
  Buffer above_;
  uint32_t repeats_ = 0;   // of the row above that are still to come
  bool ends_row_ = false;  // a code for them came
  bool is_xor_ = false;    // rows that begin now are differences to those above
  size_t left_ = 0;        // bytes of the packet
  bool is_run_ = false;    // units, not literals
  std::array<uint8_t, 8> unit_ = {};
  uint32_t unit_bytes_ = 1;
  uint32_t unit_at_ = 0;
};

// Literals have a head for each 127 of them; a run of three and more never takes more than it is,
// and a shorter one stands at the end of a row only.
constexpr size_t most_coded(size_t row_bytes) { return row_bytes + row_bytes / 64 + 8; }

// Codes a row for version 1 to `out`, which has room for most_coded() bytes; the bytes written.
size_t encode_row(std::span<const uint8_t> row, uint8_t* out);

}  // namespace tavo::wpg
