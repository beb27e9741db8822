// kernels.h for one instruction set, which brings pick_pairs().

// (sum + half) >> kBits of 32-bit elements.
template <int kBits>
TAVO_INLINE V rounded(V sum) {
  return shift_right32_signed<kBits>(add32(sum, splat32(1u << (kBits - 1))));
}

// The sums of the four elements in each lane of four vectors, side by side.
TAVO_INLINE V sums_of(const V (&v)[4]) {
  const V a = add32(unpack_low32(v[0], v[1]), unpack_high32(v[0], v[1]));
  const V b = add32(unpack_low32(v[2], v[3]), unpack_high32(v[2], v[3]));
  return add32(unpack_low64(a, b), unpack_high64(a, b));
}

// Four results a lane; of two lanes, the second has the odd ones.
TAVO_INLINE void store_results(int16_t* to, V results) {
  const V words = pack32(results, results);
  if constexpr (kLanes == 1) {
    sse2::store_low64(to, lane<0>(words));
  } else {
    sse2::store(to, sse2::unpack_low16(lane<0>(words), lane<kLanes - 1>(words)));
  }
}

// kSteps 0: as many as there are.
template <uint32_t kSteps>
void across_steps(const SmoothTaps& taps, const SmoothPlanes& planes) {
  const uint32_t steps = kSteps != 0 ? kSteps : taps.steps;
  for (uint32_t x = 0; x < taps.results; x += 4 * kLanes) {
    const uint32_t* const first = taps.first + x;
    for (uint32_t plane = 0; plane < planes.count; ++plane) {
      const int16_t* from = planes.from + plane * planes.from_stride;
      const int16_t* parts = taps.parts + size_t{8} * x;
      V sums[4] = {};
      for (uint32_t step = 0; step < steps; ++step) {
        for (uint32_t i = 0; i < 4; ++i) {
          const V samples =
              load_lanes(from + first[kLanes * i], from + first[kLanes * i + kLanes - 1]);
          sums[i] = add32(sums[i], multiply_add16(samples, load(parts + 8 * kLanes * i)));
        }
        from += 8;
        parts += size_t{8} * taps.results;
      }
      store_results(planes.to + plane * planes.to_stride + x, rounded<8>(sums_of(sums)));
    }
  }
}

void across_taps(const SmoothTaps& taps, const SmoothPlanes& planes) {
  if (taps.steps == 1) return across_steps<1>(taps, planes);
  if (taps.steps == 2) return across_steps<2>(taps, planes);
  if (taps.steps == 3) return across_steps<3>(taps, planes);
  across_steps<0>(taps, planes);
}

template <uint32_t kPairs>
void across_fours(const SmoothPairs& table, const SmoothPlanes& planes) {
  const uint32_t pairs = kPairs != 0 ? kPairs : table.pairs;
  for (uint32_t plane = 0; plane < planes.count; ++plane) {
    const int16_t* const from = planes.from + plane * planes.from_stride;
    int16_t* const to = planes.to + plane * planes.to_stride;
    for (uint32_t x = 0; x < table.results; x += 8) {
      V words[2 / kLanes];
      for (uint32_t i = 0; i < 2 / kLanes; ++i) {
        const uint32_t four = x / 4 + i;
        const int16_t* const one = from + table.first[four];
        const int16_t* const two = from + table.first[four + kLanes - 1];
        const uint8_t* const shuffles = table.shuffles + size_t{16} * four;
        V sum{};
        for (uint32_t pair = 0; pair < pairs; ++pair) {
          const int16_t* const parts = table.parts + 2 * (size_t{pair} * table.results + 4 * four);
          const V samples = pick_pairs(one + 2 * pair, two + 2 * pair, shuffles);
          sum = add32(sum, multiply_add16(samples, load(parts)));
        }
        words[i] = rounded<8>(sum);
      }
      if constexpr (kLanes == 1) {
        store(to + x, pack32(words[0], words[2 / kLanes - 1]));
      } else {
        sse2::store(to + x, sse2::pack32(lane<0>(words[0]), lane<kLanes - 1>(words[0])));
      }
    }
  }
}

void across_pairs(const SmoothPairs& table, const SmoothPlanes& planes) {
  if (table.pairs == 1) return across_fours<1>(table, planes);
  if (table.pairs == 2) return across_fours<2>(table, planes);
  if (table.pairs == 3) return across_fours<3>(table, planes);
  across_fours<0>(table, planes);
}

constexpr size_t kSamples = kBytes / 2;  // of a vector

void add(const int16_t* one, const int16_t* two, SmoothParts parts, int32_t* sums, size_t samples,
         bool is_first) {
  const V both = splat32(parts);
  for (size_t i = 0; i < samples; i += kSamples) {
    const V a = load(one + i), b = load(two + i);
    V low = multiply_add16(unpack_low16(a, b), both);
    V high = multiply_add16(unpack_high16(a, b), both);
    if (!is_first) {
      low = add32(low, load(sums + i));
      high = add32(high, load(sums + i + kSamples / 2));
    }
    store(sums + i, low);
    store(sums + i + kSamples / 2, high);
  }
}

void finish(const int32_t* sums, uint8_t* to, size_t samples) {
  for (size_t i = 0; i < samples; i += kSmoothBlock) {
    V words[kSmoothBlock / kSamples];
    for (size_t k = 0; k < kSmoothBlock / kSamples; ++k) {
      const int32_t* const at = sums + i + k * kSamples;
      words[k] = pack32(rounded<20>(load(at)), rounded<20>(load(at + kSamples / 2)));
    }
    store_narrowed16(to + i, words);
  }
}

template <uint32_t kPairs>
void blend_pairs(const int16_t* const* rows, const SmoothParts* parts, uint8_t* to,
                 size_t samples) {
  V both[kPairs];
  for (uint32_t pair = 0; pair < kPairs; ++pair) both[pair] = splat32(parts[pair]);
  for (size_t i = 0; i < samples; i += kSmoothBlock) {
    V words[kSmoothBlock / kSamples];
    for (size_t k = 0; k < kSmoothBlock / kSamples; ++k) {
      V low{}, high{};
      for (uint32_t pair = 0; pair < kPairs; ++pair) {
        const V a = load(rows[2 * pair] + i + k * kSamples);
        const V b = load(rows[2 * pair + 1] + i + k * kSamples);
        low = add32(low, multiply_add16(unpack_low16(a, b), both[pair]));
        high = add32(high, multiply_add16(unpack_high16(a, b), both[pair]));
      }
      words[k] = pack32(rounded<20>(low), rounded<20>(high));
    }
    store_narrowed16(to + i, words);
  }
}

void blend(const int16_t* const* rows, const SmoothParts* parts, uint32_t pairs, uint8_t* to,
           size_t samples) {
  if (pairs == 1) return blend_pairs<1>(rows, parts, to, samples);
  if (pairs == 2) return blend_pairs<2>(rows, parts, to, samples);
  blend_pairs<3>(rows, parts, to, samples);
}

constexpr SmoothKernels kKernels = {across_taps, across_pairs, add, finish, blend};
