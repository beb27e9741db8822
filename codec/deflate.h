// Deflate: RFC 1951 data in the wrapper of RFC 1950, as PNG and TIFF files have them.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/deflate_block.h"
#include "codec/deflate_matcher.h"
#include "codec/deflate_optimal.h"
#include "codec/deflate_tokens.h"

namespace tavo::deflate {

// How much work is spent on how few bytes; numbers of T_SetDeflateLevel.
enum class Level : uint8_t { kDefault, kFast, kSmall };

// Encodes one stream after the other, of bytes that come in any pieces: allocate() once, then for
// each stream start(), encode() as often as bytes come, and finish(). The bytes of a stream do not
// depend on the pieces.
class Encoder {
 public:
  // `out` is anything with Status write(std::span<const uint8_t>).
  template <class Out>
  explicit Encoder(Out& out)
      : bits_(
            [](void* context, std::span<const uint8_t> bytes) {
              return static_cast<Out*>(context)->write(bytes);
            },
            &out) {}
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  // Takes the memory. kNoMemory.
  Status allocate(Level level);

  // Begins a stream.
  void start();
  Status encode(std::span<const uint8_t> bytes);
  // The first bytes of a stream as they are, by themselves: nothing that follows refers to them.
  // They are the last of what `out` gets now.
  Status store(std::span<const uint8_t> bytes);
  // One of those bytes has become larger by so much; so many bytes have come from it on.
  void change_checksum(uint32_t difference, uint64_t bytes);
  // Whether a stream of so many bytes stays in memory until finish(). Byte `at` of one that does is
  // then made larger by so much.
  bool holds(uint64_t bytes) const { return bytes <= room_; }
  // Only before finish(), of a stream that holds() and for which store() was not called.
  void change(size_t at, uint8_t difference);
  // Ends it, and gives what is left to `out`.
  Status finish();

 private:
  // A piece of the window that a parser makes sequences of: from `at_` on. Parsers end at `end` or
  // where a match takes them beyond, up to `used_`.
  std::array<uint32_t, 2> enter_fast(size_t i);
  Match find_fast(size_t i);
  void parse_fast(size_t end);
  void parse_lazily(size_t end);
  void parse_optimally(size_t end);

  void parse(size_t end);
  Status compress(bool is_last);
  void slide();
  Match match_again(size_t i) const;
  void expect_first();
  void expect_symbols(const Counts& counts);
  uint32_t place_of(size_t index) const { return base_ + static_cast<uint32_t>(index); }

  Level level_ = Level::kDefault;
  BitWriter bits_;
  Buffer window_;
  size_t room_ = 0;    // in the window
  size_t used_ = 0;    // bytes in the window
  size_t at_ = 0;      // of these, parsed
  uint32_t base_ = 0;  // place in the stream of the window's first byte
  uint32_t checksum_ = 1;
  Tokens tokens_;
  Chains chains_;
  OptimalParser optimal_;
  uint32_t last_distance_ = 0;
  LeastLengths lengths_;
  uint32_t depth_ = 0;    // how many places are looked at for a match
  Array<uint32_t> last_;  // the fast level: the last two places of each hash
};

}  // namespace tavo::deflate
