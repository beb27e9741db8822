// The search for nearest colours, compiled for each instruction set.

// The three low bytes of each word squared and added.
inline V sum_of_squares(V v) {
  const V outer = v & splat32(0x00FF00FF);
  const V middle = shift_right32<8>(v) & splat32(0xFF);
  return add32(multiply_add16(outer, outer), multiply_add16(middle, middle));
}

inline uint8_t chosen(const Lists& lists, uint32_t list, uint32_t key) {
  const uint32_t order = key & 511;
  const uint32_t place = order < 256 ? 255 - order : order - 256;
  const uint8_t index = lists.indices[(list >> 8) * kBlock + place];
  // Looked up either way: photographs would make a branch here a coin toss.
  return lists.results[(key < 512 ? 256u : 0u) + index];
}

constexpr uint32_t kOrders[kBlock] = {256, 257, 258, 259, 260, 261, 262, 263};
constexpr uint32_t kWords = kBytes / 4;

size_t find(const Lists& lists, const uint32_t* targets, const uint32_t* cells, size_t count,
            uint8_t* indices) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t list = lists.by_cell != nullptr ? list_of(lists.by_cell, cells[i]) : cells[i];
    if (list == kUnknown) return i;
    const uint32_t* colors = lists.colors + (list >> 8) * kBlock;
    const V target = splat32(targets[i]);
    V least = splat32(INT32_MAX);
    V orders = load(kOrders);
    for (uint32_t n = kBlock / kWords * (list & 255); n != 0; --n, colors += kWords) {
      const V candidates = load(colors);
      const V d = sub8_clamped(candidates, target) | sub8_clamped(target, candidates);
      const V same_hue = equal32(shift_right32<24>(d), V{});
      const V order = orders ^ (same_hue & splat32(511));
      least = min32(least, shift_left32<9>(sum_of_squares(d)) | order);
      orders = add32(orders, splat32(kWords));
    }
    indices[i] = chosen(lists, list, static_cast<uint32_t>(least32(least)));
  }
  return count;
}

// Whether some colour of the box is at least as near to `candidate` as to `pivot`. The difference
// of the two distances is linear in the colour, so each component decides for one end.
bool can_be_nearer(uint32_t candidate, uint32_t pivot, uint32_t low, uint32_t high) {
  int32_t gain = 0;
  for (uint32_t shift = 0; shift < 24; shift += 8) {
    const auto c = static_cast<int32_t>(candidate >> shift & 255);
    const auto p = static_cast<int32_t>(pivot >> shift & 255);
    const auto end = static_cast<int32_t>((p > c ? low : high) >> shift & 255);
    gain += (p - c) * (p + c - 2 * end);
  }
  return gain >= 0;
}

// What is farther everywhere than one of the candidates, the pivot, is left out. Equally near ones
// stay in.
size_t gather(std::span<const uint32_t> candidates, uint32_t low, uint32_t high,
              std::array<uint8_t, 256>& found) {
  alignas(kBytes) std::array<int32_t, 256> farthest, closest;
  V least = splat32(INT32_MAX);
  for (size_t i = 0; i < candidates.size(); i += kWords) {
    const V v = load(&candidates[i]);
    const V far = max8_unsigned(sub8_clamped(v, splat32(low)), sub8_clamped(splat32(high), v));
    const V near = sub8_clamped(splat32(low), v) | sub8_clamped(v, splat32(high));
    const V far_sum = sum_of_squares(far);
    least = min32(least, far_sum);
    store(&farthest[i], far_sum);
    store(&closest[i], sum_of_squares(near));
  }
  const int32_t bound = least32(least);
  size_t pivot = 0;
  while (farthest[pivot] != bound) ++pivot;
  size_t count = 0;
  for (size_t i = 0; i < candidates.size(); i += kWords) {
    const V is_out = greater32(load(&closest[i]), splat32(static_cast<uint32_t>(bound)));
    uint32_t left = ~top_bits32(is_out) & ((1u << kWords) - 1);
    for (; left != 0; left &= left - 1) {
      const size_t place = i + static_cast<size_t>(std::countr_zero(left));
      if (is_filler(candidates[place])) break;
      if (!can_be_nearer(candidates[place], candidates[pivot], low, high)) continue;
      found[count++] = static_cast<uint8_t>(place);
    }
  }
  return count;
}
