// Rows resampled by shuffles of 16 bytes, compiled for each instruction set that has them: a vector
// makes as many steps as it has lanes.

// The bytes of a pair of steps are chosen, and stored, in one go by vectors of two lanes.
template <bool kFull>
void shrink_pair(const ResizeStep* step, const uint8_t* shuffles, const uint8_t* from,
                 uint8_t*& to) {
  for (size_t i = 0; i < 2; i += kLanes) {
    const uint8_t* const a = from + step[i].offset;
    const uint8_t* const b = from + step[i + kLanes - 1].offset;
    const V low = shuffle8(load_lanes(a, b), load(shuffles + i * 16));
    const V high = shuffle8(load_lanes(a + 16, b + 16), load(shuffles + 32 + i * 16));
    const V result = low | high;
    if constexpr (kFull) {
      store(to, result);
      to += kBytes;
      continue;
    }
    sse2::store(to, lane<0>(result));
    to += step[i].count;
    if constexpr (kLanes == 2) {
      sse2::store(to, lane<1>(result));
      to += step[i + 1].count;
    }
  }
}

// What a pair makes of every second byte, or of every second four.
TAVO_INLINE void halve_pair(const uint8_t* from, uint32_t pixel_bytes, uint8_t* to) {
  for (size_t i = 0; i < 2; i += kLanes) {
    const V a = load(from + i * 32), b = load(from + i * 32 + kBytes);
    const V result =
        pixel_bytes == 1 ? pack16_unsigned(a & splat16(0xFF), b & splat16(0xFF)) : even32(a, b);
    store(to + i * 16, in_order64(result));
  }
}

template <bool kFull>
void shrink_whole(const ResizeTable& table, const uint8_t* from, uint8_t*& to) {
  uint8_t* out = to;
  for (uint32_t left = table.whole; left > 0; from += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const ResizeStep* const end = table.steps + steps;
    const uint8_t* shuffles = table.shuffles;
    for (const ResizeStep* step = table.steps; step != end; step += 2, shuffles += 64) {
      sse2::fetch_ahead(from + step->offset, table.ahead);
      if (step->halved_bytes != 0) {
        halve_pair(from + step->offset, step->halved_bytes, out);
        out += 32;
      } else {
        shrink_pair<kFull>(step, shuffles, from, out);
      }
    }
    left -= steps;
  }
  to = out;
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
  table.are_full ? shrink_whole<true>(table, from, to) : shrink_whole<false>(table, from, to);
  const ResizeStep* step = table.steps + table.cycle;
  const uint8_t* shuffle = table.last_shuffles;
  for (uint32_t i = 0; i < table.last; ++i, ++step, shuffle += kResizeLanes) {
    for (uint32_t b = 0; b < step->count; ++b) *to++ = from[step->offset + shuffle[b]];
  }
}

void enlarge_forward(ResizeTable table, const uint8_t* from, uint8_t* to) {
  const uint8_t* shuffles = table.shuffles + table.cycle * kResizeLanes;
  for (const ResizeStep* step = table.steps + table.cycle; step != table.steps; to += 32) {
    uint8_t* end = to + 32;
    enlarge_pair(step -= 2, shuffles -= 32, from, table.cycle_bytes, end);
  }
}

void enlarge(ResizeTable table, const uint8_t* from, uint8_t* end) {
  uint32_t back = 0;
  for (uint32_t left = table.whole; left > 0; back += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const ResizeStep* const steps_end = table.steps + steps;
    const uint8_t* shuffles = table.shuffles;
    for (const ResizeStep* step = table.steps; step != steps_end; step += 2, shuffles += 32) {
      enlarge_pair(step, shuffles, from, back, end);
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
