#include "codec/huffman_lengths.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace tavo::huffman {
namespace {

constexpr uint32_t kMaxBits = 15;

// Counts in rising order to the depths of a tree, in place (A. Moffat and J. Katajainen, "In-Place
// Calculation of Minimum-Redundancy Codes", 1995). The first counts become weights and then parents
// of inner nodes, these depths, and those the depths of the leaves.
void find_depths(std::span<uint32_t> a) {
  const size_t n = a.size();
  size_t leaf = 0, root = 0;
  const auto take_least = [&](size_t next) {
    const bool is_inner = leaf >= n || (root < next && a[root] < a[leaf]);
    if (!is_inner) return a[leaf++];
    const uint32_t weight = a[root];
    a[root++] = static_cast<uint32_t>(next);
    return weight;
  };
  // The two least become one, leaves or inner nodes; an inner one's place then has its parent.
  for (size_t next = 0; next + 1 < n; ++next) {
    const uint32_t first = take_least(next);
    a[next] = first + take_least(next);
  }
  a[n - 2] = 0;
  for (size_t i = n - 2; i-- > 0;) a[i] = a[a[i]] + 1;
  // Level by level from the root: nodes that are not inner are leaves, the rarest deepest.
  size_t available = 1, used = 0, next = n;
  ptrdiff_t inner = static_cast<ptrdiff_t>(n) - 2;
  for (uint32_t depth = 0; available > 0; ++depth) {
    for (; inner >= 0 && a[static_cast<size_t>(inner)] == depth; --inner) ++used;
    for (; available > used; --available) a[--next] = depth;
    available = 2 * used;
    used = 0;
  }
}

// Depths beyond `max_bits` are cut; what that takes too much of the codes is given back by making
// the longest of the others longer.
void limit(std::array<uint32_t, kMaxSymbols>& of_length, uint32_t max_bits) {
  for (size_t length = max_bits + 1; length < of_length.size(); ++length) {
    of_length[max_bits] += of_length[length];
    of_length[length] = 0;
  }
  // Kraft's sum, in units of a code of `max_bits`: lengths are possible up to a sum of 1.
  uint32_t taken = 0;
  for (uint32_t length = 1; length <= max_bits; ++length) {
    taken += of_length[length] << (max_bits - length);
  }
  for (; taken > 1u << max_bits; --taken) {
    uint32_t length = max_bits - 1;
    while (of_length[length] == 0) --length;
    // A leaf moves down and takes one of the longest for its sibling: the sum falls by one.
    --of_length[length];
    of_length[length + 1] += 2;
    --of_length[max_bits];
  }
}

}  // namespace

void find_lengths(std::span<const uint32_t> counts, uint32_t max_bits, std::span<uint8_t> lengths) {
  assert(counts.size() <= kMaxSymbols && max_bits <= kMaxBits);
  std::array<uint64_t, kMaxSymbols> sorted;  // counts above symbols
  size_t used = 0;
  for (size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] != 0) sorted[used++] = uint64_t{counts[i]} << 16 | i;
  }
  for (size_t i = 0; used < 2; ++i) {
    if (counts[i] == 0) sorted[used++] = i;
  }
  // Symbols below the counts make all keys different: every std::sort gives the same codes.
  std::sort(sorted.begin(), sorted.begin() + used);
  std::array<uint32_t, kMaxSymbols> depths;
  for (size_t i = 0; i < used; ++i) depths[i] = static_cast<uint32_t>(sorted[i] >> 16);
  find_depths(std::span(depths).first(used));
  std::array<uint32_t, kMaxSymbols> of_length = {};
  for (size_t i = 0; i < used; ++i) ++of_length[depths[i]];
  limit(of_length, max_bits);

  std::ranges::fill(lengths, uint8_t{0});
  size_t next = 0;
  // The rarest first, which get the longest codes.
  for (uint32_t length = max_bits; length > 0; --length) {
    for (uint32_t i = 0; i < of_length[length]; ++i) {
      lengths[sorted[next++] & 0xFFFF] = static_cast<uint8_t>(length);
    }
  }
}

void assign_codes(std::span<const uint8_t> lengths, std::span<uint16_t> codes) {
  std::array<uint32_t, kMaxBits + 2> next = {};
  for (const uint8_t length : lengths) ++next[length + 1];
  next[1] = 0;
  uint32_t code = 0;
  for (uint32_t length = 1; length <= kMaxBits; ++length) {
    const uint32_t count = next[length + 1];
    next[length] = code;
    code = (code + count) << 1;
  }
  for (size_t i = 0; i < lengths.size(); ++i) {
    codes[i] = static_cast<uint16_t>(lengths[i] != 0 ? next[lengths[i]]++ : 0);
  }
}

}  // namespace tavo::huffman
