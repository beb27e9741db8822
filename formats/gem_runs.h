// The run-length coding of GEM images: runs of black and white bytes, repeated patterns, literals,
// and rows that stand several times.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::gem {

// One for the whole picture: planes one after the other, rows from the top.
class RunDecoder {
 public:
  RunDecoder(ByteSource& bytes, uint32_t pattern_bytes)
      : bytes_(bytes), pattern_bytes_(pattern_bytes) {}

  // The bytes of one plane of a row. What runs beyond its end is cut off. kReadError where the data
  // end early. `repeats`, not null for a row's first plane, gets how often the row stands.
  Status decode(std::span<uint8_t> row, uint32_t* repeats);

 private:
  Status decode_zero(std::span<uint8_t>& row, uint32_t* repeats);
  Status decode_literals(std::span<uint8_t>& row);
  Status next(uint32_t& byte);

  ByteSource& bytes_;
  uint32_t pattern_bytes_;
};

// Literals have two bytes in front of each 255; runs save at least what the literals behind them
// take so.
constexpr size_t most_coded(size_t row_bytes) { return row_bytes + row_bytes / 64 + 8; }

// Codes a plane of a row, patterns being bytes, to `out`, which has room for most_coded() bytes;
// the bytes written.
size_t encode(std::span<const uint8_t> row, uint8_t* out);

// What stands in front of a row that is to be used `count` times, 2 to 255.
constexpr std::array<uint8_t, 4> repeat_code(uint32_t count) {
  return {0, 0, 0xFF, static_cast<uint8_t>(count)};
}

}  // namespace tavo::gem
