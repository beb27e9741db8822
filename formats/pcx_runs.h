// The run-length coding of PCX files: a byte above 0xBF gives the length of a run in its low six
// bits, and the next byte is its value; other bytes stand for themselves.
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::pcx {

// Room that the vector loops take behind a line: written when decoding, read when encoding.
inline constexpr size_t kLineSlack = 64;

// Undoes the coding. A run may go on in the next line: what is left of it is kept.
class RunDecoder {
 public:
  explicit RunDecoder(ByteSource& bytes) : bytes_(bytes) {}

  // Fills `line`, with zeros where the data end; kLineSlack bytes behind it may be written. Only a
  // failed read is an error.
  Status decode_line(std::span<uint8_t> line);

  // Bytes at the end of the last line that did not come from the file.
  size_t missing() const { return missing_; }

  // Whether all lines from here on are zero.
  bool is_at_end() const { return left_ == 0 && bytes_.at_end() && bytes_.window().empty(); }

 private:
  uint8_t* decode_fast(uint8_t* out, uint8_t* end);
  uint8_t* put_run(uint8_t* out, uint8_t* end);
  bool start_run();

  ByteSource& bytes_;
  size_t left_ = 0;  // bytes of the run that are still to come
  size_t missing_ = 0;
  uint8_t value_ = 0;
};

// Bytes that `size` bytes are coded in at most, when each of them is 0xC0 or more and a run of one,
// and the room behind them that is overwritten.
constexpr uint64_t encoded_limit(uint64_t size) { return 2 * size + kLineSlack; }

// Codes `line`, which is followed by kLineSlack bytes that may be read and changed, to `out`, which
// has room for encoded_limit() bytes; the bytes written.
size_t encode_line(std::span<uint8_t> line, uint8_t* out);

}  // namespace tavo::pcx
