// Where data have stood before: chains of positions whose next bytes have one hash.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/status.h"
#include "codec/deflate_block.h"
#include "codec/deflate_format.h"

namespace tavo::deflate {

struct Match {
  uint32_t length = 0;  // 0: none
  uint32_t distance = 0;
};

// Bytes behind the data that may be read.
inline constexpr size_t kReadAhead = 16;

// Bytes that are to be hashed or compared, the first one lowest: both targets are little-endian.
inline uint32_t load_four(const uint8_t* at) { return load_native<uint32_t>(at); }
// By the golden ratio (2^32 / 1.618), whose product is best mixed in its highest bits.
inline uint32_t hash_four(uint32_t bytes, uint32_t bits) {
  return (bytes * 0x9E3779B1u) >> (32 - bits);
}

// How many bytes from the first on are equal in both, `most` at the most; the first `from` are
// known to be. Reads up to seven bytes behind, see kReadAhead.
inline uint32_t equal_bytes(const uint8_t* a, const uint8_t* b, uint32_t from, uint32_t most) {
  for (uint32_t i = from; i < most; i += sizeof(uintptr_t)) {
    const auto difference = load_native<uintptr_t>(a + i) ^ load_native<uintptr_t>(b + i);
    if (difference == 0) continue;
    return std::min(most, i + static_cast<uint32_t>(std::countr_zero(difference)) / 8);
  }
  return most;
}

// From which length on a match takes fewer bits than its literals, by the distance's symbol.
class LeastLengths {
 public:
  // What a literal takes, and what the symbols of a match do, extra bits apart.
  void set(uint32_t literal_bits, uint32_t match_bits);
  uint32_t shortest() const { return least_[0]; }
  bool is_worth(const Match& match) const {
    return match.length >= least_[distance_symbol(match.distance)];
  }

 private:
  std::array<uint8_t, kDistanceCodes> least_;
};

// Positions are counted through the whole stream, and may begin anew after 4 GiB: what they say is
// compared with the data, so that none can mislead. find() or find_all() or enter() is called once
// for each place, or for fewer, in rising order.
class Chains {
 public:
  Status allocate();
  void reset();

  // Position `place` of the stream is at `at`, with `history` bytes before and `ahead` from there
  // on. Finds the longest match of more than `least` bytes (2 or more), looking at `depth` places
  // at most and content with `nice` bytes; then enters the position.
  Match find(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead, uint32_t least,
             uint32_t depth, uint32_t nice, const LeastLengths& lengths);

  // All of them, from 3 bytes on, each longer than the one before and as near as can be. `matches`
  // has room for kMaxFound.
  static constexpr uint32_t kMaxFound = 64;
  uint32_t find_all(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead,
                    uint32_t depth, uint32_t nice, Match* matches);

  void enter(const uint8_t* at, uint32_t place) {
    const uint32_t bytes = load_four(at);
    uint32_t& head = fours_[hash_four(bytes, kFourBits)];
    links_[place % kHistory] = head;
    head = place;
    threes_[hash_four(bytes << 8, kThreeBits)] = place;
  }

 private:
  static constexpr uint32_t kFourBits = 16, kThreeBits = 13;

  template <class Found>
  void search(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead, uint32_t least,
              uint32_t depth, uint32_t nice, Found found);

  Array<uint32_t> fours_, threes_;  // the last place of each hash
  Array<uint32_t> links_;           // from each place to the one before
};

}  // namespace tavo::deflate
