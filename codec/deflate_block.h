// Blocks of Deflate (RFC 1951, 3.2): what has been parsed as bits.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/deflate_format.h"

namespace tavo::deflate {

// Literals, as they stand in the data, and a match behind them; a length of 0: none. 8 bytes: a
// piece may have more than a hundred thousand of them.
struct Sequence {
  uint32_t literals = 0;
  uint16_t length = 0;
  uint16_t distance = 0;
};

// How often symbols occur.
struct Counts {
  std::array<uint32_t, kLiteralCodes> literals = {};
  std::array<uint32_t, kDistanceCodes> distances = {};

  void add(const Counts& other);
};

// Symbols of lengths and distances, from 0 on (3.2.5): in the code of literals lengths begin at
// 257.
inline constexpr auto kLengthSymbol = [] {
  std::array<uint8_t, kMaxMatch + 1> symbols = {};
  for (uint8_t s = 0; s < 29; ++s) {
    const uint32_t end = s == 28 ? kMaxMatch : kLengths[s + 1].base - 1u;
    for (uint32_t length = kLengths[s].base; length <= end; ++length) symbols[length] = s;
  }
  return symbols;
}();
inline constexpr auto kDistanceSymbols =
    [] {  // of distances less 1 up to 255, then in steps of 128
      std::array<uint8_t, 512> symbols = {};
      for (uint8_t s = 0; s < 30; ++s) {
        const uint32_t first = kDistances[s].base - 1u, end = first + (1u << kDistances[s].bits);
        for (uint32_t d = first; d < end && d < 256; ++d) symbols[d] = s;
        for (uint32_t d = first < 256 ? 256 : first; d < end; d += 128) symbols[256 + d / 128] = s;
      }
      return symbols;
    }();
// From distance 257 on symbols have 7 extra bits or more, so 128 distances in a row share one.
inline uint32_t distance_symbol(uint32_t distance) {
  --distance;
  return kDistanceSymbols[distance < 256 ? distance : 256 + (distance >> 7)];
}

// The bits of the codes for such counts, and of their own description: what a block takes. An
// estimate, by the entropy.
uint64_t estimate_bits(const Counts& counts);

// What a block of these symbols takes, its codes and their description among it, unless it is
// stored.
uint64_t block_bits(const Counts& counts);

// What each symbol takes, in 16ths of a bit; of one that does not occur, what it would and
// `for_new`.
void costs_of(std::span<const uint32_t> counts, std::span<uint16_t> costs, uint32_t for_new);

// What a literal takes of these, 1 or more.
uint32_t bits_of_literal(const Counts& counts);

// Gathers bits, the first one in the lowest bit (3.1.1), and gives bytes to whoever wants them. Of
// all calls only make_room() looks at the buffer's end.
class BitWriter {
 public:
  using Write = Status (*)(void* context, std::span<const uint8_t> bytes);

  BitWriter(Write write, void* context) : write_(write), context_(context) {}

  Status allocate() { return buffer_.allocate(kBuffer + kSlack); }
  void reset() { at_ = 0, held_ = 0, count_ = 0; }

  // Up to 56 bits between calls of drain().
  void put(uint64_t bits, uint32_t count) {
    held_ |= bits << count_;
    count_ += count;
  }
  void drain();
  Status put_bytes(std::span<const uint8_t> bytes);  // behind align()
  void align() {
    count_ = (count_ + 7) / 8 * 8;
    drain();
  }
  // Makes room; call it for each kSlack / 2 bytes that come.
  Status make_room() { return at_ >= kBuffer ? flush() : kOk; }
  Status flush();

 private:
  static constexpr size_t kBuffer = 32768;
  static constexpr size_t kSlack = 8192;

  Write write_;
  void* context_;
  Buffer buffer_;
  size_t at_ = 0;
  uint64_t held_ = 0;
  uint32_t count_ = 0;
};

// Writes data as they are, in as many blocks as it takes (3.2.4), at the end on a byte's begin.
Status write_stored(std::span<const uint8_t> data, bool is_last, BitWriter& out);

// Writes a block in whichever way takes the fewest bits. `data` are the bytes that the sequences
// stand for.
Status write_block(std::span<const Sequence> sequences, const Counts& counts,
                   std::span<const uint8_t> data, bool is_last, BitWriter& out);

}  // namespace tavo::deflate
