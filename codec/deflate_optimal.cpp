#include "codec/deflate_optimal.h"

#include <algorithm>

namespace tavo::deflate {
namespace {

constexpr uint32_t kFar = 128;  // not a repetition within a row
// Places that are looked at for a byte: usually, and behind a match that is as long as can be.
constexpr uint32_t kDepth = 200, kFewPlaces = 8, kNice = kMaxMatch;
constexpr uint32_t kWays = 3;  // that are looked for
// The first data of a stream, all of a small picture: more places are looked at, and more ways,
// some at a price in 16ths of a bit for symbols that did not occur.
constexpr uint64_t kThorough = 32768;  // symbols, and pieces of data
constexpr size_t kPiece = 64;
constexpr uint64_t kJoined = 16384;  // of such, in a block
constexpr uint32_t kManyPlaces = 1024, kForNew = 5 * 16;
// What a stretch ends at: matches, and bytes whose matches are not as long as can be.
constexpr uint32_t kRoom = 262144, kShortOnes = 32768;

// The longest that takes the same bits.
constexpr auto kLastOfSymbol = [] {
  std::array<uint32_t, kMaxMatch + 1> last = {};
  for (uint32_t length = kMaxMatch; length >= kMinMatch; --length) {
    const bool is_last = length == kMaxMatch || kLengthSymbol[length] != kLengthSymbol[length + 1];
    last[length] = is_last ? length : last[length + 1];
  }
  return last;
}();

// Symbols as often as the fixed codes have them.
Counts fixed_counts() {
  Counts counts;
  for (uint32_t i = 0; i < kLiteralCodes; ++i) {
    counts.literals[i] = 1u << (9 - fixed_literal_bits(i));
  }
  counts.distances.fill(1);
  return counts;
}

}  // namespace

Status OptimalParser::allocate() {
  // kRoom is asked before each byte, which adds those that chains find and one for each of far_.
  TRY(matches_.allocate(kRoom + Chains::kMaxFound + far_.size()));
  TRY(first_match_.allocate(kStretch + 2));
  // A match may begin at the last byte.
  return steps_.allocate(kStretch + kMaxMatch + 1);
}

// Before anything is known: what the bytes themselves say, and that matches are many.
void OptimalParser::start(std::span<const uint8_t> data) {
  spent_ = joined_ = 0;
  counts_ = before_ = {};
  far_ = {};
  for (const uint8_t byte : data) counts_.literals[byte] += 2;
  const auto some = static_cast<uint32_t>(data.size() / 64 + 1);
  for (uint32_t s = 0; s < 29; ++s) counts_.literals[kEndOfBlock + 1 + s] = some;
  counts_.distances.fill(some);
}

// The last one is the first; the one that was used longest ago is forgotten.
void OptimalParser::remember(const Match& match) {
  if (match.distance < kFar && match.length < kMaxMatch) return;
  const auto last = std::find(far_.begin(), far_.end() - 1, match.distance);
  std::rotate(far_.begin(), last, last + 1);
  far_[0] = match.distance;
}

// Until the stretch ends. Behind a match that is as long as can be, few places are
// looked at.
size_t OptimalParser::find_matches(const uint8_t* data, uint32_t place, size_t history, size_t end,
                                   size_t ahead, Chains& chains) {
  const size_t most = std::min(end, kStretch);
  const uint32_t depth = spent_ < kThorough ? kManyPlaces : kDepth;
  uint32_t used = 0, longest = 0, short_ones = 0;
  size_t i = 0;
  for (; i < most && used < kRoom && short_ones < kShortOnes; ++i) {
    first_match_[i] = used;
    const auto at_place = place + static_cast<uint32_t>(i);
    const auto left = static_cast<uint32_t>(std::min<size_t>(ahead - i, kMaxMatch));
    Match* const found = matches_.data() + used;
    uint32_t count = chains.find_all(data + i, at_place, history + i, left,
                                     longest == kMaxMatch ? kFewPlaces : depth, kNice, found);
    longest = count > 0 ? found[count - 1].length : kMinMatch - 1;
    // What is alike in many rows is so in the next: looking does not reach as far in a long run.
    for (const uint32_t distance : far_) {
      if (distance == 0 || distance > history + i) continue;
      const uint32_t length = equal_bytes(data + i, data + i - distance, 0, left);
      if (length <= longest) continue;
      longest = length;
      found[count++] = {length, distance};
    }
    if (count > 0) remember(found[count - 1]);
    used += count;
    short_ones += longest < kMaxMatch ? 1 : 0;
  }
  first_match_[i] = used;
  return i;
}

void OptimalParser::set_costs(const Counts& counts, uint32_t for_new) {
  std::array<uint16_t, kLiteralCodes> literals;
  costs_of(counts.literals, literals, for_new);
  costs_of(counts.distances, costs_.distances, for_new);
  std::copy_n(literals.begin(), 256, costs_.literals.begin());
  for (uint32_t length = kMinMatch; length <= kMaxMatch; ++length) {
    const uint32_t s = kLengthSymbol[length];
    costs_.lengths[length] =
        static_cast<uint16_t>(literals[kEndOfBlock + 1 + s] + 16 * kLengths[s].bits);
  }
  for (uint32_t s = 0; s < kDistanceCodes; ++s) {
    costs_.distances[s] = static_cast<uint16_t>(costs_.distances[s] + 16 * kDistances[s].bits);
  }
}

// One that is as long as can be, from a byte behind the last one on.
bool OptimalParser::goes_on(uint32_t m) const {
  return m > 0 && matches_[m].length == kMaxMatch && matches_[m - 1].length == kMaxMatch &&
         matches_[m].distance == matches_[m - 1].distance;
}

// From the end to the begin: from each byte the cheapest of a literal and all matches, cut to any
// length that a nearer one does not have, but where the match before goes on. Matches may go beyond
// the end, where all costs nothing.
void OptimalParser::find_way(const uint8_t* data, size_t size) {
  std::fill_n(steps_.data() + size, kMaxMatch + 1, Step{});
  for (size_t i = size; i-- > 0;) {
    Step best = {costs_.literals[data[i]] + steps_[i + 1].cost, 1, 0};
    uint32_t length = kMinMatch;
    for (uint32_t m = first_match_[i]; m < first_match_[i + 1]; ++m) {
      const Match& match = matches_[m];
      const uint32_t distance = costs_.distances[distance_symbol(match.distance)];
      if (goes_on(m)) length = kMaxMatch;
      for (; length <= match.length; ++length) {
        length = std::min(kLastOfSymbol[length], match.length);
        const uint32_t cost = distance + costs_.lengths[length] + steps_[i + length].cost;
        if (cost >= best.cost) continue;
        best = {cost, static_cast<uint16_t>(length), static_cast<uint16_t>(match.distance)};
      }
    }
    steps_[i] = best;
  }
}

Counts OptimalParser::count_way(const uint8_t* data, size_t size) const {
  Counts counts;
  counts.literals[kEndOfBlock] = 1;
  for (size_t i = 0; i < size; i += steps_[i].length) {
    const Step& step = steps_[i];
    if (step.length == 1) {
      ++counts.literals[data[i]];
    } else {
      ++counts.literals[kEndOfBlock + 1 + kLengthSymbol[step.length]];
      ++counts.distances[distance_symbol(step.distance)];
    }
  }
  return counts;
}

// The longest match of each byte, or none.
Counts OptimalParser::count_longest(const uint8_t* data, size_t size) const {
  Counts counts;
  counts.literals[kEndOfBlock] = 1;
  for (size_t i = 0; i < size;) {
    if (first_match_[i] == first_match_[i + 1]) {
      ++counts.literals[data[i++]];
      continue;
    }
    const Match& match = matches_[first_match_[i + 1] - 1];
    ++counts.literals[kEndOfBlock + 1 + kLengthSymbol[match.length]];
    ++counts.distances[distance_symbol(match.distance)];
    i += match.length;
  }
  return counts;
}

// Without a match.
Counts OptimalParser::count_literals(const uint8_t* data, size_t size) {
  Counts counts;
  counts.literals[kEndOfBlock] = 1;
  for (size_t i = 0; i < size; ++i) ++counts.literals[data[i]];
  return counts;
}

// What a way makes symbols cost is not what it was found by, so the next may be worse. In little
// data much depends on where that begins, and on how many symbols there are to describe; stretches
// of few symbols share a block with those before.
void OptimalParser::choose_way(const uint8_t* data, size_t size) {
  uint64_t least = UINT64_MAX, bits = 0;
  Costs best;
  const auto follow = [&](Counts counts, uint32_t ways, uint32_t for_new = 0) {
    counts.add(before_);
    for (uint64_t last = 0; ways > 0; --ways) {
      set_costs(counts, for_new);
      find_way(data, size);
      counts = count_way(data, size);
      counts.add(before_);
      counts.literals[kEndOfBlock] = 1;
      bits = block_bits(counts);
      if (bits == last) return;
      last = bits;
      if (bits >= least) continue;
      least = bits;
      best = costs_;
    }
  };
  const Counts longest = count_longest(data, size);
  if (spent_ < kThorough) {
    for (const uint32_t for_new : {0u, kForNew}) {
      for (const Counts& counts : {fixed_counts(), count_literals(data, size), longest}) {
        follow(counts, kWays, for_new);
      }
    }
  }
  follow(counts_, 1);
  follow(longest, 1 + kWays);
  if (bits > least) {
    costs_ = best;
    find_way(data, size);
  }
  counts_ = count_way(data, size);
}

void OptimalParser::spend(uint64_t spent) {
  spent_ += spent;
  joined_ += spent;
  if (joined_ <= kJoined) return before_.add(counts_);
  joined_ = 0;
  before_ = {};
}

size_t OptimalParser::parse(const uint8_t* data, uint32_t place, size_t history, size_t end,
                            size_t ahead, Chains& chains, Tokens& tokens) {
  const size_t size = find_matches(data, place, history, end, ahead, chains);
  choose_way(data, size);
  uint64_t spent = size / kPiece;
  uint32_t literals = 0;
  size_t i = 0;
  for (; i < size; i += steps_[i].length) {
    const Step& step = steps_[i];
    ++spent;
    if (step.length == 1) {
      ++literals;
    } else {
      tokens.add(literals, step.length, step.distance);
      literals = 0;
    }
  }
  tokens.add(literals, 0, 0);
  spend(spent);
  for (size_t entered = size; entered < i; ++entered) {
    chains.enter(data + entered, place + static_cast<uint32_t>(entered));
  }
  return i;
}

}  // namespace tavo::deflate
