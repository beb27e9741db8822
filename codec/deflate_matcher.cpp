#include "codec/deflate_matcher.h"

namespace tavo::deflate {

Status Chains::allocate() {
  TRY(fours_.allocate(1u << kFourBits));
  TRY(threes_.allocate(1u << kThreeBits));
  return links_.allocate(kHistory);
}

void Chains::reset() {
  std::ranges::fill(fours_.items(), 0u);
  std::ranges::fill(threes_.items(), 0u);
}

void LeastLengths::set(uint32_t literal_bits, uint32_t match_bits) {
  for (uint32_t s = 0; s < kDistanceCodes; ++s) {
    const uint32_t length = 1 + (match_bits + kDistances[s].bits) / literal_bits;
    least_[s] = static_cast<uint8_t>(std::max(kMinMatch, length));
  }
}

// Three bytes are worth a match only when they are near: the distance's extra bits take more than
// the literals do.
template <class Found>
inline void Chains::search(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead,
                           uint32_t least, uint32_t depth, uint32_t nice, Found found) {
  constexpr uint32_t kNear = 4096;
  const auto reach = static_cast<uint32_t>(std::min(history, kHistory));
  const uint32_t most = std::min(ahead, kMaxMatch);
  const uint32_t bytes = load_four(at);
  uint32_t& three = threes_[hash_four(bytes << 8, kThreeBits)];
  uint32_t& four = fours_[hash_four(bytes, kFourBits)];
  const uint32_t near = place - three;
  uint32_t next = four;
  three = four = place;
  // A ring: the place kHistory bytes before loses its own link.
  links_[place % kHistory] = next;
  if (most < kMinMatch || most <= least) return;
  if (least < kMinMatch && near - 1 < std::min(reach, kNear) &&
      (load_four(at - near) ^ bytes) << 8 == 0) {
    const uint32_t length = equal_bytes(at, at - near, kMinMatch, most);
    if (found(length, near)) least = length;
    if (least >= nice || least == most) return;
  }
  uint32_t distance = 0;
  for (; depth > 0; --depth, next = links_[next % kHistory]) {
    const uint32_t further = place - next;
    // The link of the place kHistory away is this one's by now, and leads no further; 0, where
    // nothing was, is out of reach.
    if (further <= distance || further > reach) return;
    distance = further;
    const uint8_t* const there = at - distance;
    const uint32_t end = std::max(least, kMinMatch) - 3;  // what makes it longer
    if (load_four(there + end) != load_four(at + end) || load_four(there) != bytes) continue;
    const uint32_t length = equal_bytes(at, there, 4, most);
    if (length <= least || !found(length, distance)) continue;
    least = length;
    if (length >= nice || length == most) return;
  }
}

Match Chains::find(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead,
                   uint32_t least, uint32_t depth, uint32_t nice, const LeastLengths& lengths) {
  Match best;
  search(at, place, history, ahead, least, depth, nice, [&](uint32_t length, uint32_t distance) {
    const Match match{length, distance};
    const bool is_worth = lengths.is_worth(match);
    if (is_worth) best = match;
    return is_worth;
  });
  return best;
}

uint32_t Chains::find_all(const uint8_t* at, uint32_t place, size_t history, uint32_t ahead,
                          uint32_t depth, uint32_t nice, Match* matches) {
  uint32_t count = 0;
  search(at, place, history, ahead, kMinMatch - 1, depth, nice,
         [&](uint32_t length, uint32_t distance) {
           // The longest counts most where there are too many.
           matches[count < kMaxFound ? count++ : kMaxFound - 1] = {length, distance};
           return true;
         });
  return count;
}

}  // namespace tavo::deflate
