// CCITT bilevel decoder: ITU-T T.4 one- and two-dimensional (Group 3), T.6 (Group 4), and the
// byte-aligned runs of TIFF 6.0, section 10. Bytes in, packed rows out.
#pragma once

#include <cstdint>
#include <span>

#include "base/bit_reader.h"
#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::ccitt {

enum class Coding : uint8_t {
  kRuns,        // one-dimensional, rows begin on byte boundaries, no end-of-line codes
  kRuns16,      // the same on 16-bit boundaries
  kGroup3,      // T.4 one-dimensional
  kGroup3TwoD,  // T.4 two-dimensional: a tag bit behind each end-of-line code
  kGroup4,      // T.6
};

// Codes begin with their most significant bit; reversed streams have mirrored bytes.
using Reader = BitReader<BitOrder::kHighFirst, true>;

// A row as the positions of its colour changes: entry 0 is the first black pixel, entry 1 the
// white one after it, and so on, strictly ascending and below the width; behind them the width,
// as often as a decoder can step past it. Entry -1 is readable and 0.
class ChangeList {
 public:
  static constexpr size_t kFront = 4;
  static constexpr size_t kBack = 32;

  Status allocate(uint64_t entries) { return items_.allocate(kFront + entries + kBack); }
  // Doubles the room, keeping the entries.
  Status grow();
  uint32_t* data() { return items_.data() + kFront; }
  const uint32_t* data() const { return items_.data() + kFront; }
  // Entries that may be written before kBack further ones.
  size_t capacity() const { return items_.size() - kFront - kBack; }
  // Ends the list after `count` entries.
  void close(size_t count, uint32_t width);

 private:
  Array<uint32_t> items_;
};

// Decodes one stream after the other (a TIFF strip each), all of one width.
class Decoder {
 public:
  // Takes work memory in proportion to the width (1 to INT32_MAX). `is_reversed`: the first bit
  // of a byte is its lowest. kNoMemory, kBadSize.
  Status start(Coding coding, uint32_t width, bool is_reversed);

  // Begins a stream: the row above is white. Up to eight bytes more than the stream has may be
  // taken from `source`, which must outlive the calls of decode_row.
  void begin(ByteSource& source);

  // Decodes the next row into `row`, (width + 7) / 8 bytes, 0 = white, leftmost pixel on top,
  // unused bits 0. After an end-of-page code rows are white.
  // An end-of-line code right behind another one makes an empty, white row.
  // Group 3 goes on behind damage at the next end-of-line code: the row keeps what was read of it
  // or repeats the one above, is counted in damaged_rows(), and the result is kOk.
  // Otherwise: kReadError when the data end early, kBadData on a code that does not exist,
  // kSubtype for the uncompressed mode, kNoMemory, or the status of a failed read. These stay;
  // `row` then holds as much as was read.
  Status decode_row(std::span<uint8_t> row);

  uint64_t damaged_rows() const { return damaged_rows_; }

  // When the last row brought the end-of-page code: how many rows up to it were no rows, but parts
  // of that code. Otherwise 0.
  uint32_t end_rows() const {
    if (!is_ended_) return 0;
    return coding_ == Coding::kGroup4 ? 1 : static_cast<uint32_t>(empty_rows_);
  }

 private:
  using Bits = Reader::Bits;

  // How a row, or a step of one, ended. kTooLong: there are more pixels than a row has.
  enum class Outcome { kRowGoesOn, kRow, kTooLong, kBadCode, kUncompressed, kNoMemory };
  struct Runs;
  struct Row2d;

  Outcome decode_1d();
  Outcome decode_2d();
  Runs read_pair(Bits bits, uint32_t a0, bool is_black);
  bool read_run(Bits& bits, uint32_t& position, bool is_black);
  Status decode_row_of_runs();
  Status decode_row_group3();
  Status decode_row_group4();
  bool is_end_of_line_next();
  bool take_end_of_line();
  bool find_end_of_line();
  void take_tag();
  Status find_row();
  bool is_row_empty();

  void align(uint32_t bytes);
  bool ran_out() const { return reader_.ran_out(reader_.bits); }
  Status stop(Status status);
  Status stop(Outcome outcome);

  void finish_row(size_t changes);
  void repaint();
  void make_white();

  Coding coding_ = Coding::kGroup4;
  bool is_reversed_ = false;
  uint32_t width_ = 0;
  size_t row_bytes_ = 0;

  ByteSource* source_ = nullptr;
  Reader reader_;

  ChangeList lists_[2];
  ChangeList* above_ = &lists_[0];  // the row painted in row_
  ChangeList* current_ = &lists_[1];
  size_t above_count_ = 0;
  Buffer row_;  // the last row, with room for whole words behind it

  bool is_first_row_ = true;
  bool is_at_row_ = false;    // its end-of-line code and tag have been taken
  bool is_1d_ = true;         // what the tag says
  bool is_unframed_ = false;  // there was no end-of-line code before it, as there should be
  int empty_rows_ = 0;        // one behind the other
  bool is_ended_ = false;
  // Group 3 behind damage: the next end-of-line code is to be looked for, and the next row that
  // does not refer to a damaged one.
  bool needs_sync_ = false;
  bool waits_for_1d_ = false;
  bool saw_end_of_line_ = false;  // in this stream: it has any
  Status failure_ = kOk;
  uint64_t damaged_rows_ = 0;
};

}  // namespace tavo::ccitt
