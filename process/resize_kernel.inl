// Rows resampled by shuffles of 16 bytes, compiled for each instruction set that has them: a vector
// makes as many steps as it has lanes.

// The bytes of a pair of steps are chosen, and stored, in one go by vectors of two lanes.
void shrink_pair(const ResizeStep* step, const uint8_t* shuffles, const uint8_t* from,
                 uint8_t*& to) {
  for (size_t i = 0; i < 2; i += kLanes) {
    const uint8_t* const a = from + step[i].offset;
    const uint8_t* const b = from + step[i + kLanes - 1].offset;
    const V low = shuffle8(load_lanes(a, b), load(shuffles + i * 16));
    const V high = shuffle8(load_lanes(a + 16, b + 16), load(shuffles + 32 + i * 16));
    const V result = low | high;
    sse2::store(to, lane<0>(result));
    to += step[i].count;
    if constexpr (kLanes == 2) {
      sse2::store(to, lane<1>(result));
      to += step[i + 1].count;
    }
  }
}

// `back` is how far the cycles before have gone.
void enlarge_pair(const ResizeStep* step, const uint8_t* shuffles, const uint8_t* from,
                  uint32_t back, uint8_t*& end) {
  const uint8_t* const a = from + (step[0].offset - back);
  const uint8_t* const b = from + (step[1].offset - back);
  if constexpr (kLanes == 2) {
    store(end -= 32, shuffle8(load_lanes(b, a), load(shuffles)));
  } else {
    store(end -= 16, shuffle8(load(a), load(shuffles + 16)));
    store(end -= 16, shuffle8(load(b), load(shuffles)));
  }
}

void shrink(ResizeTable table, const uint8_t* from, uint8_t* to) {
  const uint8_t* base = from;
  for (uint32_t left = table.whole; left > 0; base += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    for (uint32_t s = 0; s < steps; s += 2) {
      shrink_pair(table.steps + s, table.shuffles + size_t{s} * 32, base, to);
    }
    left -= steps;
  }
  const ResizeStep* step = table.steps + table.cycle;
  const uint8_t* shuffle = table.last_shuffles;
  for (uint32_t i = 0; i < table.last; ++i, ++step, shuffle += kResizeLanes) {
    for (uint32_t b = 0; b < step->count; ++b) *to++ = from[step->offset + shuffle[b]];
  }
}

void enlarge(ResizeTable table, const uint8_t* from, uint8_t* end) {
  uint32_t back = 0;
  for (uint32_t left = table.whole; left > 0; back += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    for (uint32_t s = 0; s < steps; s += 2) {
      enlarge_pair(table.steps + s, table.shuffles + size_t{s} * 16, from, back, end);
    }
    left -= steps;
  }
  // Byte by byte from its end: results lie to the right of their source.
  const ResizeStep* step = table.steps + table.cycle;
  const uint8_t* shuffle = table.last_shuffles;
  for (uint32_t i = 0; i < table.last; ++i, ++step, shuffle += kResizeLanes) {
    for (uint32_t b = step->count; b-- > 0;) *--end = from[step->offset + shuffle[b]];
  }
}
