// Bytes as printable characters, five for four of them.
// Facts: Adobe, "PostScript Language Reference", third edition, section 3.13.3.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "io/output_file.h"

namespace tavo::eps {

// Writes lines of 72 characters. None begins with a percent sign: that would be a comment to
// programs that look for these.
class Ascii85Writer {
 public:
  explicit Ascii85Writer(io::OutputFile& file) : file_(file) {}

  Status put(std::span<const uint8_t> bytes);
  // The last bytes and the end mark. Once, and behind it nothing more.
  Status finish();

  // Characters so far, line ends among them; those of an unfinished line are not counted.
  uint64_t written() const { return written_; }

 private:
  static constexpr size_t kLine = 72;  // without its end; Technical Note 5001 allows 255

  Status put_group(const uint8_t* bytes, size_t characters);
  Status put_char(char c);
  Status end_line();

  io::OutputFile& file_;
  std::array<uint8_t, 4> group_ = {};
  size_t count_ = 0;  // of its bytes
  std::array<char, kLine + 1> line_ = {};
  size_t column_ = 0;
  uint64_t written_ = 0;
};

// Reads back what was written to a file that is still being written: as a ByteSource reads. Each
// piece is sought for, and the file then put back to its end, so that writing may go on between.
class Ascii85Reader {
 public:
  // `characters` from `position` on.
  Ascii85Reader(io::OutputFile& file, uint64_t position, uint64_t characters)
      : file_(file), position_(position), left_(characters) {}

  Status start() { return text_.allocate(kPiece); }
  Status read_some(std::span<uint8_t> into, size_t& got);

 private:
  static constexpr size_t kPiece = 60 * 1024;

  Status next(uint8_t& c);
  Status next_group();

  io::OutputFile& file_;
  uint64_t position_;  // of the next piece
  uint64_t left_;      // characters behind the piece at hand
  Buffer text_;
  size_t at_ = 0;  // in text_, as is end_
  size_t end_ = 0;
  std::array<uint8_t, 4> group_ = {};  // decoded; of the last group fewer bytes count
  size_t group_at_ = 0;
  size_t group_end_ = 0;
  bool is_at_end_ = false;
};

}  // namespace tavo::eps
