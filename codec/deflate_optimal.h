// The parse that takes the fewest bits, as far as what symbols take is known before.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/deflate_block.h"
#include "codec/deflate_matcher.h"
#include "codec/deflate_tokens.h"

namespace tavo::deflate {

// Matches of a stretch of data are found once; then the cheapest way through it is looked for
// several times, each time with what the symbols of the one before take.
class OptimalParser {
 public:
  // Stretches are at most so long.
  static constexpr size_t kStretch = 131072;

  Status allocate();
  // A stream begins, of which `data` are the first bytes.
  void start(std::span<const uint8_t> data);

  // Parses up to `end` bytes of `data`, of which `ahead` may be looked at, into `tokens`; at most
  // kStretch. `place` and `history` are as Chains wants them. Returns how many were parsed.
  size_t parse(const uint8_t* data, uint32_t place, size_t history, size_t end, size_t ahead,
               Chains& chains, Tokens& tokens);

 private:
  // Bits in 16ths that symbols take.
  struct Costs {
    std::array<uint16_t, 256> literals;
    std::array<uint16_t, kMaxMatch + 1> lengths;
    std::array<uint16_t, kDistanceCodes> distances;
  };
  // The way from a byte to the end: what it takes in all, and its first step. A length of 1 is a
  // literal.
  struct Step {
    uint32_t cost;
    uint16_t length;
    uint16_t distance;
  };

  size_t find_matches(const uint8_t* data, uint32_t place, size_t history, size_t end, size_t ahead,
                      Chains& chains);
  void remember(const Match& match);
  void set_costs(const Counts& counts, uint32_t for_new);
  bool goes_on(uint32_t m) const;
  void find_way(const uint8_t* data, size_t size);
  Counts count_way(const uint8_t* data, size_t size) const;
  Counts count_longest(const uint8_t* data, size_t size) const;
  static Counts count_literals(const uint8_t* data, size_t size);
  void choose_way(const uint8_t* data, size_t size);
  void spend(uint64_t spent);

  uint64_t spent_ = 0;   // on the stream so far
  uint64_t joined_ = 0;  // of it, in the stretches that before_ counts
  Counts before_;
  Costs costs_;
  Counts counts_;                // of the stretch before
  std::array<uint32_t, 8> far_;  // distances of late, 0: none yet
  Array<Match> matches_;
  Array<uint32_t> first_match_;  // of each byte
  Array<Step> steps_;            // from each byte to the end
};

}  // namespace tavo::deflate
