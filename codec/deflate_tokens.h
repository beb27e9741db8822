// What a parser makes of a piece of data: sequences, in parts that are alike enough for one block.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/deflate_block.h"

namespace tavo::deflate {

// allocate() once; for each piece begin(), add() from its first byte to its last, write(). The data
// are to stay where they are until then: literals are taken from there.
class Tokens {
 public:
  // For pieces of `bytes` bytes. `part` is how many symbols a part has; 0: all are one. Literals
  // without a match end runs of kLeastRun bytes or more, and what remains of 8 such runs.
  static constexpr size_t kLeastRun = 4096;
  Status allocate(size_t bytes, uint32_t part);

  // A piece begins.
  void begin(const uint8_t* data);

  // What comes next in the piece: literals and, unless `length` is 0, a match.
  void add(uint32_t literals, uint32_t length, uint32_t distance);

  // Writes the piece in as many blocks as take the fewest bits, as far as joining neighbours shows.
  Status write(bool is_last, BitWriter& out);

  // How often symbols occur in its last whole part, or in what there is.
  const Counts& recent() const {
    return parts_[part_count_ - std::min<size_t>(part_count_, 2)].counts;
  }

 private:
  struct Part {
    uint32_t first = 0;  // sequence
    uint32_t start = 0;  // byte
    uint32_t symbols = 0;
    Counts counts;
  };

  void put(uint32_t literals, uint32_t length, uint32_t distance);
  void begin_part();
  Status write_parts(size_t first, size_t end, const Counts& counts, bool is_last, BitWriter& out);

  const uint8_t* data_ = nullptr;
  uint32_t bytes_ = 0;  // so far
  uint32_t most_ = 0;   // symbols of a part
  Array<Sequence> sequences_;
  uint32_t used_ = 0;
  Array<Part> parts_;
  size_t part_count_ = 0;
};

}  // namespace tavo::deflate
